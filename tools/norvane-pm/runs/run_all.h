// Many runs of commands as one: their results and reports in order, and one status.
#ifndef NORVANE_PM_RUN_ALL_H
#define NORVANE_PM_RUN_ALL_H

#include <vector>

#include "processes.h"

namespace norvane::driver {

// Makes the runs, up to `most_at_a_time`, and writes what each has written
// in their order. Ends with a line that counts them, and throws what the worst of them asks for.
void run_all(Session& session, std::vector<Run> runs, unsigned most_at_a_time);

} // namespace norvane::driver

#endif
