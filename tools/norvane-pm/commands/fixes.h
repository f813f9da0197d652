// Corrections of the user's files.
#ifndef NORVANE_PM_FIXES_H
#define NORVANE_PM_FIXES_H

#include <vector>

#include "session.h"

namespace norvane::driver {

// Writes what the findings say with certainty into the user's files, each of which is replaced
// atomically, and prints the differences to standard output.
void apply_fixes(Session& session, const std::vector<Finding>& findings);

} // namespace norvane::driver

#endif
