// Commands that take one model or several.
#ifndef NORVANE_PM_SEVERAL_FILES_H
#define NORVANE_PM_SEVERAL_FILES_H

#include "session.h"

namespace norvane::driver {

void check_files(Session& session);
void print_rules_of_files(Session& session);
void convert_files(Session& session);

} // namespace norvane::driver

#endif
