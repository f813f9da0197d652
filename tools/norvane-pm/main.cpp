// norvane-pm: product models from the command line. Here: arguments in, exit status out.
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <sstream>

#include <CLI/CLI.hpp>

#include "calculations.h"
#include "commands.h"
#include "explain.h"
#include "options.h"
#include "output.h"
#include "result_file.h"
#include "workspace.h"

namespace norvane::pm {
namespace {

// The preprocessor's defines and undefines count in the order in which they were given, so the
// values of all three options go into one list as they are met.
void add_preprocessor_option(CLI::App& command, Options& options, const char* names,
                             const char* flag, const char* value, const char* help) {
    command
        .add_option_function<std::string>(
            names,
            [&options, flag](const std::string& text) {
                if (text.empty()) throw CLI::ValidationError(flag, "needs a value");
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

void add_argument(CLI::App& command, const char* name, std::string& value, const char* help) {
    command.add_option(name, value, help)->required()->type_name("");
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

void add_form_option(CLI::App& command, const char* name, const char* help, ModelForm& form) {
    add_choice<ModelForm>(command, name, "FORM", help, form,
                          {{"pm", ModelForm::source}, {"xml", ModelForm::xml}});
}

CLI::App& add_command(CLI::App& app, Options& options, Command command, const char* name,
                      const char* help) {
    CLI::App& sub = *app.add_subcommand(name, help);
    sub.callback([&options, command] { options.command = command; });
    return sub;
}

constexpr const char* footer =
    "Results go to standard output, all else to standard error.\n"
    "Exit status: 0 success, 1 the input is at fault, 2 wrong usage, 3 internal failure.";

// A command that reads files, and may have something to report.
CLI::App& add_file_command(CLI::App& app, Options& options, Command command, const char* name,
                           const char* help) {
    CLI::App& sub = add_command(app, options, command, name, help);
    sub.footer(std::string("A file whose name is - is standard input, or, where it is written, "
                           "standard output.\n") +
               footer);
    add_choice<Format>(
        sub, "--format", "FORMAT",
        "How to report what is wrong: text (the default), or json, one object a line",
        options.format, {{"text", Format::text}, {"json", Format::json}});
    return sub;
}

CLI::App& add_model_command(CLI::App& app, Options& options, Command command, const char* name,
                            const char* help, const char* argument = "FILE") {
    CLI::App& sub = add_file_command(app, options, command, name, help);
    add_argument(sub, argument, options.file, "The product model");
    add_preprocessor_options(sub, options);
    add_form_option(sub, "--from", "What the model is, whatever its extension says", options.from);
    return sub;
}

CLI::App& add_group(CLI::App& app, const char* name, const char* help) {
    CLI::App& group = *app.add_subcommand(name, help);
    group.require_subcommand(1);
    return group;
}

void describe_side_data(CLI::App& app, Options& options) {
    CLI::App& presentation =
        add_group(app, "presentation", "The display texts of a product, by layer and key");
    CLI::App& list =
        add_file_command(presentation, options, Command::presentation_list, "list",
                         "List the layers and their keys: one key a line, behind layer and tab");
    add_argument(list, "FILE", options.file, "The presentation");
    CLI::App& get =
        add_file_command(presentation, options, Command::presentation_get, "get", "Print one text");
    add_argument(get, "FILE", options.file, "The presentation");
    add_argument(get, "LAYER", options.layer, "The name of the layer");
    add_argument(get, "KEY", options.key, "The key of the text");
    CLI::App& merge =
        add_file_command(presentation, options, Command::presentation_merge, "merge",
                         "Join presentations; of texts with one key, that of the last file counts");
    merge.add_option("FILE", options.presentations, "The presentations")->required()->type_name("");
    merge.add_option("-o,--output", options.output, "Write to FILE and not to standard output")
        ->type_name("FILE");

    CLI::App& var_order = add_group(app, "var-order", "The order of a model's variables");
    CLI::App& names = add_file_command(var_order, options, Command::var_order_list, "list",
                                       "List the names, one a line");
    add_argument(names, "FILE", options.var_order, "The variable order");
    CLI::App& check =
        add_model_command(var_order, options, Command::var_order_check, "check",
                          "Check that the model has each variable that is named", "MODEL");
    add_argument(check, "FILE", options.var_order, "The variable order");
}

CLI::App& add_calculation_command(CLI::App& app, Options& options, Command command,
                                  const char* name, const char* help,
                                  const char* argument = "FILE") {
    CLI::App& sub = add_file_command(app, options, command, name, help);
    add_argument(sub, argument, options.calculation, "The calculation");
    add_choice<CalcForm>(
        sub, "--from", "FORM",
        "What the calculation is, whatever its extension says: source, XML, or in "
        "a package",
        options.calc_from,
        {{"cl", CalcForm::source}, {"clx", CalcForm::xml}, {"mub", CalcForm::package}});
    sub.add_option("--of", options.package_model,
                   "Take the calculation of the model NAME out of a package, if its name is not "
                   "the package's")
        ->type_name("NAME");
    return sub;
}

void describe_calculations(CLI::App& app, Options& options) {
    CLI::App& calc = add_group(app, "calc", "Calculations: functions that work beside a model");
    CLI::App& check = add_calculation_command(calc, options, Command::calc_check, "check",
                                              "Check a calculation against its model");
    check.add_option("--model", options.file, "The product model")->required()->type_name("MODEL");
    add_preprocessor_options(check, options);
    add_calculation_command(calc, options, Command::calc_print, "print",
                            "Print a calculation as source, every operation in brackets");
    CLI::App& convert = add_calculation_command(
        calc, options, Command::calc_convert, "convert",
        "Write a calculation in another form, unchecked: as source or as XML, as the extensions cl "
        "and clx say",
        "FROM");
    add_argument(convert, "TO", options.output, "The file to be written");
    add_choice<CalcForm>(convert, "--to", "FORM", "What to write, whatever its extension says",
                         options.calc_to, {{"cl", CalcForm::source}, {"clx", CalcForm::xml}});
    convert.add_flag("--no-lines", options.without_lines,
                     "Leave out of the XML where in the source each part stood");
    CLI::App& builtins = add_command(calc, options, Command::calc_builtins, "builtins",
                                     "List the functions that every calculation may call");
    add_choice<Format>(builtins, "--format", "FORMAT",
                       "How to list them: text (the default), or json, one object a line",
                       options.format, {{"text", Format::text}, {"json", Format::json}});
}

void describe(CLI::App& app, Options& options) {
    app.set_version_flag("--version", "norvane-pm " NORVANE_VERSION, "Print the version and exit");
    app.set_help_flag("-h,--help", "Print this help and exit");
    app.require_subcommand(1);
    app.footer(footer);

    add_model_command(app, options, Command::info, "info",
                      "Load a model or a calculation and count what it declares");
    add_model_command(app, options, Command::check, "check", "Check a model");
    add_model_command(app, options, Command::print, "print",
                      "Load a model and print it as one source, includes and macros resolved");
    add_model_command(app, options, Command::simplify, "simplify",
                      "Check a model and print its finite form");
    CLI::App& rules = add_model_command(app, options, Command::rules, "rules",
                                        "Check a model and print its flat rules, one a line");
    rules.add_flag("--no-simplify", options.as_written,
                   "Print the rules as they are written, loops, cases and names included");
    rules.add_flag("--origin", options.with_origin,
                   "Print the file and line of the rule in front of each");

    CLI::App& convert =
        add_model_command(app, options, Command::convert, "convert",
                          "Write a model in another form, unchecked: as source or as XML, as the "
                          "extensions pm and xml say",
                          "FROM");
    add_argument(convert, "TO", options.output, "The file to be written");
    add_form_option(convert, "--to", "What to write, whatever its extension says", options.to);

    describe_calculations(app, options);
    describe_side_data(app, options);
    add_workspace_commands(app, options.action);

    CLI::App& explain = add_command(app, options, Command::explain, "explain",
                                    "Explain an error that was reported, by its name");
    auto* name = explain
                     .add_option("ERR_NAME", options.error_name,
                                 "The name of the error, as it stands behind a report")
                     ->type_name("");
    explain.add_flag("--list", options.list, "List all errors, as without a name")->excludes(name);
}

int run(int argc, char** argv) {
    Options options;
    CLI::App app("Loads, checks, simplifies and prints product models.", "norvane-pm");
    describe(app, options);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& e) {
        std::ostringstream out;
        std::ostringstream error;
        for (std::ostringstream* text : {&out, &error}) // which would end in silence without memory
            text->exceptions(std::ios::badbit);
        const int code = app.exit(e, out, error);
        std::fputs(out.str().c_str(), stdout);
        std::fputs(error.str().c_str(), stderr);
        return code == 0 ? STATUS_OK : STATUS_WRONG_USAGE;
    }
    if (options.action) return options.action();
    if (options.command == Command::explain) return explain(options);
    if (options.command == Command::calc_builtins) return list_builtins(options);
    return run_command(options);
}

// What the runtime does where an exception cannot go on, such as one for want of memory in a
// destructor of a library that we use.
[[noreturn]] void end_of_all() {
    discard_result_file();
    std::fputs("norvane-pm: internal failure: out of memory, or an exception without a way out\n",
               stderr);
    std::_Exit(STATUS_INTERNAL_FAILURE);
}

// Before the initialisers of what we use, which allocate and would end without our report.
[[gnu::constructor(101)]] void prepare_end_of_all() {
    std::set_terminate(end_of_all);
}

} // namespace
} // namespace norvane::pm

int main(int argc, char** argv) {
    using namespace norvane::pm;
    prepare_output();
    int status = STATUS_INTERNAL_FAILURE;
    try {
        status = run(argc, argv);
    } catch (const std::exception& e) {
        std::fprintf(stderr, "norvane-pm: internal failure: %s\n", e.what());
    }
    return leave(status);
}
