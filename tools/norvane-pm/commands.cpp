// The commands: the road from a file to what was asked for, step by step.
//
// The library reports what is wrong with a model through the diagnostics sink, and throws where it
// meets what it does not provide for. A throw runs no destructors: so the steps hold plain pointers
// in a Work, which lives outside of the frame, and nothing else.
#include "commands.h"

#include <algorithm>
#include <cstdio>
#include <string_view>
#include <unordered_set>

#include "norvane/base/items.hpp"
#include "norvane/proj.h"

#include "calculations.h"
#include "diagnostics_sink.h"
#include "failure.h"
#include "models.h"
#include "output.h"
#include "side_data.h"
#include "work.h"

namespace norvane::pm {
namespace {

bool check(Work& work) {
    return load_model(work) && check_model(work);
}

void print(Work& work, Project* project) {
    begin_step(work, Step::print, work.file);
    ppm_print_project(stdout, project);
    results_refused();
}

void simplify(Work& work) {
    begin_step(work, Step::simplify, work.file);
    work.finite = simplify_project(work.project, work.table);
    print(work, work.finite);
}

// Where the rule comes from, as every message about it begins. Rules of one record come in a row
// once for each instance, but never twice in succession, so nothing is gained by remembering it.
void print_origin(Project* project, const RuleDecl* origin) {
    static char position[MESSAGE_BUFFER_SIZE];
    proj_line_information(project->line_info, origin->linenumber, position);
    std::fputs(position, stdout);
}

// A rule as it is written may hold a case, which is printed on several lines.
void print_on_one_line(Expr* rule, UtilString* text) {
    ppm_printn_expr_str(rule, text, -1);
    for (std::size_t i = 0; i < text->length; ++i) {
        if (text->text[i] == '\n') text->text[i] = ' ';
    }
    std::fwrite(text->text, 1, text->length, stdout);
}

void rules(Work& work) {
    begin_step(work, Step::expand, work.file);
    if (work.options->with_origin) work.origins = plist_new(nullptr, nullptr, nullptr);
    work.rules = proj_get_expanded_rules_decls(work.project, work.table, !work.options->as_written,
                                               work.origins);
    begin_step(work, Step::print, work.file);
    if (work.options->as_written) work.text = ustr_new();
    const PolyListNode* origin = work.origins ? work.origins->first : nullptr;
    for (Expr* rule : items<Expr>(work.rules)) {
        if (origin) {
            print_origin(work.project, static_cast<const RuleDecl*>(origin->element));
            origin = origin->next;
        }
        if (work.text)
            print_on_one_line(rule, work.text);
        else
            ppm_print_expr(stdout, rule);
        putc_unlocked('\n', stdout);
        if (results_refused()) return;
    }
}

// Each file counts once, however often the preprocessor came back to it. A model in XML is one
// file, and lists none.
std::size_t count_files(const Project* project) {
    std::unordered_set<std::string_view> names;
    for (const char* name : items<char>(project->line_info->files)) {
        if (*name != '#') names.insert(name);
    }
    return names.empty() ? 1 : names.size();
}

void info(const Project* project) {
    std::size_t is_public = 0;
    for (const VarDecl* variable : items<VarDecl>(project->vardecllist))
        is_public += variable->vartype == VARTYPE_PUBLIC;
    std::printf("%s\n", project->filename);
    std::printf("  files       %zu\n", count_files(project));
    std::printf("  constants   %u\n", project->constantdecllist->len);
    std::printf("  types       %u\n", project->typedecllist->len);
    std::printf("  variables   %u (%zu public)\n", project->vardecllist->len, is_public);
    std::printf("  rules       %u\n", project->ruledecllist->len);
}

// False after a report.
bool run_steps(Work& work) {
    const Options& options = *work.options;
    switch (options.command) {
    case Command::info:
        if (is_calculation(options)) return info_calculation(work);
        return load_model(work) && (info(work.project), true);
    case Command::check: return check(work);
    case Command::print: return load_model(work) && (print(work, work.project), true);
    case Command::simplify: return check(work) && (simplify(work), true);
    case Command::rules: return check(work) && (rules(work), true);
    case Command::convert: return load_model(work) && write_model(work);
    case Command::presentation_list: return list_presentation(work);
    case Command::presentation_get: return get_from_presentation(work);
    case Command::presentation_merge: return merge_presentations(work);
    case Command::var_order_list: return list_var_order(work);
    case Command::var_order_check: return check_var_order(work);
    case Command::calc_check: return check(work) && check_calculation(work);
    case Command::calc_print: return print_calculation(work);
    case Command::calc_convert: return convert_calculation(work);
    case Command::calc_builtins:
    case Command::explain: break; // which work on no file
    }
    return true;
}

void run_in_frame(void* user) {
    auto& work = *static_cast<Work*>(user);
    work.cpp_args = plist_new(nullptr, nullptr, nullptr);
    for (const std::string& argument : work.options->cpp_args)
        plist_append(work.cpp_args, const_cast<char*>(argument.c_str()));
    work.succeeded = run_steps(work);
}

// In a frame, since deep trees want stacks of their own to be released.
void release_in_frame(void* user) {
    auto& work = *static_cast<Work*>(user);
    ustr_delete(work.text);
    plist_delete(work.rules);
    plist_delete(work.origins);
    if (work.finite) proj_delete(work.finite);
    if (work.table) symtbl_delete_symbol_table(work.table);
    if (work.project) proj_delete(work.project);
    pres_delete(work.presentation);
    pres_delete(work.addition);
    var_order_delete(work.order);
    if (work.calc) calc_delete(work.calc);
    plist_delete(work.cpp_args);
}

ModelForm settled(ModelForm said, const std::string& file) {
    return said == ModelForm::unknown ? form_of(file) : said;
}

CalcForm settled(CalcForm said, const std::string& file) {
    return said == CalcForm::unknown ? calculation_form_of(file) : said;
}

bool refuse(const char* reason, const std::string& file) {
    std::fprintf(stderr, "norvane-pm: %s: %s\n", reason, file.c_str());
    return false;
}

// Settles the forms of the model before anything is read. A conversion wants to know them; for all
// else a model is source unless it is told to be XML. False after a message.
bool settle_forms(Work& work) {
    const Options& options = *work.options;
    work.from = settled(options.from, options.file);
    work.to = settled(options.to, options.output);
    work.calc_from = settled(options.calc_from, calculation_file(options));
    work.calc_to = settled(options.calc_to, options.output);
    if (options.command == Command::convert && work.from == ModelForm::unknown)
        return refuse("is this pm or xml? Say so by --from", options.file);
    if (options.command == Command::convert && work.to == ModelForm::unknown)
        return refuse("is this to be pm or xml? Say so by --to", options.output);
    if (work.from == ModelForm::xml && !options.cpp_args.empty())
        return refuse("-I, -D and -U have no meaning for a model in XML", options.file);
    if (options.command == Command::info && is_calculation(options) && !options.cpp_args.empty())
        return refuse("-I, -D and -U have no meaning for a calculation", options.file);
    const bool is_written = work.calc_to == CalcForm::source || work.calc_to == CalcForm::xml;
    if (options.command == Command::calc_convert && !is_written)
        return refuse("is this to be cl or clx? Say so by --to", options.output);
    return true;
}

// Standard input is read once, from front to back. False after a message.
bool check_standard_input(const Work& work) {
    const Options& options = *work.options;
    auto readers = std::ranges::count(options.presentations, "-");
    for (const auto* file : {&options.file, &options.var_order, &options.calculation})
        readers += *file == "-";
    if (readers > 1) return refuse("standard input can be read only once", "-");
    if (work.calc_from == CalcForm::package && options.calculation == "-")
        return refuse("a package is read from a file, and not from standard input", "-");
    return true;
}

} // namespace

int run_command(const Options& options) {
    std::string file = input_name(options.file);
    Work work{.options = &options, .file = file.data()};
    if (!settle_forms(work) || !check_standard_input(work)) return STATUS_WRONG_USAGE;
    Diagnostics diagnostics(options.format);
    work.diagnostics = &diagnostics;
    static ExceptionState thrown;
    if (except_catch(run_in_frame, &work, &thrown)) {
        work.output.discard();
        report_failure(work, thrown);
        return STATUS_INTERNAL_FAILURE;
    }
    diagnostics.close(work.succeeded);
    if (orderly_exit && except_catch(release_in_frame, &work, &thrown)) {
        report_failure(work, thrown);
        return STATUS_INTERNAL_FAILURE;
    }
    return work.succeeded ? STATUS_OK : STATUS_INPUT_AT_FAULT;
}

} // namespace norvane::pm
