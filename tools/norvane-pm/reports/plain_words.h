// Syntax errors in plain words. The libraries report one in up to three steps, from the scanner,
// the parser, and the rule of the grammar, in the terms of the parser's tables.
#ifndef NORVANE_PM_PLAIN_WORDS_H
#define NORVANE_PM_PLAIN_WORDS_H

#include <string>
#include <string_view>

#include "finding.h"

namespace norvane::driver {

// What a parser met and what it expected, in plain words. `word` is what stands in the source where
// that is known. Returns the text itself if it is of another form.
std::string in_plain_words(const std::string& parse_error, std::string_view word = {});

// True if the report that comes next may belong to the same syntax error.
bool is_first_step(const Finding& finding);

// True if `next` is a further step of the syntax error, which then tells both.
bool join_syntax_error(Finding& finding, const Finding& next);

} // namespace norvane::driver

#endif
