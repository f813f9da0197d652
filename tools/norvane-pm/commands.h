// The commands that work on a model.
#ifndef NORVANE_PM_COMMANDS_H
#define NORVANE_PM_COMMANDS_H

#include "options.h"

namespace norvane::pm {

// Returns the exit status; all reports have been written.
int run_command(const Options& options);

} // namespace norvane::pm

#endif
