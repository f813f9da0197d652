#include "arguments.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include <CLI/CLI.hpp>

#include "command_table.h"
#include "forms.h"
#include "session.h"
#include "similar.h"

namespace norvane::driver {
namespace {

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

// The first word that is not a command, or the first option that its command does not have.
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

// Runs in place of a command when the command line is wrong: throws WrongUsage.
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
    FirstWords words;
    for (std::size_t i = 0; i < words.size() && i + 1 < arguments.size(); ++i)
        words[i] = arguments[i + 1];
    CLI::App app("Loads, checks, simplifies and prints product models.", "norvane-pm");
    describe_program(app, invocation, words);
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
