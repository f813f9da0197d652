// Many runs of commands as one: their results and reports in order, and one status.
#ifndef NORVANE_PM_RUN_ALL_H
#define NORVANE_PM_RUN_ALL_H

#include <vector>

#include "processes.h"

namespace norvane::driver {

// Makes the runs, as many at a time as the session's options say, and writes what each has written
// in their order. Ends with a line that counts them, and throws what the worst of them asks for.
void run_all(Session& session, std::vector<Run> runs);

} // namespace norvane::driver

#endif
