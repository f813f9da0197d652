// Names in a workspace are those of files in the current directory, as they are for the tools.
#include "workspace_builds.h"

#include <algorithm>
#include <filesystem>
#include <set>

#include "file_identity.h"
#include "forms.h"
#include "models.h"
#include "run_all.h"
#include "shell_word.h"
#include "workspace.h"
#include "workspace_models.h"

namespace norvane::driver {
namespace {

// The projects in the order of the workspace. Throws an InputAtFault after a report for each that
// has no main file.
std::vector<ProjectModel> models_of(Session& session, const Workspace& workspace) {
    std::vector<ProjectModel> models;
    bool are_good = true;
    for (const ZEBProject* project : workspace.projects()) {
        models.push_back(model_of(project));
        const std::string& file = models.back().file;
        if (!file.empty() && file != "-") continue; // standard input is not a file of a project
        session.diagnostics.say(session.options.file + ": the project '" + models.back().project +
                                "' has no main file");
        are_good = false;
    }
    if (!are_good) throw InputAtFault();
    return models;
}

bool is_xml(const ProjectModel& model) {
    return model_form(ModelForm::unknown, model.file) == ModelForm::xml;
}

// What the preprocessor takes; nothing where it does not run.
std::vector<std::string> cpp_args(const ProjectModel& model) {
    std::vector<std::string> args;
    if (is_xml(model)) return args;
    for (const std::string& directory : model.directories)
        args.push_back("-I" + directory);
    args.insert(args.end(), model.macros.begin(), model.macros.end());
    return args;
}

// A build file of ninja. -------------------------------------------------------------------------

// A name as ninja reads it in a list of files.
std::string path_for_ninja(const std::string& name) {
    std::string escaped;
    for (const char c : name) {
        if (c == '$' || c == ' ' || c == ':') escaped += '$';
        escaped += c;
    }
    return escaped;
}

// A text as ninja reads it after "=".
std::string value_for_ninja(const std::string& text) {
    std::string escaped;
    for (const char c : text)
        escaped += c == '$' ? std::string("$$") : std::string(1, c);
    return escaped;
}

// The lists of a project's sources. What a package takes besides may be a result of the build.
constexpr PolyList* ZEBProject::*source_lists[] = {
    &ZEBProject::pm_files, &ZEBProject::pres_files, &ZEBProject::calc_files,
    &ZEBProject::table_files, &ZEBProject::var_order_files};

// Checked for each project before anything is written: results are named after projects, so one
// may have the name of a source, which it would replace; and a build file has no way to write some
// characters.
class NameCheck {
  public:
    NameCheck(Session& session, const Workspace& workspace, const std::vector<ProjectModel>& models)
        : session_(session) {
        add_source(session.options.file);
        for (const ProjectModel& model : models)
            add_source(model.file);
        for (const ZEBProject* project : workspace.projects()) {
            if (project->virtual_table) add_source(codepage_to_utf8(project->virtual_table));
            for (PolyList* ZEBProject::*list : source_lists)
                for (const char* file : items<char>(project->*list))
                    add_source(codepage_to_utf8(file));
        }
        check_name(session.options.file);
        check_name(session.options.build_directory);
        check_name(session.options.output);
        if (session.options.output != "-") check_result(session.options.output);
    }

    void operator()(const ProjectModel& model) {
        const std::string& name = model.project;
        const bool is_plain =
            !name.empty() && name != "." && name != ".." && name.find('/') == std::string::npos;
        if (!is_plain) refuse("the name of the project '" + name + "' is not a file name");
        if (!names_.insert(name).second) refuse("there are two projects '" + name + "'");
        check_name(name);
        check_name(model.file);
        for (const std::string& argument : cpp_args(model))
            check_text(argument);
        const std::filesystem::path directory = session_.options.build_directory;
        check_result(directory / (name + ".checked"));
        check_result(directory / (name + ".rules"));
        if (!is_xml(model)) check_result(directory / (name + ".xml"));
        check_result(name + ".mub");
    }

    void check_name(const std::string& name) const {
        if (name.find('|') != std::string::npos)
            refuse("ninja cannot represent the '|' in the name '" + name + "'");
        check_text(name);
    }

  private:
    void add_source(const std::string& file) { sources_.insert(identity_of(file)); }
    void check_text(const std::string& text) const {
        if (text.find_first_of("\r\n") != std::string::npos)
            refuse("ninja cannot represent the line feed in '" + text + "'");
    }
    void check_result(const std::string& result) {
        const FileIdentity file = identity_of(result);
        if (sources_.contains(file))
            refuse("'" + result + "' would be replaced, but other files are made from it");
        if (!results_.insert(file).second) refuse("'" + result + "' would be made twice");
    }
    void refuse(const std::string& why) const {
        session_.diagnostics.say(session_.options.file + ": " + why);
        throw InputAtFault();
    }

