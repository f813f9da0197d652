// Runs a command.
#ifndef NORVANE_PM_RUN_H
#define NORVANE_PM_RUN_H

#include "options.h"

namespace norvane::driver {

class Session;

// Returns the exit status; all reports have been written.
int run_command(const Options& options, void (*command)(Session&));

} // namespace norvane::driver

#endif
