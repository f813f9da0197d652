// Statements as other languages write them.
#ifndef NORVANE_PM_FOREIGN_FORMS_H
#define NORVANE_PM_FOREIGN_FORMS_H

#include <vector>

#include "mistakes.h"

namespace norvane::driver {

// What may have been meant, the likeliest first.
std::vector<Mistake> foreign_forms(const SyntaxError& error);

} // namespace norvane::driver

#endif
