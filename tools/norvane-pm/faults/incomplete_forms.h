// Statements that lack something or have too much, and marks of other languages that stand for a
// form rather than for a word.
#ifndef NORVANE_PM_INCOMPLETE_FORMS_H
#define NORVANE_PM_INCOMPLETE_FORMS_H

#include <vector>

#include "mistakes.h"

namespace norvane::driver {

// Those that are known for what they are, whatever their words may stand for. The source has not
// ended before the error.
std::vector<Mistake> forms_before_words(const SyntaxError& error);

// Those to think of where nothing else explains the error.
std::vector<Mistake> incomplete_forms(const SyntaxError& error);

} // namespace norvane::driver

#endif
