// `norvane-pm explain`: what an error that was reported means.
#ifndef NORVANE_PM_EXPLAIN_H
#define NORVANE_PM_EXPLAIN_H

#include "options.h"

namespace norvane::pm {

// Returns the exit status.
int explain(const Options& options);

} // namespace norvane::pm

#endif
