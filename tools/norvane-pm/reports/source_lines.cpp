#include "source_lines.h"

#include <algorithm>

#include <sys/stat.h>

#include "norvane/proj.hpp"

#include "text.h"

namespace norvane::pm {
namespace {

constexpr std::size_t longest_shown = 160;
// A column further on is shown with so much of the line before it.
constexpr unsigned shown_from_start = 120;
constexpr unsigned shown_before = 60;
constexpr std::size_t longest_letter = 4; // in bytes of UTF-8

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

// How many bytes belong to the letter that another line would be cut in.
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

// False for what cannot be read from any place, such as a pipe that a model names in a line
// directive.
bool SourceLines::open(std::string_view file) {
    if (file_ && name_ == file) return true;
    name_ = file;
    file_.reset();
    struct stat info = {};
    if (stat(name_.c_str(), &info) != 0 || !S_ISREG(info.st_mode)) return false;
    file_.reset(std::fopen(name_.c_str(), "rb"));
    return file_ != nullptr;
}

bool SourceLines::go_to(std::string_view file, unsigned line) {
    if (line == 0 || !open(file)) return false;
    Starts& starts = starts_[name_];
    if (starts.empty()) starts.push_back(0);
    const bool is_known = line <= starts.size();
    if (std::fseek(file_.get(), is_known ? starts[line - 1] : starts.back(), SEEK_SET) != 0)
        return false;
    while (starts.size() < line) {
        if (!skip_line(file_.get())) return false;
        starts.push_back(std::ftell(file_.get()));
    }
    return true;
}

// The line that the file is at, up to so many bytes, without its end.
std::string SourceLines::read(std::size_t size) {
    std::string bytes;
    int c = 0;
    while (bytes.size() < size && (c = getc_unlocked(file_.get())) != '\n' && c != EOF)
        bytes += static_cast<char>(c);
    if (bytes.ends_with('\r')) bytes.pop_back();
    return bytes;
}

Excerpt SourceLines::excerpt(std::string_view file, unsigned line, unsigned column) {
    Excerpt part;
    if (!go_to(file, line)) return part;
    const std::string bytes = read(column + longest_shown + longest_letter);
    std::size_t first = 0;
    if (bytes.size() > longest_shown && column > shown_from_start && column <= bytes.size()) {
        first = column - shown_before;
        first += rest_of_letter(std::string_view(bytes).substr(first));
    }
    const std::string_view rest = std::string_view(bytes).substr(first);
    const std::size_t size = rest.size() <= longest_shown
                                 ? rest.size()
                                 : longest_shown + rest_of_letter(rest.substr(longest_shown));
    part.bytes = rest.substr(0, size);
    part.first_column = static_cast<unsigned>(first) + 1;
    part.is_cut = size < rest.size();
    part.is_in_utf8 = is_utf8(part.bytes);
    part.text = part.shown(part.bytes);
    return part;
}

unsigned SourceLines::letter(std::string_view file, unsigned line, unsigned column) {
    if (!go_to(file, line)) return column;
    const std::string before = read(column - 1);
    if (!is_utf8(before)) return column;
    return column - static_cast<unsigned>(std::ranges::count_if(before, is_within_letter));
}

} // namespace norvane::pm
