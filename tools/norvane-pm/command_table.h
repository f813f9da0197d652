// All commands, and what each takes.
#ifndef NORVANE_PM_COMMAND_TABLE_H
#define NORVANE_PM_COMMAND_TABLE_H

#include <array>
#include <string_view>

#include <CLI/CLI.hpp>

#include "invocation.h"

namespace norvane::driver {

// The words after the program's name, which may be those of a command. Empty where there are none.
using FirstWords = std::array<std::string_view, 2>;

// Describes the program, and puts the command that is found into `invocation`. Each option of a
// command costs time, so only the command that the first words name is set up, and all of them
// where these name none, for help and for the errors of usage.
void describe_program(CLI::App& app, Invocation& invocation, const FirstWords& words);

} // namespace norvane::driver

#endif
