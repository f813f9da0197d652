// The commands on packages.
#ifndef NORVANE_PM_PACKAGES_H
#define NORVANE_PM_PACKAGES_H

#include "session.h"

namespace norvane::driver {

void pack_project(Session& session); // of a workspace
void make_package(Session& session); // of a model
void list_package(Session& session);

} // namespace norvane::driver

#endif
