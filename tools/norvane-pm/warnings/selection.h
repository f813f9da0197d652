// Which warnings are shown, and which of them are errors.
#ifndef NORVANE_PM_SELECTION_H
#define NORVANE_PM_SELECTION_H

#include <bitset>
#include <string_view>

#include "warning_table.h"

namespace norvane::driver {

class Selection {
  public:
    Selection();

    // Takes what follows -W on the command line: "all", "error", "NAME", "no-NAME", "error=NAME",
    // "no-error=NAME". Later words come after earlier ones. False for any other word.
    bool take(std::string_view word);

    bool is_on(Warning warning) const { return on_[index(warning)]; }
    // Whether the warning is an error; `makes_finite` for a command that makes the finite form or
    // the flat rules, where a warning about their meaning is one.
    bool is_error(Warning warning, bool makes_finite) const;

  private:
    static constexpr std::size_t count = static_cast<std::size_t>(Warning::single_label) + 1;
    static std::size_t index(Warning warning) { return static_cast<std::size_t>(warning); }
    bool take_error(std::string_view names, bool is_error);

    std::bitset<count> on_;
    bool all_errors_ = false;
    std::bitset<count> error_;     // asked for by name
    std::bitset<count> not_error_; // refused by name
};

} // namespace norvane::driver

#endif
