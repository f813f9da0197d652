// The content of a file.
#ifndef NORVANE_PM_FILE_TEXT_H
#define NORVANE_PM_FILE_TEXT_H

#include <optional>
#include <string>

namespace norvane::driver {

// Nothing where the file cannot be read, or is not a regular file: what comes through a pipe can be
// read once only, and belongs to the library.
std::optional<std::string> text_of_file(const std::string& name);

} // namespace norvane::driver

#endif
