// What a .norvane.json says (docs/editors.md).
#ifndef NORVANE_PM_LSP_SETTINGS_FILE_H
#define NORVANE_PM_LSP_SETTINGS_FILE_H

#include <map>
#include <string>
#include <vector>

#include "finding.h"

namespace norvane::driver::lsp {

constexpr const char* settings_name = ".norvane.json";

struct SettingsFile {
    std::vector<std::string> mains;
    std::vector<std::string> directories;
    std::vector<std::string> macros;                 // "-DNAME=VALUE"
    std::vector<std::string> warnings;               // as after -W
    std::map<std::string, std::string> calculations; // the model of each
    std::vector<Finding> faults; // what does not fit the schema, and is left out
};

SettingsFile read_settings_file(const std::string& path, const std::string& text);

} // namespace norvane::driver::lsp

#endif
