// Texts of models, as UTF-8 and as what a terminal may show.
#ifndef NORVANE_PM_TEXT_H
#define NORVANE_PM_TEXT_H

#include <string>
#include <string_view>

namespace norvane::pm {

// Models are in code page 1252 and names of files in UTF-8, and messages quote both, even in one
// path: each name in it that is not UTF-8 is taken for the former. The result is valid UTF-8 for
// any bytes.
std::string to_utf8(std::string_view bytes);

// The same on one line, and without control characters, which a terminal would obey.
std::string for_terminal(std::string_view bytes);

} // namespace norvane::pm

#endif
