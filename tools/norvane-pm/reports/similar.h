// Which name was meant, where one that does not exist was written.
#ifndef NORVANE_PM_SIMILAR_H
#define NORVANE_PM_SIMILAR_H

#include <span>
#include <string>
#include <string_view>

namespace norvane::driver {

// The most similar name within a few typing errors (missing, wrong, extra or swapped letters, wrong
// case). Empty if no name is that close; of equally close names the first.
std::string_view most_similar(std::string_view written, std::span<const std::string_view> names);

// "did you mean 'sleeper'?", or empty.
std::string did_you_mean(std::string_view written, std::span<const std::string_view> names);

} // namespace norvane::driver

#endif
