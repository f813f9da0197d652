// Runs a command.
#ifndef NORVANE_PM_RUN_H
#define NORVANE_PM_RUN_H

#include <vector>

#include "finding.h"
#include "options.h"

namespace norvane::driver {

class Session;

// Returns the exit status; all reports have been written.
int run_command(const Options& options, void (*command)(Session&));

// Runs a command that has no results, and returns its reports in the place of writing them. An
// internal failure is thrown on, as is wrong usage.
std::vector<Finding> findings_of(const Options& options, void (*command)(Session&));

} // namespace norvane::driver

#endif
