// Internal failures: what the library threw, and what it was working on.
#ifndef NORVANE_PM_FAILURE_H
#define NORVANE_PM_FAILURE_H

#include "norvane/base.h"

#include "work.h"

namespace norvane::pm {

// Reports what was thrown in the step that the work is in, and looks for the rule that it was
// about. The work is of no further use.
void report_failure(Work& work, const ExceptionState& thrown);

} // namespace norvane::pm

#endif
