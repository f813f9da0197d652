#include "settings.h"

#include <algorithm>
#include <filesystem>
#include <optional>

#include "norvane/proj.hpp"

#include "includes.h"
#include "selection.h"
#include "workspace_models.h"

namespace norvane::driver::lsp {
namespace {

namespace fs = std::filesystem;

constexpr const char* settings_name = ".norvane.json";
constexpr unsigned most_includers = 20; // of a file that is included, and so on

fs::path below(const fs::path& directory, const char* name) {
    return (directory / codepage_to_utf8(name)).lexically_normal();
}

bool lists(const PolyList* files, const fs::path& directory, const std::string& path) {
    return std::ranges::any_of(items<char>(files),
                               [&](const char* name) { return below(directory, name) == path; });
}

// Workspaces. Their names are relative to the directory in which they are.

std::optional<Settings> from_project(const ZEBProject* project, const fs::path& directory,
                                     const Document& document) {
    const ProjectModel model = model_of(project);
    if (model.file.empty()) return {};
    Settings settings;
    settings.model = (directory / model.file).lexically_normal();
    const PolyList* listed = document.is_calculation ? project->calc_files : project->pm_files;
    const bool is_main = !document.is_calculation && settings.model == document.path;
    if (!is_main && !lists(listed, directory, document.path)) return {};
    for (const std::string& name : model.directories)
        settings.directories.push_back((directory / name).lexically_normal());
    settings.macros = model.macros;
    return settings;
}

std::optional<Settings> from_workspace(const fs::path& file, const Document& document) try {
    const auto workspace = Workspace::load(file);
    if (!workspace) return {};
    for (const ZEBProject* project : workspace->projects())
        if (auto settings = from_project(project, file.parent_path(), document)) return settings;
    return {};
} catch (const InternalFailure&) {
    return {};
}

std::optional<Settings> from_workspaces(const fs::path& directory, const Document& document) {
    std::error_code error;
    std::vector<fs::path> files;
    for (fs::directory_iterator at(directory, error), end; !error && at != end; at.increment(error))
        if (at->path().extension() == ".zeb" && fs::is_regular_file(at->path(), error))
            files.push_back(at->path());
    std::ranges::sort(files);
    for (const fs::path& file : files)
        if (auto settings = from_workspace(file, document)) return settings;
    return {};
}

// .norvane.json (docs/editors.md). What does not fit the schema is reported and left out.

class SettingsReader {
  public:
    SettingsReader(fs::path file, const std::string& text) : file_(std::move(file)) {
        settings_.faulty_file = file_;
        const Json json = Json::parse(text, nullptr, false);
        if (!json.is_object()) refuse("this is not a JSON object");
        if (json.is_object())
            for (const auto& [name, value] : json.items())
                take(name, value);
    }

    Settings settings(const Document& document) const {
        Settings found = settings_;
        if (document.is_calculation && mains_.size() == 1) found.model = mains_[0];
        const auto named = calculations_.find(document.path);
        if (document.is_calculation && named != calculations_.end()) found.model = named->second;
        return found;
    }
    const std::vector<std::string>& mains() const { return mains_; }

  private:
    void refuse(const std::string& why) {
        if (settings_.fault.empty()) settings_.fault = why;
    }
    std::string path(const std::string& name) const {
        return (file_.parent_path() / name).lexically_normal();
    }

    std::vector<std::string> texts(const std::string& name, const Json& value) {
        std::vector<std::string> found;
        if (!value.is_array()) refuse("'" + name + "' is not an array of strings");
        if (value.is_array())
            for (const Json& text : value)
                text.is_string() ? found.push_back(text.get<std::string>())
                                 : refuse("'" + name + "' is not an array of strings");
        return found;
    }

