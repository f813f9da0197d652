// The calculation that a command works on.
#ifndef NORVANE_PM_LOAD_CALCULATION_H
#define NORVANE_PM_LOAD_CALCULATION_H

#include "session.h"

namespace norvane::driver {

// The calculation that the options name, by itself.
Calculation& load_calculation(Session& session);

// The same, checked against the model that they name.
void load_and_check_calculation(Session& session);

} // namespace norvane::driver

#endif
