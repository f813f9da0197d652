// The functions of a calculation and those that are built in, by name: a calculation of thousands
// of functions may have a fault in each.
#ifndef NORVANE_PM_CALCULATION_NAMES_H
#define NORVANE_PM_CALCULATION_NAMES_H

#include <string_view>
#include <unordered_map>
#include <vector>

#include "norvane/proj.hpp"

namespace norvane::driver {

// A function of the calculation itself; null if there is none.
const CFunc* find_function(const Calculation& calculation, const char* ns_name, const char* name);

// The lists begin with the calculation's own names, in its order.
class CalculationNames {
  public:
    using Names = std::vector<std::string_view>;

    explicit CalculationNames(const Calculation& calculation);

    const Names& namespaces() const { return namespaces_; }
    const Names& functions_in(std::string_view ns_name) const;
    // The namespaces that have a function of that name.
    const Names& namespaces_with(std::string_view function) const;

  private:
    void add(std::string_view ns_name, std::string_view function);

    Names namespaces_;
    std::unordered_map<std::string_view, Names> functions_;       // by namespace
    std::unordered_map<std::string_view, Names> namespaces_with_; // by function
};

} // namespace norvane::driver

#endif
