// What is usually meant where a statement of a calculation does not parse.
#ifndef NORVANE_PM_CALCULATION_MISTAKES_H
#define NORVANE_PM_CALCULATION_MISTAKES_H

#include <string_view>
#include <vector>

#include "mistakes.h"

namespace norvane::driver {

// In the order in which to try them.
std::vector<Mistake> possible_calculation_mistakes(const SyntaxError& error);

// "integer", "string", ...
bool is_type_word(std::string_view word);
// One of those, or a word that is taken for one.
bool is_like_type_word(std::string_view word);

} // namespace norvane::driver

#endif
