// `norvane-pm info`: counts the declarations of a model or a calculation.
#ifndef NORVANE_PM_INFO_H
#define NORVANE_PM_INFO_H

#include "session.h"

namespace norvane::driver {

void info(Session& session);

} // namespace norvane::driver

#endif
