// How the words of a source are used, which tells names from the operators of other languages.
#ifndef NORVANE_PM_WORD_USES_H
#define NORVANE_PM_WORD_USES_H

#include <string_view>
#include <unordered_map>

#include "source_text.h"

namespace norvane::driver {

struct WordUse {
    unsigned count = 0;
    bool is_listed = false;    // before ':' or ','
    bool is_declared = false;  // before ':'
    bool is_array = false;     // before '[' or ': array'
    bool is_type = false;      // after what comes before a type
    bool is_in_quotes = false; // as a text, too
};

// Read once: a source of many faults asks for each of them.
class WordUses {
  public:
    explicit WordUses(const SourceText& source);

    const WordUse& of(std::string_view word) const;
    // Whether some text in quotes is this.
    bool has_text(std::string_view text) const { return of(text).is_in_quotes; }

  private:
    std::unordered_map<std::string_view, WordUse> uses_;
};

// True for what comes before a type.
bool is_type_mark(std::string_view word);

} // namespace norvane::driver

#endif
