// The functions that every calculation may call.
#ifndef NORVANE_PM_LSP_BUILTINS_H
#define NORVANE_PM_LSP_BUILTINS_H

#include <string>
#include <string_view>
#include <vector>

namespace norvane::driver::lsp {

struct Builtin {
    std::string name_space;
    std::string name;
    std::string signature; // "integer System.Max(integer a, integer b)"
};

const std::vector<Builtin>& builtins();

// Of "System.Max"; empty for a function that is none of them.
std::string builtin_signature(std::string_view name);

} // namespace norvane::driver::lsp

#endif
