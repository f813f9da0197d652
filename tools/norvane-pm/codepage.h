// Texts of models as UTF-8.
#ifndef NORVANE_PM_CODEPAGE_H
#define NORVANE_PM_CODEPAGE_H

#include <string>
#include <string_view>

namespace norvane::pm {

// Models are in code page 1252, names of files in UTF-8, and messages quote both, even in one path:
// of what slashes separate, that which is not UTF-8 as it stands is taken for the former. The
// result is valid UTF-8 for any bytes.
std::string to_utf8(std::string_view bytes);

// The same on one line, and without control characters: what they do to a terminal is not ours to
// try.
std::string for_terminal(std::string_view bytes);

} // namespace norvane::pm

#endif
