// The exit status of the program, for scripts to rely on.
#ifndef NORVANE_PM_STATUS_H
#define NORVANE_PM_STATUS_H

namespace norvane::driver {

enum Status : int {
    STATUS_OK = 0,
    STATUS_INPUT_AT_FAULT = 1, // and reported; a result that cannot be written counts as such
    STATUS_WRONG_USAGE = 2,
    STATUS_INTERNAL_FAILURE = 3
};

} // namespace norvane::driver

#endif
