// Constraints of a model in UVL as rules of PM.
#ifndef NORVANE_PM_UVL_CONSTRAINTS_H
#define NORVANE_PM_UVL_CONSTRAINTS_H

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "uvl.h"

namespace norvane::driver {

enum class UvlValueKind { integer, real, truth, text };
UvlValueKind kind_of(const UvlAttribute& attribute);
inline bool has_value(const UvlFeature& feature) {
    return !feature.type.empty() && feature.type != "Boolean";
}
// Without a sign; nothing for what PM cannot hold.
std::optional<std::int64_t> integer_of(std::string_view text);

// What features and attributes are called in PM.
struct UvlNames {
    // A feature that has an attribute, and the constant for its value.
    struct Holder {
        UvlIndex feature;
        const UvlAttribute* attribute;
        std::string constant;
    };
    std::vector<std::string> truths; // how rules say that a feature is in the product
    std::vector<std::string> values; // the variable for the value of a feature; empty for none
    std::map<std::string_view, std::vector<Holder>> holders; // by attribute; features in order
};

// Why a constraint has no form in PM.
struct NotCarriedOver {
    std::string why;
};

// Returns the expression of a constraint. Throws NotCarriedOver, and an ImportFault for a name that
// the model does not have.
std::string pm_constraint(const UvlModel& model, const UvlNames& names, UvlIndex constraint);

} // namespace norvane::driver

#endif
