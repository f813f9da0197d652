#include "lines.h"

#include <algorithm>
#include <iterator>

#include "norvane/proj.hpp"

#include "text.h"

namespace norvane::driver::lsp {
namespace {

constexpr std::size_t between_landmarks = 256; // columns

bool is_ascii(std::string_view text) {
    return std::ranges::all_of(text, [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

bool continues_letter(char c) {
    return (static_cast<unsigned char>(c) & 0xC0) == 0x80;
}

// The UTF-16 units of the character that begins with this byte.
std::size_t units(char c) {
    return static_cast<unsigned char>(c) >= 0xF0 ? 2 : 1;
}

std::size_t units(std::string_view utf8) {
    std::size_t count = 0;
    for (const char c : utf8)
        if (!continues_letter(c)) count += units(c);
    return count;
}

std::size_t letters(std::string_view utf8) {
    return utf8.size() - static_cast<std::size_t>(std::ranges::count_if(utf8, continues_letter));
}

std::size_t next_letter(std::string_view utf8, std::size_t at) {
    do
        ++at;
    while (at < utf8.size() && continues_letter(utf8[at]));
    return at;
}

} // namespace

Json to_json(const Position& position) {
    return {{"line", position.line}, {"character", position.character}};
}

Json to_json(const Range& range) {
    return {{"start", to_json(range.start)}, {"end", to_json(range.end)}};
}

Position position_of(const Json& json) {
    return {index_of(member(json, "line")), index_of(member(json, "character"))};
}

Range range_of(const Json& json) {
    return {position_of(member(json, "start")), position_of(member(json, "end"))};
}

Lines::Lines(std::string utf8, Coding coding) : text_(std::move(utf8)), coding_(coding) {
    starts_.push_back(0);
    find_starts(0);
}

Lines Lines::of_bytes(std::string bytes) {
    if (is_ascii(bytes)) return Lines(std::move(bytes));
    if (is_utf8(bytes)) return Lines(std::move(bytes), Coding::utf8);
    return Lines(codepage_to_utf8(bytes));
}

std::string Lines::bytes() const {
    return coding_ == Coding::utf8 || is_ascii(text_) ? text_ : utf8_to_codepage(text_);
}

// Finds the starts of the lines after `first_line`; those up to it are known.
void Lines::find_starts(std::size_t first_line) {
    starts_.resize(first_line + 1);
    for (std::size_t at = text_.find('\n', starts_.back()); at != std::string::npos;
         at = text_.find('\n', at + 1))
        starts_.push_back(at + 1);
}

std::string_view Lines::line(std::size_t number) const {
    if (number >= starts_.size()) return {};
    const bool is_last = number + 1 == starts_.size();
    const std::size_t end = is_last ? text_.size() : starts_[number + 1] - 1;
    std::string_view line = std::string_view(text_).substr(starts_[number], end - starts_[number]);
    if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
    return line;
}

std::size_t Lines::offset(const Position& position) const {
    if (position.line >= starts_.size()) return text_.size();
    const std::string_view here = line(position.line);
    std::size_t at = 0;
    for (std::size_t character = 0; at < here.size();) {
        character += units(here[at]);
        if (character > position.character) break;
        at = next_letter(here, at);
    }
    return starts_[position.line] + at;
}

Position Lines::position(std::size_t offset) const {
    const auto after = std::upper_bound(starts_.begin(), starts_.end(), offset);
    const auto line = static_cast<std::size_t>(after - starts_.begin()) - 1;
    const std::string_view before =
        std::string_view(text_).substr(starts_[line], offset - starts_[line]);
    return {line, units(before)};
}

Position Lines::from_file(unsigned line, unsigned column) const {
    if (line == 0) return {};
    if (line > starts_.size()) return end();
    const std::string_view here = this->line(line - 1);
    const std::size_t wanted = column > 0 ? column - 1 : 0;
    if (walk_.line != line) landmarks_ = {walk_ = {line}};
    if (wanted < walk_.column || wanted >= walk_.column + between_landmarks)
        walk_ = *std::prev(std::ranges::upper_bound(landmarks_, wanted, {}, &Walk::column));
    while (walk_.column < wanted && walk_.at < here.size()) {
        if (walk_.column >= landmarks_.back().column + between_landmarks)
            landmarks_.push_back(walk_);
        const std::size_t next = next_letter(here, walk_.at);
        const std::size_t width = coding_ == Coding::utf8 ? next - walk_.at : 1;
        if (walk_.column + width > wanted) break; // within a letter
        walk_.column += width;
        walk_.units += units(here[walk_.at]);
        walk_.at = next;
    }
    return {line - 1, walk_.units};
}

unsigned Lines::column_in_file(const Position& position) const {
    const std::size_t at = offset(position);
    if (position.line >= starts_.size()) return 1;
    const std::string_view before =
        std::string_view(text_).substr(starts_[position.line], at - starts_[position.line]);
    const std::size_t column = coding_ == Coding::utf8 ? before.size() : letters(before);
    return static_cast<unsigned>(column + 1);
}

void Lines::replace(const Range& range, std::string_view utf8) {
    const std::size_t begin = offset(range.start);
    const std::size_t end = std::max(begin, offset(range.end));
    const Position from = position(begin);
    text_.replace(begin, end - begin, utf8);
    walk_ = {};
    landmarks_.clear();
    find_starts(from.line);
}

} // namespace norvane::driver::lsp
