// Inputs that show errors, and the same corrected.
#ifndef NORVANE_PM_EXAMPLES_H
#define NORVANE_PM_EXAMPLES_H

#include <string>
#include <string_view>

namespace norvane::driver {

// The example of an error, as a paragraph and code that is indented; or why there is none. Empty
// for a name that the examples do not have.
std::string example_text(std::string_view error_name);

} // namespace norvane::driver

#endif
