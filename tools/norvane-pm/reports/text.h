// Texts of models, as UTF-8 and as what a terminal may show.
#ifndef NORVANE_PM_TEXT_H
#define NORVANE_PM_TEXT_H

#include <string>
#include <string_view>

namespace norvane::driver {

// Models are in code page 1252 and names of files in UTF-8, and messages quote both, even in one
// path: each name in it that is not UTF-8 is taken for the former. The result is valid UTF-8 for
// any bytes.
std::string to_utf8(std::string_view bytes);

bool is_utf8(std::string_view text);

// The length of the part before the first byte that is not UTF-8.
std::size_t utf8_prefix(std::string_view text);

// Without control characters, which a terminal would obey; those in `kept` stay.
std::string without_controls(std::string utf8, std::string_view kept = "");

// The bytes as UTF-8 on one line, and without control characters.
std::string for_terminal(std::string_view bytes);

// As many fillers as the text has columns on a terminal, with its tabs.
std::string padding(std::string_view utf8, char filler);

} // namespace norvane::driver

#endif
