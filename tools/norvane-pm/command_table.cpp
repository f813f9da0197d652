#include "command_table.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <iterator>
#include <string_view>

#include "analyse.h"
#include "calculations.h"
#include "command_options.h"
#include "differences.h"
#include "explain.h"
#include "flat_rules.h"
#include "info.h"
#include "languages.h"
#include "models.h"
#include "packages.h"
#include "report.h"
#include "serve.h"
#include "several_files.h"
#include "side_data.h"
#include "workspace.h"
#include "workspace_builds.h"

namespace norvane::driver {
namespace {

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
    add_choice<RuleLanguage>(
        command, "--to", "LANGUAGE",
        "Write the variables and the rules in a language that solvers read, or "
        "as a model of plain variables",
        options.language,
        {{"smt2", RuleLanguage::smtlib},
         {"mzn", RuleLanguage::minizinc},
         {"lp", RuleLanguage::asp},
         {"dimacs", RuleLanguage::dimacs},
         {"opb", RuleLanguage::opb},
         {"pm", RuleLanguage::pm}});
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
    ModelForms forms = own_forms();
    forms.emplace_back("dimacs", ModelForm::dimacs);
    forms.emplace_back("uvl", ModelForm::uvl);
    add_models(command, options, report_formats(),
               "The product model and the file to be written; with -o, models", forms);
    add_output_of_models(command, options);
    options.takes_result = true;
    add_model_form(command, "--to", "The format to write, whatever the extension says", options.to);
    add_text(command, "--texts", "FILE", options.texts,
             "For a model in DIMACS or UVL: write the names that PM cannot hold to FILE, a "
             "presentation");
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

void describe_presentation_check(CLI::App& command, Options& options) {
    add_model(command, options, report_formats(), "MODEL");
    add_argument(command, "FILE", options.presentation, "The presentation");
    command
        .add_option("--allow", options.key_words,
                    "Take WORD as a key, or before or after a name in one, as in help.flow and "
                    "flow.unit; may be given again")
        ->type_name("WORD")
        ->expected(1)
        ->allow_extra_args(false)
        ->take_all();
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
    command.add_option("TYPE", options.type, "The task of the tools")
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
    add_warnings(command, options);
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
     "say; also models in DIMACS and UVL",
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
    {"presentation", "check",
     "Check that each key names something of the model, and tell of names without a text",
     describe_presentation_check, check_presentation},
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

bool may_be_asked_for(const Row& row, const FirstWords& words) {
    const bool has_group = *row.group != '\0';
    const auto& name = has_group ? words[1] : words[0];
    return name == row.name && (!has_group || words[0] == row.group);
}

} // namespace

void describe_program(CLI::App& app, Invocation& invocation, const FirstWords& words) {
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

} // namespace norvane::driver
