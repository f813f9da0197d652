#include "models.h"

#include <algorithm>
#include <cstdio>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "calculations.h"
#include "fixes.h"
#include "flat_rules.h"
#include "output.h"
#include "pipe_to_file.h"
#include "refused_model.h"
#include "source_hints.h"
#include "temporaries.h"
#include "warned_model.h"

namespace norvane::driver {
namespace {

// Checks what the command line says of the model, before anything is read.
void check_model_usage(const Session& session) {
    const Options& options = session.options;
    check_standard_input(session);
    if (model_form(options.from, options.file) == ModelForm::xml && !options.cpp_args.empty())
        throw WrongUsage{"-I, -D and -U have no meaning for a model in XML: " + options.file};
}

CheckedModel& check_model(Session& session, Model& model) {
    session.begin(Step::check, session.subject);
    ModelReports held(session);
    auto result = CheckedModel::check(std::move(model), held.sink());
    if (!result) held.show();
    return session.take(std::move(result));
}

Result<Model> read_from_standard_input(Session& session, const std::string& name,
                                       const OnReport& on_report) {
    session.standard_input = StandardInput::read(name);
    if (session.standard_input)
        return session.standard_input->load(session.options.cpp_args, on_report);
    session.report([&name] { return ERR_FILE_OPEN(name.c_str()); });
    throw InputAtFault();
}

Result<Model> read_model(Session& session, const std::string& name, const OnReport& on_report) {
    const Options& options = session.options;
    if (model_form(options.from, options.file) == ModelForm::xml)
        return Model::from_xml(name, on_report);
    const DroppedOutput no_results_yet;
    const TemporaryDirectory of_the_preprocessor;
    Result<Model> source = options.file == "-"
                               ? read_from_standard_input(session, name, on_report)
                               : Model::from_source(name, options.cpp_args, on_report);
    const std::string& failure = of_the_preprocessor.failure();
    if (!source && source.reports().empty() && !failure.empty()) session.diagnostics.say(failure);
    return source;
}

// Corrects what is certain; what remains is found by the check that follows.
void fix(Session& session) {
    const Options& options = session.options;
    check_model_usage(session);
    if (options.file == "-") throw WrongUsage{"--fix changes a file, and not standard input: -"};
    session.begin(Step::load, options.file);
    ModelReports held(session, ModelReports::Warnings::dropped);
    Result<Model> read = read_model(session, options.file, held.sink());
    if (read) {
        // Kept after a stop of the check, which is told by the model's declarations.
        Model& model = session.keep(*std::move(read));
        session.project = model.get();
        session.begin(Step::check, options.file);
        const bool is_good = bool(CheckedModel::check(std::move(model), held.sink()));
        session.project = nullptr;
        if (is_good) return;
    }
    if (held.are_faults()) return apply_fixes(session, held.findings());
    held.show();
    throw InputAtFault();
}

// Reports that the library makes on its way to a stop, which is told afterwards, are dropped.
class DroppedReports {
  public:
    DroppedReports() : before_(msg_get_error_sink(&user_before_)) {
        msg_set_error_sink([](ErrorType, ErrorInfo* error, void*) { err_delete(error); }, nullptr);
    }
    ~DroppedReports() { msg_set_error_sink(before_, user_before_); }
    DroppedReports(const DroppedReports&) = delete;
    DroppedReports& operator=(const DroppedReports&) = delete;

