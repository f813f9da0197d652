// The command line.
#ifndef NORVANE_PM_ARGUMENTS_H
#define NORVANE_PM_ARGUMENTS_H

#include "invocation.h"

namespace norvane::driver {

Invocation parse_arguments(int argc, char** argv);

} // namespace norvane::driver

#endif
