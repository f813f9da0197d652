#include "builtins.h"

#include "norvane/proj.hpp"

namespace norvane::driver::lsp {
namespace {

std::string signature_of(const CFuncSignature& row) {
    std::string text =
        std::string(calc_type2string(row.type)) + " " + row.ns_name + "." + row.fn_name + "(";
    for (const auto* argument = row.args; argument->name; ++argument)
        text += std::string(argument == row.args ? "" : ", ") + calc_type2string(argument->type) +
                " " + argument->name;
    return text + ")";
}

std::vector<Builtin> all_builtins() {
    std::vector<Builtin> all;
    // The rows follow each other, up to one without a name.
    const CFuncSignature* row =
        call([] { return calc_get_build_in_func_signature("CtrlMngr", "AssignFloat"); });
    for (; row->ns_name; ++row)
        all.push_back({row->ns_name, row->fn_name, signature_of(*row)});
    return all;
}

} // namespace

const std::vector<Builtin>& builtins() {
    static const std::vector<Builtin> all = all_builtins();
    return all;
}

std::string builtin_signature(std::string_view name) {
    for (const Builtin& each : builtins())
        if (each.name_space + "." + each.name == name) return each.signature;
    return "";
}

} // namespace norvane::driver::lsp