  private:
    void* user_before_ = nullptr;
    MsgErrorSink before_;
};

void print_model(Session& session, const Model& model, const std::string& subject) {
    session.begin(Step::print, subject);
    model.print(stdout);
    results_refused();
}

// The origin of a rule, as every message about it begins. Rules of one record come in a row once
// for each instance, but never twice in succession, so nothing is gained by remembering it.
void print_origin(const CheckedModel& model, const RuleDecl* origin) {
    static char position[MESSAGE_BUFFER_SIZE];
    proj_line_information(model.get()->line_info, origin->linenumber, position);
    std::fputs(position, stdout);
}

// A rule as it is written may hold a case, which is printed on several lines.
void print_on_one_line(Expr* rule, UtilString* text) {
    ppm_printn_expr_str(rule, text, -1);
    std::replace(text->text, text->text + text->length, '\n', ' ');
    std::fwrite(text->text, 1, text->length, stdout);
}

struct DeleteText {
    void operator()(UtilString* text) const { ustr_delete(text); }
};

// In a frame as a whole, since a frame for each of millions of rules would take its time.
void print_rules(const CheckedModel& model, const FlatRules& rules, UtilString* text) {
    for (const FlatRule rule : rules) {
        if (rule.origin) print_origin(model, rule.origin);
        if (text)
            print_on_one_line(rule.expr, text);
        else
            ppm_print_expr(stdout, rule.expr);
        putc_unlocked('\n', stdout);
        if (results_refused()) return;
    }
}

// Each file once, however often the preprocessor came back to it. A model in XML is one file, and
// lists none.
std::vector<std::string> source_files(const Project* project) {
    std::vector<std::string> names;
    std::unordered_set<std::string_view> known;
    for (const char* name : items<char>(project->line_info->files))
        if (*name != '#' && known.insert(name).second) names.emplace_back(name);
    return names;
}

void print_info(const Project* project) {
    std::size_t is_public = 0;
    for (const VarDecl* variable : items<VarDecl>(project->vardecllist))
        is_public += variable->vartype == VARTYPE_PUBLIC;
    std::printf("%s\n", project->filename);
    std::printf("  files       %zu\n", std::max<std::size_t>(source_files(project).size(), 1));
    std::printf("  constants   %u\n", project->constantdecllist->len);
    std::printf("  types       %u\n", project->typedecllist->len);
    std::printf("  variables   %u (%zu public)\n", project->vardecllist->len, is_public);
    std::printf("  rules       %u\n", project->ruledecllist->len);
}

void write_xml(Session& session, const Model& model) {
    PipeToFile pipe(session.output);
    session.take(model.write_xml(pipe.name(), session.on_report));
    pipe.finish();
}

} // namespace

ModelForm model_form(ModelForm said, const std::string& file) {
    if (said != ModelForm::unknown) return said;
    switch (util_get_filetype(file.c_str())) {
    case FILETYPE_PM: return ModelForm::source;
    case FILETYPE_XML: return ModelForm::xml;
    default: return ModelForm::unknown;
    }
}

void check_standard_input(const Session& session) {
    const Options& options = session.options;
    auto readers = std::ranges::count(options.presentations, "-");
    for (const auto* file : {&options.file, &options.var_order, &options.calculation})
        readers += *file == "-";
    if (readers > 1) throw WrongUsage{"standard input can be read only once: -"};
}

Model& load_model(Session& session) {
    check_model_usage(session);
    const std::string name = input_name(session.options.file);
    session.begin_load(name);
    ModelReports held(session);
    Result<Model> result = read_model(session, name, held.sink());
    if (!result) held.show();
    Model& model = session.take(std::move(result));
    session.project = model.get();
    for (const std::string& file : source_files(model.get()))
        if (const auto warning = warn_of_utf8(file)) session.diagnostics.report(*warning);
    return model;
}

CheckedModel& load_and_check_model(Session& session) {
    return check_model(session, load_model(session));
}

const FlatRules& expand_rules(Session& session, const CheckedModel& model, RuleForm form,
                              RuleOrigins origins) {
    session.begin(Step::expand, session.subject);
    const DroppedReports dropped;
    return session.keep(model.rules(form, origins));
}

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
    session.begin(Step::simplify, session.subject);
    const Model& finite = [&]() -> const Model& {
        const DroppedReports dropped;
        return session.keep(model.simplify());
    }();
    print_model(session, finite, session.subject);
}

void rules(Session& session) {
    const Options& options = session.options;
    if (wants_written_rules(options)) return write_flat_rules(session);
    const CheckedModel& model = load_and_check_model(session);
    show_warnings(session, model, options.as_written ? Made::nothing : Made::rules);
    const FlatRules& flat = expand_rules(
        session, model, options.as_written ? RuleForm::as_written : RuleForm::simplified,
        options.with_origin ? RuleOrigins::kept : RuleOrigins::dropped);
    session.begin(Step::print, session.subject);
    std::unique_ptr<UtilString, DeleteText> text;
    if (options.as_written) text.reset(call([] { return ustr_new(); }));
    call([&model, &flat, buffer = text.get()] { print_rules(model, flat, buffer); });
}

void convert(Session& session) {
    const Options& options = session.options;
    if (model_form(options.from, options.file) == ModelForm::unknown)
        throw WrongUsage{"cannot tell the input format from the file name; use --from=pm or "
                         "--from=xml: " +
                         options.file};
    const ModelForm to = model_form(options.to, options.output);
    if (to == ModelForm::unknown)
        throw WrongUsage{"cannot tell the output format from the file name; use --to=pm or "
                         "--to=xml: " +
                         options.output};
    const Model& model = load_model(session);
    session.write_output([&](std::FILE* stream) {
        if (to == ModelForm::xml)
            write_xml(session, model);
        else
            model.print(stream);
    });
}

void info(Session& session) {
    if (is_calculation(session.options)) return info_calculation(session);
    print_info(load_model(session).get());
}

} // namespace norvane::driver
