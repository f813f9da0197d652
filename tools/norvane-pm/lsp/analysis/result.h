// What a run has found.
#ifndef NORVANE_PM_LSP_RESULT_H
#define NORVANE_PM_LSP_RESULT_H

#include <cstddef>
#include <map>
#include <string>
#include <vector>

#include "definitions.h"
#include "finding.h"
#include "worker.h"

namespace norvane::driver::lsp {

// What the check of a model finds out.
struct Facts {
    // What is within records that are nested deeper is left out.
    static constexpr std::size_t longest_path = 1000;
    std::map<std::string, std::string> constants;            // their values
    std::map<std::string, std::vector<std::string>> classes; // by path: what cuts the values
};

struct Result {
    std::vector<Finding> findings;
    Facts facts;
    std::string text; // of the model after the preprocessor
    bool has_text = false;
    Definitions definitions;
};

// Takes the output of a run apart. Names of files below `overlay_root` become those of the user's,
// and a report without a file is about `file`.
Result result_of(Output output, const std::string& overlay_root, const std::string& file);

} // namespace norvane::driver::lsp

#endif
