#include "several_files.h"

#include <algorithm>
#include <filesystem>
#include <map>
#include <set>

#include "file_identity.h"
#include "forms.h"
#include "languages.h"
#include "models.h"
#include "run_all.h"

namespace norvane::driver {
namespace {

// What goes with one result is refused where there are several.
void check_usage(const Options& options) {
    if (std::ranges::find(options.files, "-") != options.files.end())
        throw WrongUsage{"standard input cannot be one of several models: -"};
    if (!options.dependency_file.empty() || !options.dependency_targets.empty())
        throw WrongUsage{"-MF, -MT and -MQ need a single model"};
    if (options.has_dependencies && options.output == "-")
        throw WrongUsage{"-MD needs a single model, or -o and the directory of results"};
    if (!options.texts.empty()) throw WrongUsage{"--texts needs a single model"};
    std::error_code error;
    if (options.output != "-" && !std::filesystem::is_directory(options.output, error))
        throw WrongUsage{"several models need a directory after -o, which this is not: " +
                         options.output};
}

const char* extension_of(const Options& options) {
    switch (options.language) {
    case RuleLanguage::text: return options.format == Format::json ? ".json" : ".rules";
    case RuleLanguage::json: return ".json";
    case RuleLanguage::smtlib: return ".smt2";
    case RuleLanguage::minizinc: return ".mzn";
    case RuleLanguage::asp: return ".lp";
    case RuleLanguage::dimacs: return ".cnf";
    case RuleLanguage::opb: return ".opb";
    case RuleLanguage::pm: return ".pm";
    }
    return "";
}

std::vector<Run> runs_of(const Options& options, void (*command)(Session&),
                         const std::string& extension) {
    std::vector<Run> runs;
    std::map<FileIdentity, std::string> models;
    for (const std::string& file : options.files)
        models.emplace(identity_of(file), file);
    std::set<FileIdentity> results;
    for (const std::string& file : options.files) {
        Run run{file, options, command};
        run.options.files.clear();
        run.options.file = file;
        if (options.output != "-") {
            const std::filesystem::path name =
                std::filesystem::path(file).filename().replace_extension(extension);
            run.options.output = options.output / name;
            const FileIdentity result = identity_of(run.options.output);
            if (const auto model = models.find(result); model != models.end())
                throw WrongUsage{"the result would replace the model: " + model->second};
            if (!results.insert(result).second)
                throw WrongUsage{"two models would write the same file: " + run.options.output};
        }
        runs.push_back(std::move(run));
    }
    return runs;
}

void run_for_each(Session& session, void (*command)(Session&), const std::string& extension) {
    const Options& options = session.options;
    check_usage(options);
    // Models may share the files that are corrected, and each is to load what the last one left.
    const unsigned most_at_a_time = options.fix ? 1 : options.jobs;
    run_all(session, runs_of(options, command, extension), most_at_a_time);
}

} // namespace

void check_files(Session& session) {
    if (session.options.files.empty()) return check(session);
    run_for_each(session, check, "");
}

void print_rules_of_files(Session& session) {
    const Options& options = session.options;
    if (options.files.empty()) return rules(session);
    run_for_each(session, rules, extension_of(options));
}

void convert_files(Session& session) {
    const Options& options = session.options;
    if (options.files.empty()) return convert(session);
    if (options.output == "-")
        throw WrongUsage{"several models need -o and the directory to write to"};
    if (options.to == ModelForm::unknown)
        throw WrongUsage{
            "the names of several models do not tell the output format; use --to=pm or "
            "--to=xml"};
    run_for_each(session, convert, options.to == ModelForm::xml ? ".xml" : ".pm");
}

} // namespace norvane::driver
