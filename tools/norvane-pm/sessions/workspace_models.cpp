#include "workspace_models.h"

namespace norvane::driver {

ProjectModel model_of(const ZEBProject* project) {
    ProjectModel model;
    model.project = codepage_to_utf8(project->name);
    if (project->main_file) model.file = codepage_to_utf8(project->main_file);
    for (const char* name : items<char>(project->includes))
        model.directories.push_back(codepage_to_utf8(name));
    for (const auto [name, value] : pairs<char, char>(project->defines)) {
        const std::string text = codepage_to_utf8(value);
        model.macros.push_back("-D" + codepage_to_utf8(name) + (text.empty() ? "" : "=" + text));
    }
    return model;
}

} // namespace norvane::driver
