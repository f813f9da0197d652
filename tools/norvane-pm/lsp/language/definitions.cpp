#include "definitions.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <string_view>

namespace norvane::driver::lsp {
namespace {

constexpr std::size_t none = static_cast<std::size_t>(-1);

struct Marker {
    unsigned line = 0;
    std::string file;
};

// #line LINE "FILE"
bool read_marker(std::string_view text, Marker& marker) {
    constexpr std::string_view word = "#line ";
    const std::size_t begin = text.find('"');
    const std::size_t end = text.rfind('"');
    if (!text.starts_with(word) || begin == text.npos || end == begin) return false;
    marker.line = static_cast<unsigned>(std::strtoul(text.data() + word.size(), nullptr, 10));
    const std::filesystem::path file = text.substr(begin + 1, end - begin - 1);
    marker.file = file.lexically_normal();
    return true;
}

} // namespace

Definitions::Definitions(std::string_view text) : are_known_(true), here_{{"", 0}} {
    while (!text.empty()) {
        const std::size_t end = std::min(text.find('\n'), text.size() - 1) + 1;
        const std::string_view line = text.substr(0, end);
        text.remove_prefix(end);
        Marker marker;
        if (read_marker(line, marker)) {
            enter(marker.file, marker.line);
            continue;
        }
        if (line.starts_with("#define ")) add_definition();
        ++here_.back().second;
    }
    here_.clear();
}

// Goes on in the file, or returns to it where it is one that includes this one.
void Definitions::enter(const std::string& file, unsigned line) {
    const auto above = std::ranges::find(here_, file, &Spot::first);
    if (above != here_.end()) {
        here_.erase(above + 1, here_.end());
        here_.back().second = line;
    } else {
        here_.emplace_back(file, line);
    }
    entrances_.emplace(file, places_.size());
}

void Definitions::add_definition() {
    orders_.emplace(here_.back(), places_.size());
    places_.push_back(here_);
}

std::size_t Definitions::order_before(const std::string& definition_file, unsigned definition_line,
                                      const std::string& file, unsigned line) const {
    if (!are_known_)
        return definition_file == file && definition_line <= line ? definition_line : none;
    const auto found = orders_.find({definition_file, definition_line});
    if (found == orders_.end()) return none;
    const bool is_before = std::ranges::any_of(places_[found->second], [&](const Spot& place) {
        return place.first == file && place.second <= line;
    });
    const auto entrance = entrances_.find(file);
    const bool is_before_file = entrance != entrances_.end() && found->second < entrance->second;
    return is_before || is_before_file ? found->second : none;
}

} // namespace norvane::driver::lsp
