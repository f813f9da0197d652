// The classes into which the rules cut the values of an unbounded variable.
#ifndef NORVANE_PM_LSP_CLASSES_H
#define NORVANE_PM_LSP_CLASSES_H

#include <string>
#include <vector>

namespace norvane::driver::lsp {

// In the order of their numbers, by the values that the rules compare with: "up to 109", "110",
// "from 111".
std::vector<std::string> classes_of(const std::vector<std::string>& cuts);

} // namespace norvane::driver::lsp

#endif
