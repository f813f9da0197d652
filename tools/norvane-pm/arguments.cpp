#include "arguments.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <sstream>
#include <string_view>

#include <CLI/CLI.hpp>

#include "analyse.h"
#include "calculations.h"
#include "dependency_rule.h"
#include "differences.h"
#include "explain.h"
#include "flat_rules.h"
#include "forms.h"
#include "info.h"
#include "languages.h"
#include "models.h"
#include "packages.h"
#include "report.h"
#include "serve.h"
#include "session.h"
#include "several_files.h"
#include "side_data.h"
#include "similar.h"
#include "workspace.h"
#include "workspace_builds.h"

namespace norvane::driver {
namespace {

constexpr const char* footer =
    "Results go to standard output, all else to standard error.\n"
    "Exit status: 0 success, 1 the input is at fault, 2 wrong usage, 3 internal failure.";

// Large enough for any product, and reached before the memory of most machines is exhausted.
constexpr unsigned long long default_max_nodes = 200'000'000;

// Options that several commands take. ------------------------------------------------------------

void add_argument(CLI::App& command, const char* name, std::string& value, const char* help) {
    command.add_option(name, value, help)->required()->type_name("");
}

void add_text(CLI::App& command, const char* name, const char* value_name, std::string& value,
              const char* help) {
    command.add_option(name, value, help)->type_name(value_name);
}

// An option that takes one of some words, each of which stands for a value.
template <typename T>
void add_choice(CLI::App& command, const char* name, const char* value, const char* help, T& chosen,
                const std::vector<std::pair<std::string, T>>& choices) {
    std::vector<std::string> words;
    words.reserve(choices.size());
    for (const auto& choice : choices)
        words.push_back(choice.first);
    command
        .add_option_function<std::string>(
            name,
            [&chosen, choices](const std::string& text) {
                for (const auto& [word, meaning] : choices)
                    if (word == text) chosen = meaning;
            },
            help)
        ->type_name(value)
        ->check(CLI::IsMember(words));
}

struct Formats {
    std::vector<std::pair<std::string, Format>> words;
    const char* help;
};

// For a command that makes a file, or nothing but reports.
Formats report_formats() {
    return {{{"text", Format::text},
             {"gcc", Format::gcc},
             {"json", Format::json},
             {"sarif", Format::sarif}},
            "How to report what is wrong: text (the default); gcc, one line each; json, one object "
            "a line; sarif, one log"};
}

// For a command that prints text: its results have no other form.
Formats text_formats() {
    return {{{"text", Format::text}, {"gcc", Format::gcc}},
            "How to report what is wrong: text (the default), or gcc, one line each"};
}

// For a command whose results have both forms.
Formats result_formats() {
    return {{{"text", Format::text}, {"json", Format::json}},
            "The form of results and reports: text (the default), or json, one value a line"};
}

// For one whose results have both forms, and whose reports come in lines, too.
Formats all_formats() {
    return {{{"text", Format::text}, {"gcc", Format::gcc}, {"json", Format::json}},
            "The form of results and reports: text (the default); json, one value a line; or gcc, "
            "reports of one line each"};
}

void add_format(CLI::App& command, Options& options, const Formats& formats) {
    add_choice<Format>(command, "--format", "FORMAT", formats.help, options.format, formats.words);
    add_choice<Color>(
        command, "--color", "WHEN",
        "Color reports: auto (the default, on a terminal), always, or never", options.color,
        {{"auto", Color::automatic}, {"always", Color::always}, {"never", Color::never}});
}

void add_quiet(CLI::App& command, Options& options) {
    command.add_flag("-q,--quiet", options.quiet, "Show errors, and no warnings and notes");
}

// For a command that reads files, and may have something to report.
void add_report_options(CLI::App& command, Options& options, const Formats& formats) {
    command.footer(std::string("A file whose name is - is standard input, or, where it is "
                               "written, standard output.\n") +
                   footer);
    add_format(command, options, formats);
    add_quiet(command, options);
}

bool is_name_character(char c) {
    return std::isalnum(static_cast<unsigned char>(c)) || c == '_' || c == '$';
}

// Empty for a value that the preprocessor can take for nothing else than what it is meant as.
std::string why_refused(char option, const std::string& value) {
    if (value.empty()) return "needs a value";
    if (value.find_first_of("\n\r") != std::string::npos) return "takes no line feeds";
    if (option == 'I') return value == "-" ? "needs the name of a directory" : "";
    const auto first = static_cast<unsigned char>(value[0]);
    if (!std::isalpha(first) && first != '_')
        return "needs a name that begins with a letter or an underscore";
    const auto end = std::ranges::find_if_not(value, is_name_character);
    if (end == value.end()) return "";
    if (option == 'U') return "needs a name of letters, digits and underscores";
    // NAME=VALUE, or NAME(PARAMETERS)=VALUE
    if (*end == '=' || *end == '(') return "";
    return "needs a name of letters, digits and underscores, which '=' may follow";
}

// The preprocessor's defines and undefines count in the order in which they were given, so the
// values of all three options go into one list as they are met.
void add_preprocessor_option(CLI::App& command, Options& options, const char* names,
                             const char* flag, const char* value, const char* help) {
    command
        .add_option_function<std::string>(
            names,
            [&options, flag](const std::string& text) {
                const std::string refused = why_refused(flag[1], text);
                if (!refused.empty()) throw CLI::ValidationError(flag, refused);
                options.cpp_args.push_back(flag + text);
            },
            help)
        ->type_name(value)
        ->trigger_on_parse();
}

void add_preprocessor_options(CLI::App& command, Options& options) {
    add_preprocessor_option(command, options, "-I,--include-dir", "-I", "DIR",
                            "Search DIR for included files");
    add_preprocessor_option(command, options, "-D,--define", "-D", "NAME[=VALUE]",
                            "Define a macro");
    add_preprocessor_option(command, options, "-U,--undefine", "-U", "NAME", "Undefine a macro");
}

void add_model_form(CLI::App& command, const char* name, const char* help, ModelForm& form) {
    add_choice<ModelForm>(command, name, "FORM", help, form,
                          {{"pm", ModelForm::source}, {"xml", ModelForm::xml}});
}

// The library would take "-1" and what is too large for the largest number.
std::string why_no_number(const std::string& text) {
    unsigned long long number = 0;
    const char* end = text.data() + text.size();
    const auto [after, error] = std::from_chars(text.data(), end, number);
    return error == std::errc() && after == end ? "" : "'" + text + "' is no number of nodes";
}

void add_max_nodes(CLI::App& command, Options& options) {
    options.max_nodes = default_max_nodes;
    command
        .add_option("--max-nodes", options.max_nodes,
                    "Stop a step that unfolds loops and arrays into more than N nodes (" +
                        std::to_string(default_max_nodes) + "); 0: no limit")
        ->check(why_no_number)
        ->type_name("N");
}

void add_dependencies(CLI::App& command, Options& options) {
    auto* asked =
        command.add_flag("--dependencies", options.has_dependencies,
                         "(-MD) Write the names of all files that were read as a rule for make "
                         "and ninja");
    const auto add = [&](const char* name, const char* value, const char* help, auto take) {
        command.add_option_function<std::string>(name, take, help)
            ->type_name(value)
            ->trigger_on_parse()
            ->needs(asked);
    };
    add("--dependency-file", "FILE", "(-MF) The file to write it to",
        [&options](const std::string& file) { options.dependency_file = file; });
    add("--dependency-target", "TARGET",
        "(-MT) What depends on the files, if that is not the file that is written",
        [&options](const std::string& target) { options.dependency_targets.push_back(target); });
    add("--quoted-target", "TARGET", "(-MQ) The same, quoted for make",
        [&options](const std::string& target) {
            options.dependency_targets.push_back(quoted_for_make(target));
        });
    command
        .add_flag("--phony-targets", options.has_phony_targets,
                  "(-MP) Let make go on where an included file has been removed")
        ->needs(asked);
}

void add_max_errors(CLI::App& command, Options& options) {
    command.add_flag("--first", options.first, "Report the first error of a model, and not all");
    command
        .add_option("--max-errors", options.max_errors,
                    "Show at most N errors of a model (" + std::to_string(options.max_errors) +
                        "); 0: no limit")
        ->type_name("N");
}

void add_model_options(CLI::App& command, Options& options, const Formats& formats) {
    add_report_options(command, options, formats);
    add_preprocessor_options(command, options);
    add_model_form(command, "--from", "The format of the model, whatever its extension says",
                   options.from);
    add_max_errors(command, options);
    add_max_nodes(command, options);
    add_dependencies(command, options);
}

void add_model(CLI::App& command, Options& options, const Formats& formats,
               const char* argument = "FILE") {
    add_model_options(command, options, formats);
    add_argument(command, argument, options.file, "The product model");
}

void add_jobs(CLI::App& command, Options& options) {
    command.add_option("-j,--jobs", options.jobs, "Work on up to N models at a time (1)")
        ->check(CLI::Range(1u, 1000u, ""))
        ->type_name("N");
}

// For a command that takes several models.
void add_models(CLI::App& command, Options& options, const Formats& formats, const char* help) {
    add_model_options(command, options, formats);
    command.add_option("FILE", options.files, help)->required()->type_name("");
    add_jobs(command, options);
}

void add_output(CLI::App& command, Options& options,
                const char* help = "Write to FILE and not to standard output") {
    add_text(command, "-o,--output", "FILE", options.output, help);
}

void add_output_of_models(CLI::App& command, Options& options) {
    add_output(
        command, options,
        "Write to FILE and not to standard output; for several models, into the directory FILE");
}

void add_warnings(CLI::App& command, Options& options) {
    command
        .add_option_function<std::string>(
            "-W,--warning",
            [&options](const std::string& word) {
                if (!options.warnings.take(word))
                    throw CLI::ValidationError("-W" + word, "there is no such warning: see "
                                                            "norvane-pm explain --warnings");
            },
            "Show warnings: -Wall, -WNAME, -Wno-NAME; make them errors: -Werror, -Werror=NAME, "
            "-Wno-error=NAME")
        ->type_name("WORD")
        ->trigger_on_parse();
    command.add_flag_callback(
        "--werror", [&options] { options.warnings.take("error"); }, "The same as -Werror");
}

// Where the form that is asked for is not that of the name, the second file is likely to be meant
// as another model.
void check_name_of_result(const Options& options) {
    const ModelForm form = model_form(ModelForm::unknown, options.output);
    if (options.to == ModelForm::unknown || form == ModelForm::unknown || options.to == form)
        return;
    throw CLI::ValidationError(options.output,
                               "--to asks for another form than this name does, which is that of "
                               "the result; -o names a result, or a directory for several");
}

// The file of a command that was given one, and those of one that was given several.
void settle_files(Options& options) {
    const bool names_result =
        options.takes_result && options.output == "-" && options.files.size() == 2;
    if (names_result) {
        options.output = options.files[1];
        options.files.pop_back();
        check_name_of_result(options);
    }
    std::error_code error;
    const bool is_single = names_result || !std::filesystem::is_directory(options.output, error);
    if (options.files.size() != 1 || !is_single) return;
    options.file = options.files[0];
    options.files.clear();
}

// Commands on models. ----------------------------------------------------------------------------

void describe_check(CLI::App& command, Options& options) {
    add_models(command, options, report_formats(), "The product models");
    command.add_flag(
        "--fix", options.fix,
        "Correct in the model's files what is certain, and print the differences; then "
        "check");
    add_warnings(command, options);
}

// For a command that prints what it makes of a model.
void describe_model(CLI::App& command, Options& options) {
    add_model(command, options, text_formats());
}

// For one that prints what it makes of a model that was checked.
void describe_checked_model(CLI::App& command, Options& options) {
    add_model(command, options, text_formats());
    add_warnings(command, options);
}

void describe_variables(CLI::App& command, Options& options) {
    add_model(command, options, result_formats());
    add_warnings(command, options);
}

void describe_rules(CLI::App& command, Options& options) {
    add_models(command, options, all_formats(), "The product models");
    add_output_of_models(command, options);
    add_warnings(command, options);
    command.add_flag("--no-simplify", options.as_written,
                     "Print the rules as they are written, loops, cases and names included");
    command.add_flag("--origin", options.with_origin,
                     "Print before each rule the file and line that it comes from");
    command.add_flag("--labels", options.by_name,
                     "Print values by name where a rule compares a variable with one");
    add_choice<Language>(command, "--to", "LANGUAGE",
                         "Write the variables and the rules in a language that solvers read, or "
                         "as a model of plain variables",
                         options.language,
                         {{"smt2", Language::smtlib},
                          {"mzn", Language::minizinc},
                          {"lp", Language::asp},
                          {"dimacs", Language::dimacs},
                          {"opb", Language::opb},
                          {"pm", Language::pm}});
}

void add_solver(CLI::App& command, Options& options, const char* help) {
    add_text(command, "--solver", "PROGRAM", options.solver, help);
    command
        .add_option("--time-limit", options.time_limit, "Leave a question open after SECONDS (10)")
        ->type_name("SECONDS")
        ->check(CLI::Range(1, 86400));
}

void describe_analyse(CLI::App& command, Options& options) {
    describe_variables(command, options);
    command
        .add_option("--assume", options.assumptions,
                    "Answer for products that satisfy this rule too, as in 'frame = carbon'")
        ->type_name("RULE")
        ->allow_extra_args(false);
    command.add_flag("--example", options.with_example, "Print a product");
    command.add_flag("--count", options.with_count,
                     "Count the configurations that differ in public variables, up to 10000");
    add_solver(command, options,
               "The solver: z3 or cvc5, or a program that is called like one of them");
}

void describe_diff(CLI::App& command, Options& options) {
    add_model(command, options, result_formats(), "BEFORE");
    add_argument(command, "AFTER", options.other_file, "The model that it is compared with");
    add_warnings(command, options);
    add_solver(command, options,
               "Ask z3 or cvc5, or a program that is called like one of them, whether the models "
               "have the same products");
}

void describe_report(CLI::App& command, Options& options) {
    describe_checked_model(command, options);
    add_output(command, options);
    add_solver(command, options,
               "Add what z3 or cvc5, or a program that is called like one of them, answers");
}

void describe_graph(CLI::App& command, Options& options) {
    describe_checked_model(command, options);
    add_output(command, options);
    command.add_flag("--dot")->description(
        "Write it in the language of Graphviz, as without this option");
}

void describe_convert(CLI::App& command, Options& options) {
    add_models(command, options, report_formats(),
               "The product model and the file to be written; with -o, models");
    add_output_of_models(command, options);
    options.takes_result = true;
    add_model_form(command, "--to", "The format to write, whatever the extension says", options.to);
}

// Commands on calculations. ----------------------------------------------------------------------

void add_calculation(CLI::App& command, Options& options, const Formats& formats,
                     const char* argument = "FILE") {
    add_report_options(command, options, formats);
    add_argument(command, argument, options.calculation, "The calculation");
    add_choice<CalcForm>(
        command, "--from", "FORM",
        "The format of the calculation, whatever its extension says: source, XML, or a package",
        options.calc_from,
        {{"cl", CalcForm::source}, {"clx", CalcForm::xml}, {"mub", CalcForm::package}});
    add_text(command, "--of", "NAME", options.package_model,
             "Take the calculation of the model NAME out of a package, if its name is not the "
             "package's");
    add_dependencies(command, options);
}

void describe_calc_check(CLI::App& command, Options& options) {
    add_calculation(command, options, report_formats());
    command.add_option("--model", options.file, "The product model")
        ->required()
        ->type_name("MODEL");
    add_preprocessor_options(command, options);
    add_max_errors(command, options);
    add_max_nodes(command, options);
}

void describe_calc_print(CLI::App& command, Options& options) {
    add_calculation(command, options, text_formats());
}

void describe_calc_convert(CLI::App& command, Options& options) {
    add_calculation(command, options, report_formats(), "FROM");
    add_argument(command, "TO", options.output, "The file to be written");
    add_choice<CalcForm>(command, "--to", "FORM",
                         "The format to write, whatever the extension says", options.calc_to,
                         {{"cl", CalcForm::source}, {"clx", CalcForm::xml}});
    command.add_flag("--no-lines", options.without_lines,
                     "Omit from the XML the source lines of the parts");
}

void describe_builtins(CLI::App& command, Options& options) {
    add_format(command, options, result_formats());
}

// Commands on side data. -------------------------------------------------------------------------

void describe_presentation_list(CLI::App& command, Options& options) {
    add_report_options(command, options, text_formats());
    add_argument(command, "FILE", options.file, "The presentation");
}

void describe_presentation_get(CLI::App& command, Options& options) {
    describe_presentation_list(command, options);
    add_argument(command, "LAYER", options.layer, "The name of the layer");
    add_argument(command, "KEY", options.key, "The key of the text");
}

void describe_presentation_merge(CLI::App& command, Options& options) {
    add_report_options(command, options, report_formats());
    command.add_option("FILE", options.presentations, "The presentations")
        ->required()
        ->type_name("");
    add_output(command, options);
}

void describe_order_list(CLI::App& command, Options& options) {
    add_report_options(command, options, text_formats());
    add_argument(command, "FILE", options.var_order, "The variable order");
}

void describe_order_check(CLI::App& command, Options& options) {
    add_model(command, options, report_formats(), "MODEL");
    add_argument(command, "FILE", options.var_order, "The variable order");
}

// Commands on workspaces and packages. -----------------------------------------------------------

void describe_show(CLI::App& command, Options& options) {
    add_format(command, options, result_formats());
    add_argument(command, "FILE", options.file, "The workspace");
}

void describe_commands(CLI::App& command, Options& options) {
    describe_show(command, options);
    add_argument(command, "PROJECT", options.project, "The name of the project");
    command.add_option("TYPE", options.type, "What is to be done")
        ->required()
        ->type_name("")
        ->check(CLI::IsMember(
            std::vector<std::string>(std::begin(command_types), std::end(command_types))));
    add_text(command, "--arg", "TEXT", options.extra_arg,
             "The argument of ppl, and the output of optimize");
    add_text(command, "--order", "TEXT", options.order_type, "The order that optimize is to make");
    add_text(command, "--arg2", "TEXT", options.extra_arg2, "A further argument of optimize");
    command.add_flag("--mu-compile-stats", options.statistics, "Ask the compiler for statistics");
    add_text(command, "--bin-dir", "DIR", options.bin_directory, "The directory of the tools");
}

void add_package_options(CLI::App& command, Options& options) {
    command.add_flag("--debug", options.debug, "Take the model's sources too, where there are any");
    add_text(command, "--type", "TYPE", options.type, "The type of the model (StandardMu)");
}

void describe_check_workspace(CLI::App& command, Options& options) {
    add_format(command, options, report_formats());
    add_quiet(command, options);
    add_argument(command, "FILE", options.file, "The workspace");
    add_max_errors(command, options);
    add_max_nodes(command, options);
    add_warnings(command, options);
    add_jobs(command, options);
}

void describe_ninja(CLI::App& command, Options& options) {
    describe_show(command, options);
    add_text(command, "-o,--output", "FILE", options.output,
             "Write to FILE and not to standard output");
    options.build_directory = "build";
    add_text(command, "--build-dir", "DIR", options.build_directory,
             "The directory of the results (build)");
}

void describe_pack_project(CLI::App& command, Options& options) {
    describe_show(command, options);
    add_argument(command, "PROJECT", options.project, "The name of the project");
    add_package_options(command, options);
}

void describe_package_list(CLI::App& command, Options& options) {
    add_format(command, options, result_formats());
    add_argument(command, "FILE", options.file, "The package");
}

void describe_package_make(CLI::App& command, Options& options) {
    add_format(command, options, result_formats());
    add_argument(command, "MODEL", options.project, "The name of the model and of its files");
    add_text(command, "--build-dir", "DIR", options.build_directory, "The build directory (.)");
    add_text(command, "--output-dir", "DIR", options.output_directory,
             "The directory that the package is written to (.)");
    add_package_options(command, options);
}

void describe_explain(CLI::App& command, Options& options) {
    auto* name = command
                     .add_option("ERR_NAME", options.error_name,
                                 "The name of the error or warning, as it stands after a report")
                     ->type_name("");
    command.add_flag("--list", options.list, "List all errors, as without a name")->excludes(name);
    command.add_flag("--warnings", options.list_warnings, "List all warnings")->excludes(name);
}

void describe_lsp(CLI::App& command, Options&) {
    command.add_flag("--stdio")->description(
        "Use standard input and output, as it does anyway: some editors say so");
}

// All commands. ----------------------------------------------------------------------------------

struct Row {
    const char* group; // empty for a command without one
    const char* name;
    const char* help;
    void (*describe)(CLI::App&, Options&);
    void (*command)(Session&);
};

constexpr Row commands[] = {
    {"", "info", "Load a model or a calculation and count what it declares", describe_model, info},
    {"", "check", "Check models", describe_check, check_files},
    {"", "print", "Load a model and print it as one source, includes and macros resolved",
     describe_model, print},
    {"", "simplify",
     "Check a model and print its finite form, which people read; rules --to=pm prints a form that "
     "reads back",
     describe_checked_model, simplify},
    {"", "variables",
     "Check a model and list the variables of its flat rules, with what their values stand for",
     describe_variables, variables},
    {"", "rules", "Check models and print their flat rules, one a line", describe_rules,
     print_rules_of_files},
    {"", "analyse",
     "Ask a solver whether a model has products, and what its rules exclude, decide and repeat",
     describe_analyse, analyse},
    {"", "diff", "Tell which variables, values and rules of a model came, went or changed",
     describe_diff, diff},
    {"", "report", "Write a page of HTML about a model", describe_report, write_report},
    {"", "graph", "Write the graph of a model's rules and the variables that they name",
     describe_graph, write_graph},
    {"", "convert",
     "Write models in another form, unchecked: as source or as XML, as the extensions pm and xml "
     "say",
     describe_convert, convert_files},
    {"calc", "check", "Check a calculation against its model", describe_calc_check,
     check_calculation},
    {"calc", "print", "Print a calculation as source, every operation in brackets",
     describe_calc_print, print_calculation},
    {"calc", "convert",
     "Write a calculation in another form, unchecked: as source or as XML, as the extensions cl "
     "and clx say",
     describe_calc_convert, convert_calculation},
    {"calc", "builtins", "List the functions that every calculation may call", describe_builtins,
     list_builtins},
    {"presentation", "list", "List the layers and their keys, one line each: layer, tab, key",
     describe_presentation_list, list_presentation},
    {"presentation", "get", "Print one text", describe_presentation_get, get_from_presentation},
    {"presentation", "merge",
     "Join presentations; of texts with one key, that of the last file counts",
     describe_presentation_merge, merge_presentations},
    {"var-order", "list", "List the names, one a line", describe_order_list, list_var_order},
    {"var-order", "check", "Check that the model has each variable that is named",
     describe_order_check, check_var_order},
    {"workspace", "show", "Print what a workspace holds", describe_show, show_workspace},
    {"workspace", "commands",
     "Print the command lines of a project's tools, to be run in order in the current directory: "
     "for a shell, or as arrays of arguments",
     describe_commands, list_commands},
    {"workspace", "check", "Check the models of all projects", describe_check_workspace,
     check_workspace},
    {"workspace", "ninja",
     "Write a build file for ninja that checks the models of all projects, writes their flat rules "
     "and "
     "their XML, and makes their packages",
     describe_ninja, write_ninja_file},
    {"workspace", "package", "Make the package of a project, from and in the current directory",
     describe_pack_project, pack_project},
    {"package", "list", "List the members of a package, each after its size", describe_package_list,
     list_package},
    {"package", "make", "Make the package of a model from what is in a build directory",
     describe_package_make, make_package},
    {"", "explain", "Explain an error or warning that was reported, by its name", describe_explain,
     explain},
    {"", "lsp", "Serve an editor: the Language Server Protocol on standard input and output",
     describe_lsp, serve_editor},
};

constexpr std::pair<const char*, const char*> groups[] = {
    {"calc", "Calculations: functions that work beside a model"},
    {"presentation", "The display texts of a product, by layer and key"},
    {"var-order", "The order of a model's variables"},
    {"workspace", "The projects of a workspace"},
    {"package", "Packages of compiled models"}};

// The group of a command; the application itself for a command without one.
CLI::App& group_of(CLI::App& app, const Row& row) {
    if (*row.group == '\0') return app;
    const auto known = app.get_subcommands(
        [&row](const CLI::App* command) { return command->get_name() == row.group; });
    if (!known.empty()) return *known[0];
    const auto* group = std::ranges::find_if(
        groups, [&row](const auto& entry) { return !std::strcmp(entry.first, row.group); });
    CLI::App& added = *app.add_subcommand(group->first, group->second);
    added.require_subcommand(1);
    return added;
}

// Each option of a command costs time, so only the command that the first words name is set up, and
// all of them where these name none, for help and for the errors of usage.
bool may_be_asked_for(const Row& row, const std::array<std::string_view, 2>& words) {
    const bool has_group = *row.group != '\0';
    const auto& name = has_group ? words[1] : words[0];
    return name == row.name && (!has_group || words[0] == row.group);
}

void describe(CLI::App& app, Invocation& invocation, const std::array<std::string_view, 2>& words) {
    app.set_version_flag("-v,--version", "norvane-pm " NORVANE_VERSION,
                         "Print the version and exit");
    app.set_help_flag("-h,--help", "Print this help and exit");
    app.require_subcommand(1);
    app.footer(footer);
    const bool is_named = std::ranges::any_of(
        commands, [&words](const Row& row) { return may_be_asked_for(row, words); });
    for (const Row& row : commands) {
        if (is_named && !may_be_asked_for(row, words)) continue;
        CLI::App& command = *group_of(app, row).add_subcommand(row.name, row.help);
        command.callback([&invocation, &row] { invocation.command = row.command; });
        row.describe(command, invocation.options);
    }
}

// The words that may stand where the command line went wrong: options after a dash, commands
// otherwise.
std::vector<std::string> words_of(const CLI::App& command, bool is_option) {
    std::vector<std::string> words;
    if (is_option) {
        for (const CLI::Option* option : command.get_options({}))
            for (const std::string& name : option->get_lnames())
                words.push_back("--" + name);
    } else {
        for (const CLI::App* below : command.get_subcommands({}))
            words.push_back(below->get_name());
    }
    return words;
}

struct Unknown {
    std::string word;
    std::vector<std::string> known;
};

// The first word that is no command, or the first option that its command does not have.
Unknown find_unknown(const CLI::App& app, int argc, char** argv) {
    const CLI::App* command = &app;
    for (int i = 1; i < argc; ++i) {
        const std::string word = argv[i];
        const bool is_option = word.starts_with("--");
        if (!is_option && (word.starts_with('-') || command->get_subcommands({}).empty())) continue;
        const std::string name = word.substr(0, is_option ? word.find('=') : word.npos);
        std::vector<std::string> known = words_of(*command, is_option);
        if (std::ranges::find(known, name) == known.end()) return {name, std::move(known)};
        if (!is_option) command = command->get_subcommand(name);
    }
    return {};
}

void explain_misuse(Options& options, const CLI::App& app, const CLI::ParseError& error, int argc,
                    char** argv) {
    options.wrong_usage = error.what();
    const auto [word, known] = find_unknown(app, argc, argv);
    if (word.empty()) return;
    options.wrong_usage =
        (word.starts_with('-') ? "there is no option '" : "there is no command '") + word + "'";
    options.way_out = did_you_mean(word, std::vector<std::string_view>(known.begin(), known.end()));
}

void print_help(Session& session) {
    std::fputs(session.options.help.c_str(), stdout);
}

// The command of a command line that is none.
void refuse(Session& session) {
    const Options& options = session.options;
    throw WrongUsage{options.wrong_usage, options.way_out.empty()
                                              ? "run with --help for more information"
                                              : options.way_out};
}

// The options that compilers spell with two letters after one dash.
constexpr std::pair<std::string_view, const char*> compiler_options[] = {
    {"-MD", "--dependencies"},
    {"-MF", "--dependency-file"},
    {"-MT", "--dependency-target"},
    {"-MQ", "--quoted-target"},
    {"-MP", "--phony-targets"}};

// The words of the command line, in which these have their long names. A file may follow the
// letters or be the next word.
std::vector<std::string> in_long_form(int argc, char** argv) {
    std::vector<std::string> words(argv, argv + argc);
    for (std::string& word : words) {
        if (word == "--") break;
        const auto* found = std::ranges::find_if(compiler_options, [&word](const auto& option) {
            return word.starts_with(option.first);
        });
        if (found == std::end(compiler_options)) continue;
        const std::string rest = word.substr(found->first.size());
        word = found->second + (rest.empty() ? "" : "=" + rest);
    }
    return words;
}

} // namespace

Invocation parse_arguments(int argc, char** argv) {
    Invocation invocation;
    std::vector<std::string> spelled = in_long_form(argc, argv);
    std::vector<char*> arguments(spelled.size());
    std::ranges::transform(spelled, arguments.begin(),
                           [](std::string& word) { return word.data(); });
    // "help calc check" is "calc check --help".
    char help[] = "--help";
    if (argc > 1 && std::strcmp(argv[1], "help") == 0) {
        arguments.erase(arguments.begin() + 1);
        arguments.push_back(help);
    }
    std::array<std::string_view, 2> words;
    for (std::size_t i = 0; i < words.size() && i + 1 < arguments.size(); ++i)
        words[i] = arguments[i + 1];
    CLI::App app("Loads, checks, simplifies and prints product models.", "norvane-pm");
    describe(app, invocation, words);
    try {
        app.parse(static_cast<int>(arguments.size()), arguments.data());
        settle_files(invocation.options);
    } catch (const CLI::Success& asked) {
        std::ostringstream out;
        out.exceptions(std::ios::badbit); // streams are silent about lack of memory
        app.exit(asked, out, out);
        invocation.options.help = out.str();
        invocation.command = print_help;
    } catch (const CLI::ParseError& e) {
        explain_misuse(invocation.options, app, e, argc, argv);
        invocation.command = refuse;
    }
    return invocation;
}

} // namespace norvane::driver
