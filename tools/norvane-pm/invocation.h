// What the command line asks for.
#ifndef NORVANE_PM_INVOCATION_H
#define NORVANE_PM_INVOCATION_H

#include "options.h"

namespace norvane::driver {

class Session;

// A command and its options; or nothing, after it has asked for help.
struct Invocation {
    void (*command)(Session&) = nullptr;
    Options options;
};

} // namespace norvane::driver

#endif