    static bool is_macro_name(const std::string& name) {
        return !name.empty() && !std::isdigit(static_cast<unsigned char>(name[0])) &&
               std::ranges::all_of(name, [](char c) {
                   return std::isalnum(static_cast<unsigned char>(c)) || c == '_';
               });
    }
    void define(const std::string& name, const Json& value) {
        if (!is_macro_name(name)) return refuse("'" + name + "' is not a macro name");
        const bool is_text = value.is_string() && !value.get<std::string>().empty() &&
                             value.get<std::string>().find('\n') == std::string::npos;
        if (is_text || value.is_number_integer())
            settings_.macros.push_back("-D" + name + "=" +
                                       (is_text ? value.get<std::string>() : value.dump()));
        else
            settings_.macros.push_back("-D" + name);
    }

    std::vector<std::string> paths(const std::string& name, const Json& value) {
        std::vector<std::string> found = texts(name, value);
        for (std::string& each : found)
            each = path(each);
        return found;
    }

    void define_all(const Json& macros) {
        for (const auto& [macro, text] : macros.items())
            define(macro, text);
    }

    void assign_models(const Json& calculations) {
        for (const auto& [calculation, model] : calculations.items())
            calculations_[path(calculation)] = path(text_of(model));
    }

    void select(const std::vector<std::string>& warnings) {
        for (const std::string& word : warnings)
            Selection().take(word) ? settings_.warnings.push_back(word)
                                   : refuse("there is no warning '" + word + "'");
    }

    static void append(std::vector<std::string>& all, const std::vector<std::string>& more) {
        all.insert(all.end(), more.begin(), more.end());
    }

    void take(const std::string& name, const Json& value) {
        if (name == "main") return append(mains_, paths(name, value));
        if (name == "includeDirectories") return append(settings_.directories, paths(name, value));
        if (name == "defines" && value.is_object()) return define_all(value);
        if (name == "calculations" && value.is_object()) return assign_models(value);
        if (name == "warnings") return select(texts(name, value));
        if (name != "$schema")
            refuse("'" + name + "' is not a setting, or its value has the wrong form");
    }

    fs::path file_;
    Settings settings_;
    std::vector<std::string> mains_;
    std::map<std::string, std::string> calculations_;
};

Settings from_settings_file(const fs::path& file, const Document& document,
                            const Documents& documents) {
    const auto text = documents.bytes(file);
    if (!text) return {};
    const SettingsReader reader(file, *text);
    Settings settings = reader.settings(document);
    for (const std::string& main : reader.mains())
        if (!document.is_calculation &&
            sources_of(main, settings.directories, documents).contains(document.path))
            settings.model = main;
    return settings;
}

// A model beside the calculation, of the same name.
std::string model_beside(const fs::path& calculation, const Documents& documents) {
    std::error_code error;
    const fs::path model = fs::path(calculation).replace_extension(".pm");
    return documents.find(model) || fs::is_regular_file(model, error) ? model.string() : "";
}

std::string outermost_includer(std::string file, const Documents& documents) {
    for (unsigned i = 0; i < most_includers; ++i) {
        const std::vector<std::string> includers = includers_of(file, documents);
        if (includers.empty()) break;
        file = includers.front();
    }
    return file;
}

Settings found_for(const Document& document, const Documents& documents) {
    const fs::path start = fs::path(document.path).parent_path();
    for (fs::path at = start; at != at.root_path(); at = at.parent_path())
        if (auto settings = from_workspaces(at, document)) return *settings;
    std::error_code error;
    for (fs::path at = start; at != at.root_path(); at = at.parent_path())
        if (documents.find(at / settings_name) || fs::is_regular_file(at / settings_name, error))
            return from_settings_file(at / settings_name, document, documents);
    return {};
}

} // namespace

Settings settings_of(const Document& document, const Documents& documents) {
    Settings settings = found_for(document, documents);
    if (settings.model.empty() && document.is_calculation)
        settings.model = model_beside(document.path, documents);
    if (document.is_calculation) return settings;
    if (settings.model.empty()) settings.model = outermost_includer(document.path, documents);
    // A file that is listed, but not included on the way from the main file, is a model by itself.
    if (settings.model != document.path &&
        !sources_of(settings.model, settings.directories, documents).contains(document.path))
        settings.model = document.path;
    return settings;
}

} // namespace norvane::driver::lsp
