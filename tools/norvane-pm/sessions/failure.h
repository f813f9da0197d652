// Internal failures: what the library threw, and what it was working on.
#ifndef NORVANE_PM_FAILURE_H
#define NORVANE_PM_FAILURE_H

#include <system_error>

#include "session.h"

namespace norvane::driver {

// Takes memory for the reports below, at the start, while there is no lack of it.
void reserve_memory_for_reports();

// Report what ended the step that the session is in, with the declaration that the library had
// reached. Return the exit status. The second is for memory that the driver itself, or a library of
// the system, could not get.
int report_failure(Session& session, const InternalFailure& failure);
int report_out_of_memory(Session& session);
// The same for another thing that the system refuses, such as a thread or a process.
int report_refusal(Session& session, const std::system_error& refusal);

} // namespace norvane::driver

#endif
