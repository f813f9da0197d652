// All projects of a workspace at once: checked, or as a build file for ninja.
#ifndef NORVANE_PM_WORKSPACE_BUILDS_H
#define NORVANE_PM_WORKSPACE_BUILDS_H

#include "session.h"

namespace norvane::driver {

void check_workspace(Session& session);
void write_ninja_file(Session& session);

} // namespace norvane::driver

#endif
