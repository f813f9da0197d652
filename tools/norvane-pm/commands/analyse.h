// The command that asks a solver about a model.
#ifndef NORVANE_PM_ANALYSE_H
#define NORVANE_PM_ANALYSE_H

#include "session.h"

namespace norvane::driver {

void analyse(Session& session);

} // namespace norvane::driver

#endif
