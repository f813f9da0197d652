// How a file is checked: through which main file, with which directories and macros.
#ifndef NORVANE_PM_LSP_SETTINGS_H
#define NORVANE_PM_LSP_SETTINGS_H

#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "documents.h"
#include "finding.h"

namespace norvane::driver::lsp {

struct Settings {
    std::string model; // the main file; empty for a calculation whose model is not known
    std::vector<std::string> directories;
    std::vector<std::string> macros;   // "-DNAME=VALUE", "-UNAME"
    std::vector<std::string> warnings; // as after -W
    std::string place;                 // where models are that no settings name; empty for none
    bool operator==(const Settings&) const = default;
};

// What is wrong with files of settings, by file.
using SettingsFaults = std::map<std::string, std::vector<Finding>>;

// From a workspace (*.zeb) that lists the file, else from a .norvane.json, each beside the file or
// above it. A part of a model is checked through the file that includes it.
Settings settings_of(const Document& document, const Documents& documents, SettingsFaults& faults);

// The models that workspaces and settings above a file name, each with its directories.
std::vector<Settings> named_models(const std::string& path, const Documents& documents);
// The files that include the file, looked for as these settings say.
std::vector<std::string> includers_of(const std::string& file, const Settings& settings,
                                      const Documents& documents);

// Whether the file is one of those that say how others are checked.
bool is_of_settings(std::string_view path);
// Adds what is wrong with a file of settings; an entry without findings where nothing is.
void find_faults(const std::string& path, const Documents& documents, SettingsFaults& faults);

} // namespace norvane::driver::lsp

#endif
