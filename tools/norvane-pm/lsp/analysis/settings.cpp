#include "settings.h"

#include <algorithm>
#include <filesystem>
#include <optional>

#include "norvane/proj.hpp"

#include "includes.h"
#include "settings_file.h"
#include "text.h"
#include "workspace_models.h"

namespace norvane::driver::lsp {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view workspace_extension = ".zeb";
constexpr unsigned most_includers = 20; // of a file that is included, and so on

fs::path below(const fs::path& directory, const char* name) {
    return (directory / codepage_to_utf8(name)).lexically_normal();
}

bool lists(const PolyList* files, const fs::path& directory, const std::string& path) {
    return std::ranges::any_of(items<char>(files),
                               [&](const char* name) { return below(directory, name) == path; });
}

// Workspaces. Their names are relative to the directory in which they are.

std::optional<Settings> settings_of(const ZEBProject* project, const fs::path& directory) {
    const ProjectModel model = model_of(project);
    if (model.file.empty()) return {};
    Settings settings;
    settings.model = (directory / model.file).lexically_normal();
    for (const std::string& name : model.directories)
        settings.directories.push_back((directory / name).lexically_normal());
    settings.macros = model.macros;
    return settings;
}

// A part that is not listed belongs to the model that includes it.
std::optional<Settings> from_project(const ZEBProject* project, const fs::path& directory,
                                     const Document& document, const Documents& documents) {
    auto settings = settings_of(project, directory);
    if (!settings) return {};
    const PolyList* listed = document.is_calculation ? project->calc_files : project->pm_files;
    const bool is_listed = lists(listed, directory, document.path);
    const bool is_included =
        !document.is_calculation &&
        files_of(settings->model, settings->directories, documents).contains(document.path);
    return is_listed || is_included ? settings : std::nullopt;
}

Finding workspace_fault(const std::string& file, Report report) {
    Finding fault;
    fault.name = std::move(report.name);
    fault.message = to_utf8(report.message);
    fault.place = {file, report.line, 0, 0, 0};
    fault.hint = "the files that it lists are checked without it";
    return fault;
}

// Empty where it cannot be read.
std::optional<Workspace> load_workspace(const std::string& file, SettingsFaults& faults) try {
    const bool is_first_time = !faults.contains(file);
    std::vector<Finding>& own = faults[file];
    Result<Workspace> workspace = Workspace::load(file);
    for (const Report& report : workspace.reports())
        if (is_first_time) own.push_back(workspace_fault(file, report));
    if (!workspace || workspace.has_errors()) return {};
    return std::move(*workspace);
} catch (const InternalFailure& failure) {
    Report report;
    report.set_title(failure.what());
    faults[file] = {workspace_fault(file, report)};
    return {};
}

std::vector<std::string> workspaces_in(const fs::path& directory) {
    std::error_code error;
    std::vector<std::string> files;
    for (fs::directory_iterator at(directory, error), end; !error && at != end; at.increment(error))
        if (at->path().extension() == workspace_extension && fs::is_regular_file(at->path(), error))
            files.push_back(at->path());
    std::ranges::sort(files);
    return files;
}

std::optional<Settings> from_workspaces(const fs::path& directory, const Document& document,
                                        const Documents& documents, SettingsFaults& faults) {
    for (const std::string& file : workspaces_in(directory)) {
        const auto workspace = load_workspace(file, faults);
        if (!workspace) continue;
        for (const ZEBProject* project : workspace->projects())
            if (auto settings = from_project(project, directory, document, documents))
                return settings;
    }
    return {};
}

SettingsFile load_settings_file(const std::string& path, const Documents& documents,
                                SettingsFaults& faults) {
    const Document* document = documents.find(path); // which the client holds in UTF-8, as it is
    const auto text = document ? document->lines.text() : read_source_file(path);
    SettingsFile file = text ? read_settings_file(path, *text) : SettingsFile();
    faults[path] = file.faults;
    return file;
}

Settings from_settings_file(const std::string& path, const Document& document,
                            const Documents& documents, SettingsFaults& faults) {
    SettingsFile file = load_settings_file(path, documents, faults);
    Settings settings{"", std::move(file.directories), std::move(file.macros),
                      std::move(file.warnings), fs::path(path).parent_path()};
    if (document.is_calculation) {
        const auto named = file.calculations.find(document.path);
        if (named != file.calculations.end())
            settings.model = named->second;
        else if (file.mains.size() == 1)
            settings.model = file.mains[0];
        return settings;
    }
    for (const std::string& main : file.mains)
        if (files_of(main, settings.directories, documents).contains(document.path))
            settings.model = main;
    return settings;
}

// A model beside the calculation, of the same name.
std::string model_beside(const fs::path& calculation, const Documents& documents) {
    std::error_code error;
    const fs::path model = fs::path(calculation).replace_extension(".pm");
    return documents.find(model) || fs::is_regular_file(model, error) ? model.string() : "";
}

std::string outermost_includer(std::string file, const Settings& settings,
                               const Documents& documents) {
    for (unsigned i = 0; i < most_includers; ++i) {
        const std::vector<std::string> includers = includers_of(file, settings, documents);
        if (includers.empty()) break;
        file = includers.front();
    }
    return file;
}

// The .norvane.json beside the file or above it; empty where there is none.
std::string settings_file_above(const fs::path& file, const Documents& documents) {
    std::error_code error;
    for (fs::path at = file.parent_path(); at != at.root_path(); at = at.parent_path())
        if (documents.find(at / settings_name) || fs::is_regular_file(at / settings_name, error))
            return at / settings_name;
    return "";
}

Settings found_for(const Document& document, const Documents& documents, SettingsFaults& faults) {
    const fs::path file = document.path;
    for (fs::path at = file.parent_path(); at != at.root_path(); at = at.parent_path())
        if (auto settings = from_workspaces(at, document, documents, faults)) return *settings;
    const std::string settings = settings_file_above(file, documents);
    return settings.empty() ? Settings()
                            : from_settings_file(settings, document, documents, faults);
}

} // namespace

