// `norvane-pm explain`: what an error that was reported means.
#ifndef NORVANE_PM_EXPLAIN_H
#define NORVANE_PM_EXPLAIN_H

#include "session.h"

namespace norvane::driver {

void explain(Session& session);

} // namespace norvane::driver

#endif
