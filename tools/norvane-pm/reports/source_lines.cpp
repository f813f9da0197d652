#include "source_lines.h"

#include <algorithm>
#include <utility>

#include <sys/stat.h>

#include "norvane/proj.hpp"

#include "text.h"

namespace norvane::driver {
namespace {

constexpr std::size_t longest_shown = 160;
// A column further on is shown with so much of the line before it.
constexpr unsigned shown_from_start = 120;
constexpr unsigned shown_before = 60;
constexpr std::size_t longest_letter = 4; // in bytes of UTF-8
constexpr std::size_t block_size = 1024;  // of a line, in bytes

// Moves to the start of the next line; false at the end of the file.
bool skip_line(std::FILE* file) {
    int c;
    do
        c = getc_unlocked(file);
    while (c != '\n' && c != EOF);
    return c == '\n';
}

bool is_within_letter(char c) {
    return (static_cast<unsigned char>(c) & 0xC0) == 0x80;
}

// How many bytes do not begin a letter.
unsigned bytes_within_letters(std::string_view bytes) {
    return static_cast<unsigned>(std::ranges::count_if(bytes, is_within_letter));
}

// The number of continuation bytes at the start of `bytes`: the rest of a UTF-8 character that a
// cut would split.
std::size_t rest_of_letter(std::string_view bytes) {
    std::size_t size = 0;
    while (size < bytes.size() && size < longest_letter - 1 && is_within_letter(bytes[size]))
        ++size;
    return size;
}

} // namespace

std::string Excerpt::between(unsigned column, unsigned end) const {
    if (end <= column || column < first_column) return "";
    const std::size_t from = std::min<std::size_t>(column - first_column, bytes.size());
    return shown(std::string_view(bytes).substr(from, end - column));
}

std::string Excerpt::shown(std::string_view part) const {
    return without_controls(is_in_utf8 ? std::string(part) : codepage_to_utf8(part), "\t");
}

void SourceLines::set(const std::string& file, std::string text) {
    if (name_ == file) file_.reset();
    known_.erase(file);
    texts_[file] = std::move(text);
}

// False for what cannot be read from any place, such as a pipe that a model names in a line
// directive.
bool SourceLines::open(std::string_view file) {
    if (file_ && name_ == file) return true;
    name_ = file;
    file_.reset();
    if (const auto given = texts_.find(name_); given != texts_.end()) {
        std::string& text = given->second;
        file_.reset(fmemopen(text.data(), text.size(), "rb"));
        return file_ != nullptr;
    }
    struct stat info = {};
    if (stat(name_.c_str(), &info) != 0 || !S_ISREG(info.st_mode)) return false;
    file_.reset(std::fopen(name_.c_str(), "rb"));
    return file_ != nullptr;
}

// Looks through the file up to the start of a line; false if it has no such line.
bool SourceLines::find(std::string_view file, unsigned line) {
    if (line == 0 || !open(file)) return false;
    Known& known = known_[name_];
    if (line <= known.starts.size()) return true;
    if (known.end >= 0 || std::fseek(file_.get(), known.starts.back(), SEEK_SET) != 0) return false;
    while (known.starts.size() < line) {
        const bool is_ended = !skip_line(file_.get());
        const long at = std::ftell(file_.get());
        if (is_ended) {
            known.end = at;
            return false;
        }
        known.starts.push_back(at);
    }
    return true;
}

// The length of a line that was found, with its end.
std::size_t SourceLines::length(unsigned line) {
    const bool has_next = find(name_, line + 1);
    const Known& known = known_[name_];
    return static_cast<std::size_t>((has_next ? known.starts[line] : known.end) -
                                    known.starts[line - 1]);
}

// A part of a line that was found, without the line's end.
std::string SourceLines::read(unsigned line, std::size_t from, std::size_t size) {
    const std::size_t rest = length(line) - from;
    std::string bytes(std::min(size, rest), '\0');
    const long start = known_[name_].starts[line - 1];
    if (std::fseek(file_.get(), start + static_cast<long>(from), SEEK_SET) != 0) return "";
    bytes.resize(std::fread(bytes.data(), 1, bytes.size(), file_.get()));
    if (bytes.ends_with('\n')) bytes.pop_back();
    if (bytes.ends_with('\r')) bytes.pop_back();
    return bytes;
}

Excerpt SourceLines::excerpt(std::string_view file, unsigned line, unsigned column) {
    Excerpt part;
    if (!find(file, line)) return part;
    const std::size_t whole = length(line);
    std::size_t first = 0;
    if (whole > longest_shown && column > shown_from_start && column <= whole)
        first = column - shown_before;
    std::string bytes = read(line, first, longest_shown + shown_before + 2 * longest_letter);
    if (first > 0) {
        const std::size_t cut = rest_of_letter(bytes);
        first += cut;
        bytes.erase(0, cut);
    }
    const std::size_t size =
        bytes.size() <= longest_shown
            ? bytes.size()
            : longest_shown + rest_of_letter(std::string_view(bytes).substr(longest_shown));
    part.bytes = bytes.substr(0, size);
    part.first_column = static_cast<unsigned>(first) + 1;
    part.is_cut = size < bytes.size();
    part.is_in_utf8 = is_utf8(part.bytes);
    part.text = part.shown(part.bytes);
    return part;
}

// Counts the letters of a long line once for all columns that are asked for.
void SourceLines::count(std::string_view file, unsigned line) {
    if (counted_.line == line && counted_.file == file) return;
    counted_ = {std::string(file), line, read(line, 0, length(line)), 0, {}};
    counted_.utf8_size = utf8_prefix(counted_.bytes);
    unsigned inside = 0;
    for (std::size_t i = 0; i <= counted_.bytes.size(); ++i) {
        if (i % block_size == 0) counted_.inside.push_back(inside);
        inside += i < counted_.bytes.size() && is_within_letter(counted_.bytes[i]);
    }
}

unsigned SourceLines::letter(std::string_view file, unsigned line, unsigned column) {
    if (column == 0 || !find(file, line)) return column;
    if (length(line) <= block_size) {
        const std::string before = read(line, 0, column - 1);
        return is_utf8(before) ? column - bytes_within_letters(before) : column;
    }
    count(file, line);
    const std::string_view bytes = counted_.bytes;
    const std::size_t before = std::min<std::size_t>(column - 1, bytes.size());
    const bool is_cut = before < bytes.size() && is_within_letter(bytes[before]);
    if (before > counted_.utf8_size || is_cut) return column;
    const std::size_t block = before / block_size;
    const auto rest = bytes.substr(block * block_size, before - block * block_size);
    return column - counted_.inside[block] - bytes_within_letters(rest);
}

} // namespace norvane::driver
