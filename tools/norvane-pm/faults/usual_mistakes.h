// Recognises common mistakes in statements of a model that do not parse.
#ifndef NORVANE_PM_USUAL_MISTAKES_H
#define NORVANE_PM_USUAL_MISTAKES_H

#include <vector>

#include "mistakes.h"

namespace norvane::driver {

// In the order in which to try them.
std::vector<Mistake> possible_mistakes(const SyntaxError& error);

} // namespace norvane::driver

#endif
