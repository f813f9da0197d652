// What is usually meant where a statement of a model does not parse.
#ifndef NORVANE_PM_USUAL_MISTAKES_H
#define NORVANE_PM_USUAL_MISTAKES_H

#include <string_view>
#include <vector>

#include "mistakes.h"

namespace norvane::driver {

// In the order in which to try them.
std::vector<Mistake> possible_mistakes(const SyntaxError& error);

// The section word that begins at a token in a misspelt form; empty for none.
std::string_view misspelt_section(const SourceText& source, std::size_t token);

} // namespace norvane::driver

#endif
