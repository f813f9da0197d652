#include "command_options.h"

#include <algorithm>
#include <cctype>
#include <charconv>

#include "dependency_rule.h"

namespace norvane::driver {
namespace {

// Large enough for any product, and reached before the memory of most machines is exhausted.
constexpr unsigned long long default_max_nodes = 200'000'000;

} // namespace

const char* const footer =
    "Results go to standard output, all else to standard error.\n"
    "Exit status: 0 success, 1 the input is at fault, 2 wrong usage, 3 internal failure.";

void add_argument(CLI::App& command, const char* name, std::string& value, const char* help) {
    command.add_option(name, value, help)->required()->type_name("");
}

void add_text(CLI::App& command, const char* name, const char* value_name, std::string& value,
              const char* help) {
    command.add_option(name, value, help)->type_name(value_name);
}

Formats report_formats() {
    return {{{"text", Format::text},
             {"gcc", Format::gcc},
             {"json", Format::json},
             {"sarif", Format::sarif}},
            "How to report what is wrong: text (the default); gcc, one line each; json, one object "
            "a line; sarif, one log"};
}

Formats text_formats() {
    return {{{"text", Format::text}, {"gcc", Format::gcc}},
            "How to report what is wrong: text (the default), or gcc, one line each"};
}

Formats result_formats() {
    return {{{"text", Format::text}, {"json", Format::json}},
            "The form of results and reports: text (the default), or json, one value a line"};
}

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

void add_report_options(CLI::App& command, Options& options, const Formats& formats) {
    command.footer(std::string("A file whose name is - is standard input, or, where it is "
                               "written, standard output.\n") +
                   footer);
    add_format(command, options, formats);
    add_quiet(command, options);
}

namespace {

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

} // namespace

void add_preprocessor_options(CLI::App& command, Options& options) {
    add_preprocessor_option(command, options, "-I,--include-dir", "-I", "DIR",
                            "Search DIR for included files");
    add_preprocessor_option(command, options, "-D,--define", "-D", "NAME[=VALUE]",
                            "Define a macro");
    add_preprocessor_option(command, options, "-U,--undefine", "-U", "NAME", "Undefine a macro");
}

const ModelForms& own_forms() {
    static const ModelForms forms = {{"pm", ModelForm::source}, {"xml", ModelForm::xml}};
    return forms;
}

void add_model_form(CLI::App& command, const char* name, const char* help, ModelForm& form,
                    const ModelForms& forms) {
    add_choice<ModelForm>(command, name, "FORM", help, form, forms);
}

namespace {

// CLI11 would accept "-1" and wrap numbers that are too large, so the text is parsed here.
std::string why_no_number(const std::string& text) {
    unsigned long long number = 0;
    const char* end = text.data() + text.size();
    const auto [after, error] = std::from_chars(text.data(), end, number);
    return error == std::errc() && after == end ? "" : "'" + text + "' is not a number of nodes";
}

} // namespace

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

namespace {

void add_model_options(CLI::App& command, Options& options, const Formats& formats,
                       const ModelForms& forms = own_forms()) {
    add_report_options(command, options, formats);
    add_preprocessor_options(command, options);
    add_model_form(command, "--from", "The format of the model, whatever its extension says",
                   options.from, forms);
    add_max_errors(command, options);
    add_max_nodes(command, options);
    add_dependencies(command, options);
}

} // namespace

void add_model(CLI::App& command, Options& options, const Formats& formats, const char* argument) {
    add_model_options(command, options, formats);
    add_argument(command, argument, options.file, "The product model");
}

void add_jobs(CLI::App& command, Options& options) {
    command.add_option("-j,--jobs", options.jobs, "Work on up to N models at a time (1)")
        ->check(CLI::Range(1u, 1000u, ""))
        ->type_name("N");
}

void add_models(CLI::App& command, Options& options, const Formats& formats, const char* help,
                const ModelForms& forms) {
    add_model_options(command, options, formats, forms);
    command.add_option("FILE", options.files, help)->required()->type_name("");
    add_jobs(command, options);
}

void add_output(CLI::App& command, Options& options, const char* help) {
    add_text(command, "-o,--output", "FILE", options.output, help);
}

void add_output_of_models(CLI::App& command, Options& options) {
    add_output(
        command, options,
        "Write to FILE and not to standard output; for several models, into the directory FILE");
}

void add_warnings(CLI::App& command, Options& options) {
    const auto take = [&options](const std::string& word) {
        if (!options.warnings.take(word))
            throw CLI::ValidationError("-W" + word, "there is no such warning: see "
                                                    "norvane-pm explain --warnings");
        options.warning_words.push_back(word);
    };
    command
        .add_option_function<std::string>(
            "-W,--warning", take,
            "Show warnings: -Wall, -WNAME, -Wno-NAME; make them errors: -Werror, -Werror=NAME, "
            "-Wno-error=NAME")
        ->type_name("WORD")
        ->trigger_on_parse();
    command.add_flag_callback(
        "--werror", [take] { take("error"); }, "The same as -Werror");
}

} // namespace norvane::driver
