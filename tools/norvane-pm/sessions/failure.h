// Internal failures: what the library threw, and what it was working on.
#ifndef NORVANE_PM_FAILURE_H
#define NORVANE_PM_FAILURE_H

#include "session.h"

namespace norvane::driver {

// Takes memory for the reports below, at the start, while there is no lack of it.
void reserve_memory_for_reports();

// Report what ended the step that the session is in, with the declaration that the library had
// reached. Return the exit status. The second is for memory that the driver itself, or a library of
// the system, could not get.
int report_failure(Session& session, const InternalFailure& failure);
int report_out_of_memory(Session& session);

} // namespace norvane::driver

#endif
