// The command that tells how two models differ.
#ifndef NORVANE_PM_DIFFERENCES_H
#define NORVANE_PM_DIFFERENCES_H

#include "session.h"

namespace norvane::driver {

void diff(Session& session);

} // namespace norvane::driver

#endif
