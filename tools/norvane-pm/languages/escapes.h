// Names and texts of models in other languages: one function for each, which all text of a model
// goes through, and which can be undone.
#ifndef NORVANE_PM_ESCAPES_H
#define NORVANE_PM_ESCAPES_H

#include <string>
#include <string_view>

#include "writer.h"

namespace norvane::driver {

// A text in quotes, in UTF-8; it is taken for code page 1252 unless it is UTF-8.
std::string json_string(std::string_view text);

// In the following, bytes that a language cannot hold, those beyond ASCII and the percent sign
// itself become "%" and two hexadecimal digits.

// |name|, which is the name itself; or |prefixname|.
void smtlib_symbol(Writer& out, std::string_view name, std::string_view prefix = {});
// 'name', which MiniZinc takes for the name itself.
void minizinc_identifier(Writer& out, std::string_view name);
// A word of a comment, without blanks, and text up to the end of a line. Neither has an asterisk,
// with which a comment of PM could end.
std::string comment_word(std::string_view name);
std::string comment_text(std::string_view text);
// "text", with the escapes of clingo.
std::string asp_string(std::string_view text);
// Whether PM takes the word for itself, so that no variable can have it as its name.
bool is_reserved(std::string_view name);
// A plain name of PM for a path. The parts of a path are joined by two underscores, an index
// beginning with a digit: slots[0].card.SOME is slots__0__card__SOME. A name that would be taken
// for something else becomes "0x" and the hexadecimal digits of its bytes.
std::string pm_name(std::string_view path);

} // namespace norvane::driver

#endif
