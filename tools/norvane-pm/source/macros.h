// The macros of a model: the definitions that the preprocessor has left in its text, each from its
// place on.
#ifndef NORVANE_PM_MACROS_H
#define NORVANE_PM_MACROS_H

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "finding.h"

namespace norvane::driver {

struct Macro {
    // A part of what the macro stands for.
    struct Piece {
        std::string text;
        std::size_t parameter;  // from 0; no_parameter for the text
        bool is_quoted = false; // a parameter within a string
    };
    static constexpr std::size_t no_parameter = static_cast<std::size_t>(-1);

    std::string name;
    Place place; // of the name; without a file where it is an option
    bool takes_arguments = false;
    std::size_t parameters = 0;
    std::vector<Piece> pieces;
};

// Reads a "#define" at the start of a text; nothing if there is none.
std::optional<Macro> read_definition(std::string_view text);

// Where the name stands in the line that begins a definition; npos if it begins none.
std::size_t name_in_definition(std::string_view line);

class Macros {
  public:
    // Definitions come in the order of the text.
    void define(std::size_t offset, Macro macro);
    void undefine(std::size_t offset, std::string_view name);

    // The macro that the name is at this place of the text; null for none.
    const Macro* find(std::string_view name, std::size_t offset) const;

  private:
    struct Change {
        std::size_t offset;
        std::unique_ptr<Macro> macro; // null: no longer defined
    };
    std::map<std::string, std::vector<Change>, std::less<>> changes_;
};

} // namespace norvane::driver

#endif
