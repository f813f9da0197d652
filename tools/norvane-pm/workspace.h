// The commands on workspaces and packages.
#ifndef NORVANE_PM_WORKSPACE_H
#define NORVANE_PM_WORKSPACE_H

#include <functional>

#include <CLI/CLI.hpp>

namespace norvane::pm {

// Adds `workspace` and `package`. If one of their commands is called for, `action` becomes what
// runs it: it returns the exit status, all reports having been written.
void add_workspace_commands(CLI::App& app, std::function<int()>& action);

} // namespace norvane::pm

#endif
