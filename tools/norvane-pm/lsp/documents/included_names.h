// The files that a source names.
#ifndef NORVANE_PM_LSP_INCLUDED_NAMES_H
#define NORVANE_PM_LSP_INCLUDED_NAMES_H

#include <string>
#include <string_view>
#include <vector>

namespace norvane::driver::lsp {

// The names that a source includes, in quotes or in angle brackets; also texts that its macros
// stand for, which an include may name.
std::vector<std::string> included_names(std::string_view source);

} // namespace norvane::driver::lsp

#endif
