// The command line.
#ifndef NORVANE_PM_ARGUMENTS_H
#define NORVANE_PM_ARGUMENTS_H

#include "options.h"

namespace norvane::pm {

class Session;

// What the command line asks for: a command and its options; or nothing but the end of the program,
// with `status`, after it has been helped or refused.
struct Invocation {
    void (*command)(Session&) = nullptr;
    Options options;
    int status = 0;
};

Invocation parse_arguments(int argc, char** argv);

} // namespace norvane::pm

#endif
