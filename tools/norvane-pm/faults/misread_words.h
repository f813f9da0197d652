// Words and marks that are taken for others before anything is parsed: those of other languages,
// and misspelt ones, that tell the parser how the source is divided.
#ifndef NORVANE_PM_MISREAD_WORDS_H
#define NORVANE_PM_MISREAD_WORDS_H

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "source_text.h"

namespace norvane::driver {

struct Misread {
    TokenRange range; // what it is about
    std::string message;
    std::string hint;
    std::vector<std::pair<std::size_t, std::string>>
        words;               // index of a token, and the word that was probably meant
    bool is_certain = true;  // what is meant can be nothing else
    bool is_comment = false; // the range is one, so it is kept where it is corrected
    bool is_told = true;
    bool hides_names = false; // a file that declares names is not read
};

// In the order of the source. Only a source with syntax errors has any.
std::vector<Misread> misread_words(const SourceText& source);

} // namespace norvane::driver

#endif