    Session& session_;
    std::set<FileIdentity> sources_;
    std::set<FileIdentity> results_;
    std::set<std::string> names_;
};

class NinjaFile {
  public:
    explicit NinjaFile(const Options& options) : options_(options) {
        const std::string file = for_ninja_command(options.file);
        const std::string directory = for_ninja_command(options.build_directory);
        std::string warnings;
        for (const std::string& word : options.warning_words)
            warnings += " " + for_ninja_command("-W" + word);
        text_ =
            "# The models of a workspace: checked, as flat rules, and as XML. \"ninja packages\" "
            "packs what\n# a compiler has made of them. \"norvane-pm workspace ninja\" writes "
            "this file.\n"
            "ninja_required_version = 1.8\n"
            "builddir = " +
            value_for_ninja(options.build_directory) +
            "\n"
            "norvane_pm = norvane-pm\n";
        // A name may begin with a dash: "--" ends the options, and theirs follow without a blank.
        add_rule("check",
                 "check" + warnings + " $flags -MD -MF$out.d -MQ$out -- $in && touch -- $out",
                 true);
        // The check has shown the warnings, but a model with one that is an error gets no rules.
        add_rule("rules", "rules -q" + warnings + " $flags -MD -MF$out.d -o$out -- $in", true);
        add_rule("xml", "convert -q $flags --to=xml -MD -MF$out.d -o$out -- $in", true);
        add_rule("package", "workspace package -- " + file + " $project", false);
        add_rule("workspace",
                 "workspace ninja" + warnings + " --build-dir=" + directory + " -o$out -- $in",
                 false);
        if (options.output != "-")
            text_ += "  generator = 1\nbuild " + path_for_ninja(options.output) + ": workspace " +
                     path_for_ninja(options.file) + "\n";
    }

    void add(const ProjectModel& model) {
        add_build(checks_, model, ".checked", "check");
        add_build(rules_, model, ".rules", "rules");
        if (!is_xml(model)) add_build(documents_, model, ".xml", "xml");
    }

    // A package has what lies beside the compiled model when it is made.
    void add_package(const ProjectModel& model, const std::vector<std::string>& more) {
        const std::string package = path_for_ninja(model.project + ".mub");
        text_ += "build " + package + ": package " + path_for_ninja(model.project + ".mu") + " | " +
                 path_for_ninja(options_.file);
        std::error_code error;
        for (const std::string& file : more)
            if (std::filesystem::is_regular_file(file, error)) text_ += " " + path_for_ninja(file);
        text_ += "\n  project = " + for_ninja_command(model.project) + "\n";
        packages_ += " " + package;
    }

    std::string text() const {
        return text_ + "build check: phony" + checks_ + "\nbuild rules: phony" + rules_ +
               "\nbuild xml: phony" + documents_ + "\nbuild packages: phony" + packages_ +
               "\ndefault check rules xml\n";
    }

  private:
    static std::string for_ninja_command(const std::string& word) {
        return value_for_ninja(for_shell(word));
    }

    void add_rule(const std::string& name, const std::string& command, bool has_dependencies) {
        text_ += "rule " + name + "\n  command = $norvane_pm " + command + "\n";
        if (has_dependencies) text_ += "  depfile = $out.d\n  deps = gcc\n";
    }

    void add_build(std::string& group, const ProjectModel& model, const char* extension,
                   const char* rule) {
        const std::string result = path_for_ninja(std::filesystem::path(options_.build_directory) /
                                                  (model.project + extension));
        text_ += "build " + result + ": " + rule + " " + path_for_ninja(model.file) + "\n";
        std::string flags;
        for (const std::string& argument : cpp_args(model))
            flags += " " + for_ninja_command(argument);
        if (!flags.empty()) text_ += "  flags =" + flags + "\n";
        group += " " + result;
    }

    const Options& options_;
    std::string text_;
    std::string checks_, rules_, documents_, packages_; // results
};

// What a package takes beside the compiled model, where it is there.
std::vector<std::string> package_files(const ZEBProject* project, const std::string& name) {
    std::vector<std::string> files = {name + ".clx", name + ".tbl"};
    for (const char* file : items<char>(project->fileincludes))
        files.push_back(codepage_to_utf8(file));
    return files;
}

} // namespace

void check_workspace(Session& session) {
    const Options& options = session.options;
    std::vector<Run> runs;
    for (const ProjectModel& model : models_of(session, load_workspace(session))) {
        Run run{model.project, options, check};
        run.options.file = model.file;
        run.options.cpp_args = cpp_args(model);
        runs.push_back(std::move(run));
    }
    run_all(session, std::move(runs), session.options.jobs);
}

void write_ninja_file(Session& session) {
    const Workspace& workspace = load_workspace(session);
    const std::vector<ProjectModel> models = models_of(session, workspace);
    NameCheck check_names(session, workspace, models);
    for (const ProjectModel& model : models)
        check_names(model);
    NinjaFile file(session.options);
    for (const ProjectModel& model : models)
        file.add(model);
    std::size_t i = 0;
    for (const ZEBProject* project : workspace.projects()) {
        const std::vector<std::string> more = package_files(project, models[i].project);
        for (const std::string& name : more) {
            check_names.check_name(name);
            session.inputs.add(name); // the build file must not replace it
        }
        file.add_package(models[i], more);
        ++i;
    }
    const std::string text = file.text();
    session.write_output(
        [&text](std::FILE* stream) { std::fwrite(text.data(), 1, text.size(), stream); });
}

} // namespace norvane::driver
