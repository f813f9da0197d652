// What the driver tells about warnings themselves.
#ifndef NORVANE_PM_EXPLAIN_WARNINGS_H
#define NORVANE_PM_EXPLAIN_WARNINGS_H

#include <string_view>

namespace norvane::driver {

// Prints all warnings, one a line: the name, when it is on, and its title.
void list_warnings();

// Prints what a warning means. False if there is none of this name.
bool explain_warning(std::string_view name);

} // namespace norvane::driver

#endif
