// Findings for a person: with the lines of the source, or one line each.
#ifndef NORVANE_PM_AS_TEXT_H
#define NORVANE_PM_AS_TEXT_H

#include <string>

#include "finding.h"
#include "source_lines.h"

namespace norvane::driver {

// With the line of the source, the range underlined, the notes and the way out.
std::string as_text(const Finding& finding, SourceLines& sources, bool is_colored);

// The finding and each note of it as "file:line:column: severity: message", which editors and build
// servers know from compilers.
std::string as_lines(const Finding& finding);

} // namespace norvane::driver

#endif
