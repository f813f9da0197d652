// Corrections of the user's files.
#ifndef NORVANE_PM_FIXES_H
#define NORVANE_PM_FIXES_H

#include <vector>

#include "model_files.h"
#include "session.h"

namespace norvane::driver {

// Writes what the findings say with certainty into the user's files, each of which is replaced
// atomically, and prints the differences to standard output. `own` is from before the load that the
// findings are about: a file that has changed since stays as it is, as their places may be others.
void apply_fixes(Session& session, const ModelFiles& own, const std::vector<Finding>& findings);

} // namespace norvane::driver

#endif
