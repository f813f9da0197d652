// Words of a command line.
#ifndef NORVANE_PM_SHELL_WORD_H
#define NORVANE_PM_SHELL_WORD_H

#include <string>

namespace norvane::driver {

// The text quoted so that a shell passes it on as one argument.
std::string for_shell(const std::string& text);

} // namespace norvane::driver

#endif
