// The commands on calculations.
#ifndef NORVANE_PM_CALCULATIONS_H
#define NORVANE_PM_CALCULATIONS_H

#include "session.h"

namespace norvane::driver {

void check_calculation(Session& session);
void print_calculation(Session& session);
void convert_calculation(Session& session);
void list_builtins(Session& session);

} // namespace norvane::driver

#endif
