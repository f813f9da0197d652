// The warnings: their names, when they are on, and what they mean.
#ifndef NORVANE_PM_WARNING_TABLE_H
#define NORVANE_PM_WARNING_TABLE_H

#include <span>
#include <string_view>

namespace norvane::driver {

enum class Warning {
    captured_name,
    type_hides_field,
    not_a_number,
    optional_equality,
    joined_variables,
    order_of_unbounded,
    optional_rule,
    text_in_loop,
    text_index,
    unsupported,
    constant_comparison,
    duplicate_arm,
    constant_rule,
    utf8_source,
    macro_redefined,
    warning_directive,
    preprocessor,
    undefined_macro,
    unasked_optional,
    unused_name,
    unused_private,
    single_label
};

enum class Level {
    meaning, // on; the finite form means something else, so an error where one is made
    on,
    all // with -Wall
};

struct WarningRow {
    Warning warning;
    const char* name;
    Level level;
    const char* title;       // one line
    const char* explanation; // what happens, and what to write instead
};

// In the order of the enumerators.
std::span<const WarningRow> warning_rows();
const WarningRow& row_of(Warning warning);
// Null if there is no warning of this name.
const WarningRow* find_warning(std::string_view name);
// "on by default", ...
const char* level_text(Level level);

} // namespace norvane::driver

#endif
