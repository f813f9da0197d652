// What the preprocessor makes of a line, and where each byte of that comes from.
//
// The preprocessor does not tell this. So its work on the line is done once more here, and a caller
// compares the result with what the preprocessor wrote: what differs has no known origin.
#ifndef NORVANE_PM_EXPANSION_H
#define NORVANE_PM_EXPANSION_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "macros.h"

namespace norvane::driver {

class Expansion {
  public:
    static constexpr std::uint32_t no_use = static_cast<std::uint32_t>(-1);

    // Where a byte comes from: the user's text, or the text of a macro that is used there.
    struct Origin {
        std::uint32_t offset; // of the byte, or of the macro's name, in the user's text
        std::uint32_t use;    // the innermost use of a macro that the byte went through; or no_use
        bool is_written;      // the byte stands in the user's text
    };
    struct Use {
        const Macro* macro;
        std::uint32_t around; // the use in which this one stands, or no_use
    };
    using Find = std::function<const Macro*(std::string_view name)>;

    // Of the line that begins the text, with those that an open call or comment joins to it. Ends
    // early where the preprocessor reports an error, and where it becomes too long.
    Expansion(std::string_view text, const Find& find);

    const std::string& text() const { return text_; }
    const std::vector<Origin>& origins() const { return origins_; } // of its bytes
    const std::vector<Use>& uses() const { return uses_; }
    // How much of the result comes before the first use of a macro.
    std::size_t plain_length() const { return plain_length_; }

  private:
    friend class Expander;
    std::string text_;
    std::vector<Origin> origins_;
    std::vector<Use> uses_;
    std::size_t plain_length_ = 0;
};

} // namespace norvane::driver

#endif
