// Which name was meant, where one that does not exist was written.
#ifndef NORVANE_PM_SIMILAR_H
#define NORVANE_PM_SIMILAR_H

#include <span>
#include <string>
#include <string_view>

namespace norvane::driver {

// The name that a few slips of a finger lead to: letters that are missing, wrong, too many,
// swapped, or in the other case. Empty if no name is that close; the first of equally close ones.
std::string_view most_similar(std::string_view written, std::span<const std::string_view> names);

// "did you mean 'sleeper'?", or empty.
std::string did_you_mean(std::string_view written, std::span<const std::string_view> names);

} // namespace norvane::driver

#endif