Settings settings_of(const Document& document, const Documents& documents, SettingsFaults& faults) {
    Settings settings = found_for(document, documents, faults);
    if (settings.model.empty() && document.is_calculation)
        settings.model = model_beside(document.path, documents);
    if (document.is_calculation) return settings;
    if (settings.model.empty())
        settings.model = outermost_includer(document.path, settings, documents);
    // A file that is listed, but not included on the way from the main file, is a model by itself.
    if (settings.model != document.path &&
        !files_of(settings.model, settings.directories, documents).contains(document.path))
        settings.model = document.path;
    return settings;
}

std::vector<Settings> named_models(const std::string& path, const Documents& documents) {
    std::vector<Settings> models;
    SettingsFaults ignored;
    for (fs::path at = fs::path(path).parent_path(); at != at.root_path(); at = at.parent_path())
        for (const std::string& file : workspaces_in(at))
            if (const auto workspace = load_workspace(file, ignored))
                for (const ZEBProject* project : workspace->projects())
                    if (auto model = settings_of(project, at)) models.push_back(*std::move(model));
    const std::string file = settings_file_above(path, documents);
    if (file.empty()) return models;
    SettingsFile settings = load_settings_file(file, documents, ignored);
    for (std::string& main : settings.mains)
        models.push_back({std::move(main), settings.directories, {}, {}, ""});
    return models;
}

std::vector<std::string> includers_of(const std::string& file, const Settings& settings,
                                      const Documents& documents) {
    std::vector<std::string> places;
    if (!settings.place.empty()) places.push_back(settings.place);
    return includers_of(file, settings.directories, places, documents);
}

bool is_of_settings(std::string_view path) {
    const fs::path file = path;
    return file.filename() == settings_name || file.extension() == workspace_extension;
}

void find_faults(const std::string& path, const Documents& documents, SettingsFaults& faults) {
    if (fs::path(path).filename() == settings_name)
        load_settings_file(path, documents, faults);
    else
        load_workspace(path, faults);
}

} // namespace norvane::driver::lsp
