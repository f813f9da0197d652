#include "calculation_names.h"

namespace norvane::driver {
namespace {

const CalculationNames::Names&
names_at(const std::unordered_map<std::string_view, CalculationNames::Names>& lists,
         std::string_view key) {
    static const CalculationNames::Names none;
    const auto list = lists.find(key);
    return list == lists.end() ? none : list->second;
}

} // namespace

const CFunc* find_function(const Calculation& calculation, const char* ns_name, const char* name) {
    const CNameSpace* ns = calc_get_namespace(calculation.get(), ns_name);
    return ns ? calc_get_function(ns, name) : nullptr;
}

CalculationNames::CalculationNames(const Calculation& calculation) {
    for (const auto& [ns, func] : calculation.functions())
        add(ns->name, func->name);
    const CFuncSignature* row = calc_get_build_in_func_signature("CtrlMngr", "AssignFloat");
    for (; row->ns_name; ++row)
        add(row->ns_name, row->fn_name);
}

void CalculationNames::add(std::string_view ns_name, std::string_view function) {
    if (namespaces_.empty() || namespaces_.back() != ns_name) namespaces_.push_back(ns_name);
    functions_[ns_name].push_back(function);
    namespaces_with_[function].push_back(ns_name);
}

const CalculationNames::Names& CalculationNames::functions_in(std::string_view ns_name) const {
    return names_at(functions_, ns_name);
}

const CalculationNames::Names& CalculationNames::namespaces_with(std::string_view function) const {
    return names_at(namespaces_with_, function);
}

} // namespace norvane::driver
