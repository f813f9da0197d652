#include "models.h"

#include <algorithm>
#include <cstdio>
#include <memory>

#include "finite.h"
#include "fixes.h"
#include "flat_rules.h"
#include "forms.h"
#include "import_model.h"
#include "load_model.h"
#include "output.h"
#include "pipe_to_file.h"
#include "refused_model.h"
#include "text.h"
#include "warned_model.h"

namespace norvane::driver {
namespace {

// Corrects what is certain; what remains is found by the check that follows.
void fix(Session& session) {
    const Options& options = session.options;
    check_model_usage(session);
    if (options.file == "-") throw WrongUsage{"--fix changes a file, and not standard input: -"};
    session.begin(Step::load, options.file);
    const ModelFiles own(options.file, options.cpp_args);
    ModelReports held(session, ModelReports::Warnings::dropped);
    Result<Model> read = read_model(session, options.file, held.sink());
    if (read) {
        // Kept after a stop of the check, whose report names the model's declarations.
        Model& model = session.keep(*std::move(read));
        session.project = model.get();
        session.begin(Step::check, options.file);
        const bool is_good = bool(CheckedModel::check(std::move(model), held.sink()));
        session.project = nullptr;
        if (is_good) return;
    }
    if (held.are_faults()) return apply_fixes(session, own, held.findings());
    held.show();
    throw InputAtFault();
}

void print_model(Session& session, const Model& model, const std::string& subject) {
    session.begin(Step::print, subject);
    model.print(stdout);
    results_refused();
}

// The origin of a rule, as every message about it begins. It differs from the last rule's, as the
// rules of a record follow each other, once for each instance; so it is not cached.
void print_origin(const CheckedModel& model, const RuleDecl* origin, std::FILE* to) {
    static char position[MESSAGE_BUFFER_SIZE];
    proj_line_information(model.get()->line_info, origin->linenumber, position);
    std::fputs(for_terminal(position).c_str(), to);
}

// A rule as it is written may hold a case, which is printed on several lines.
void print_on_one_line(Expr* rule, UtilString* text, std::FILE* to) {
    ppm_printn_expr_str(rule, text, -1);
    std::replace(text->text, text->text + text->length, '\n', ' ');
    std::fwrite(text->text, 1, text->length, to);
}

struct DeleteText {
    void operator()(UtilString* text) const { ustr_delete(text); }
};

// In a frame as a whole, since a frame for each of millions of rules would take its time.
void print_rules(const CheckedModel& model, const FlatRules& rules, UtilString* text,
                 ResultFile& output) {
    std::FILE* const to = output.stream();
    for (const FlatRule rule : rules) {
        if (rule.origin) print_origin(model, rule.origin, to);
        if (text)
            print_on_one_line(rule.expr, text, to);
        else
            ppm_print_expr(to, rule.expr);
        putc_unlocked('\n', to);
        if (output.refused()) return;
    }
}

void write_xml(Session& session, const Model& model) {
    PipeToFile pipe(session.output);
    session.take(model.write_xml(pipe.name(), session.on_report));
    pipe.finish();
}

} // namespace

void check(Session& session) {
    if (session.options.fix) fix(session);
    show_warnings(session, load_and_check_model(session), Made::nothing);
}

void print(Session& session) {
    print_model(session, load_model(session), session.subject);
}

void simplify(Session& session) {
    const CheckedModel& model = load_and_check_model(session);
    show_warnings(session, model, Made::finite_form);
    print_model(session, make_finite(session, model), session.subject);
}

void rules(Session& session) {
    const Options& options = session.options;
    if (wants_written_rules(options)) return write_flat_rules(session);
    const CheckedModel& model = load_and_check_model(session);
    show_warnings(session, model, options.as_written ? Made::nothing : Made::rules);
    const FlatRules& flat = expand_rules(
        session, model, options.as_written ? RuleForm::as_written : RuleForm::simplified,
        options.with_origin ? RuleOrigins::kept : RuleOrigins::dropped);
    std::unique_ptr<UtilString, DeleteText> text;
    if (options.as_written) text.reset(call([] { return ustr_new(); }));
    session.print_output([&](std::FILE*) {
        call([&, buffer = text.get()] { print_rules(model, flat, buffer, session.output); });
    });
}

void convert(Session& session) {
    const Options& options = session.options;
    const ModelForm from = foreign_form(options.from, options.file);
    if (from == ModelForm::unknown)
        throw WrongUsage{"cannot tell the input format from the file name; use --from=pm, "
                         "--from=xml, --from=dimacs or --from=uvl: " +
                         options.file};
    const ModelForm to = model_form(options.to, options.output);
    if (to == ModelForm::unknown)
        throw WrongUsage{"cannot tell the output format from the file name; use --to=pm or "
                         "--to=xml: " +
                         options.output};
    const bool is_foreign = from == ModelForm::dimacs || from == ModelForm::uvl;
    if (!is_foreign && !options.texts.empty())
        throw WrongUsage{"--texts applies only to models in DIMACS or UVL"};
    if (is_foreign && to == ModelForm::source) return import_as_source(session, from);
    const Model& model = is_foreign ? import_model(session, from) : load_model(session);
    session.write_output(
        [&](std::FILE* stream) {
            if (to == ModelForm::xml)
                write_xml(session, model);
            else
                model.print(stream);
        },
        Inputs::may_be_replaced);
}

} // namespace norvane::driver
