// The commands on workspaces.
#ifndef NORVANE_PM_WORKSPACE_H
#define NORVANE_PM_WORKSPACE_H

#include "session.h"

namespace norvane::driver {

void show_workspace(Session& session);
void list_commands(Session& session);

// The types of commands, by the number that the library has for each.
extern const char* const command_types[7];

Workspace& load_workspace(Session& session);

} // namespace norvane::driver

#endif
