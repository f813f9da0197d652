// What a modeller should know of a source file as a whole.
#ifndef NORVANE_PM_SOURCE_HINTS_H
#define NORVANE_PM_SOURCE_HINTS_H

#include <optional>
#include <string>
#include <string_view>

#include "finding.h"

namespace norvane::driver {

// A warning, if the file is in UTF-8: models are in code page 1252, so its texts come out wrong.
std::optional<Finding> warn_of_utf8(const std::string& file);
std::optional<Finding> warn_of_utf8(const std::string& file, std::string_view text);

// A note if another file in the directory includes this one: the faults may come from checking a
// part of a model alone.
std::optional<Finding> note_of_includer(const std::string& file);

} // namespace norvane::driver

#endif
