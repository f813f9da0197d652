// The command line.
#ifndef NORVANE_PM_ARGUMENTS_H
#define NORVANE_PM_ARGUMENTS_H

#include "options.h"

namespace norvane::driver {

class Session;

// What the command line asks for: a command and its options; or nothing, after it has asked for
// help.
struct Invocation {
    void (*command)(Session&) = nullptr;
    Options options;
};

Invocation parse_arguments(int argc, char** argv);

} // namespace norvane::driver

#endif
