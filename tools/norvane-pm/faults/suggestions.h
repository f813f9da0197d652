// Which name was meant, of those that are visible.
#ifndef NORVANE_PM_SUGGESTIONS_H
#define NORVANE_PM_SUGGESTIONS_H

#include <string>
#include <string_view>
#include <vector>

#include "norvane/proj.hpp"

#include "placed_finding.h"

namespace norvane::driver {

// Adds a hint, unless there is one.
void say(PlacedFinding& found, std::string hint);

// The word of another language for a value, such as "TRUE", in ours; empty for none.
std::string_view value_instead_of(std::string_view word);

// The same for a type, such as "int".
std::string_view type_instead_of(std::string_view word);

// Adds the names of variables, labels and constants in an environment, or those of types.
void add_names(const PolyHash* table, std::vector<std::string_view>& names, bool types);

class Suggestions {
  public:
    explicit Suggestions(const SourceText& text) : text_(text) {}

    // False once so many names have been compared that further suggestions would take too long.
    bool can_compare(std::size_t names) const;

    // Says which name is similar to one that does not exist, if there is one.
    bool suggest(PlacedFinding& found, std::string_view name, std::size_t token,
                 const std::vector<std::string_view>& names);

  private:
    const SourceText& text_;
    std::size_t comparisons_ = 0; // of names, so far
};

} // namespace norvane::driver

#endif
