// Options that several commands take.
#ifndef NORVANE_PM_COMMAND_OPTIONS_H
#define NORVANE_PM_COMMAND_OPTIONS_H

#include <string>
#include <utility>
#include <vector>

#include <CLI/CLI.hpp>

#include "options.h"

namespace norvane::driver {

// The end of every help text: where results are written, and the exit statuses.
extern const char* const footer;

void add_argument(CLI::App& command, const char* name, std::string& value, const char* help);
void add_text(CLI::App& command, const char* name, const char* value_name, std::string& value,
              const char* help);

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

using ModelForms = std::vector<std::pair<std::string, ModelForm>>;
// Those that every command takes that takes models.
const ModelForms& own_forms();

// The words of --format, and its help.
struct Formats {
    std::vector<std::pair<std::string, Format>> words;
    const char* help;
};

// For a command that makes a file, or nothing but reports.
Formats report_formats();
// For a command that prints text: its results have no other form.
Formats text_formats();
// For a command whose results have both forms.
Formats result_formats();
// For a command whose results are text or JSON and whose reports may also be one line each (gcc).
Formats all_formats();

void add_format(CLI::App& command, Options& options, const Formats& formats);
void add_quiet(CLI::App& command, Options& options);
// For a command that reads files, and may have something to report.
void add_report_options(CLI::App& command, Options& options, const Formats& formats);
void add_preprocessor_options(CLI::App& command, Options& options);
void add_model_form(CLI::App& command, const char* name, const char* help, ModelForm& form,
                    const ModelForms& forms = own_forms());
void add_max_nodes(CLI::App& command, Options& options);
void add_dependencies(CLI::App& command, Options& options);
void add_max_errors(CLI::App& command, Options& options);
void add_model(CLI::App& command, Options& options, const Formats& formats,
               const char* argument = "FILE");
void add_jobs(CLI::App& command, Options& options);
// For a command that takes several models.
void add_models(CLI::App& command, Options& options, const Formats& formats, const char* help,
                const ModelForms& forms = own_forms());
void add_output(CLI::App& command, Options& options,
                const char* help = "Write to FILE and not to standard output");
void add_output_of_models(CLI::App& command, Options& options);
void add_warnings(CLI::App& command, Options& options);

} // namespace norvane::driver

#endif
