// How a file is checked: through which main file, with which directories and macros.
#ifndef NORVANE_PM_LSP_SETTINGS_H
#define NORVANE_PM_LSP_SETTINGS_H

#include <string>
#include <vector>

#include "documents.h"

namespace norvane::driver::lsp {

struct Settings {
    std::string model; // the main file; empty for a calculation whose model is not known
    std::vector<std::string> directories;
    std::vector<std::string> macros;   // "-DNAME=VALUE", "-UNAME"
    std::vector<std::string> warnings; // as after -W
    // The settings file that could not be used, and why; both empty if there is no fault.
    std::string faulty_file;
    std::string fault;
    bool operator==(const Settings&) const = default;
};

// From a workspace (*.zeb) that lists the file, else from a .norvane.json, each beside the file or
// above it. A part of a model is checked through the file that includes it.
Settings settings_of(const Document& document, const Documents& documents);

} // namespace norvane::driver::lsp

#endif
