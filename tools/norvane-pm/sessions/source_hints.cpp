#include "source_hints.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <string_view>

#include "file_text.h"
#include "text.h"

namespace norvane::driver {
namespace {

namespace fs = std::filesystem;

// Limits of the search for including files: size of one file, number of files, bytes of all files.
constexpr std::uintmax_t largest_source = std::uintmax_t{16} << 20;
constexpr unsigned most_files = 1000;
constexpr std::size_t most_bytes = std::size_t{64} << 20; // of all files together

// Empty for what is not a regular file, or cannot be read.
std::string text_of(const fs::path& file) {
    std::error_code error;
    if (!fs::is_regular_file(file, error) || fs::file_size(file, error) > largest_source) return "";
    return text_of_file(file).value_or("");
}

// How much of the text comes before the first byte that is not ASCII. Nearly every source is ASCII,
// so eight bytes are looked at in one step.
std::size_t ascii_length(std::string_view text) {
    constexpr std::uint64_t high_bits = 0x8080808080808080;
    std::size_t length = 0;
    for (std::uint64_t eight; length + sizeof eight <= text.size(); length += sizeof eight) {
        std::memcpy(&eight, text.data() + length, sizeof eight);
        if (eight & high_bits) break;
    }
    while (length < text.size() && static_cast<unsigned char>(text[length]) < 0x80)
        ++length;
    return length;
}

Place place_of(const std::string& file, std::string_view text, std::size_t offset) {
    const std::string_view before = text.substr(0, offset);
    Place place;
    place.file = file;
    place.line = static_cast<unsigned>(std::ranges::count(before, '\n')) + 1;
    place.column = static_cast<unsigned>(offset - (before.rfind('\n') + 1)) + 1;
    return place;
}

// The name in `#include "name"`; empty for another line.
std::string_view included_by(std::string_view line) {
    const auto skip_blanks = [&line] {
        line.remove_prefix(std::min(line.find_first_not_of(" \t"), line.size()));
    };
    const auto skip = [&](std::string_view word) {
        skip_blanks();
        const bool is_there = line.starts_with(word);
        if (is_there) line.remove_prefix(word.size());
        return is_there;
    };
    if (!skip("#") || !skip("include") || !skip("\"")) return "";
    return line.substr(0, line.find('"'));
}

// The line of a text that includes the file; 0 if there is none.
unsigned line_of_include(const std::string& text, const fs::path& file) {
    unsigned line = 0;
    for (std::size_t start = 0; start < text.size(); start = text.find('\n', start) + 1) {
        ++line;
        const std::string_view rest = std::string_view(text).substr(start);
        const std::string_view name = included_by(rest.substr(0, rest.find('\n')));
        if (!name.empty() && fs::path(name).lexically_normal() == file.filename()) return line;
        if (rest.find('\n') == rest.npos) break;
    }
    return 0;
}

} // namespace

std::optional<Finding> warn_of_utf8(const std::string& file) {
    return warn_of_utf8(file, text_of(file));
}

std::optional<Finding> warn_of_utf8(const std::string& file, std::string_view text) {
    const std::size_t first = ascii_length(text);
    if (first == text.size() || !is_utf8(text)) return std::nullopt;
    Finding finding;
    finding.severity = Severity::warning;
    finding.name = "utf8-source";
    finding.message = "the file is in UTF-8, but models are read in code page 1252";
    finding.place = place_of(file, text, first);
    finding.hint = "convert it: iconv -f UTF-8 -t CP1252 " + file;
    return finding;
}

std::optional<Finding> note_of_includer(const std::string& file) {
    const fs::path path(file);
    const fs::path directory = path.has_parent_path() ? path.parent_path() : ".";
    std::error_code error;
    unsigned count = 0;
    std::vector<fs::path> others;
    for (fs::directory_iterator at(directory, error), end; !error && at != end; at.increment(error))
        if (++count <= most_files && at->path().filename() != path.filename())
            others.push_back(path.has_parent_path() ? at->path() : at->path().filename());
    // In one order, so that the same files give the same report; those like the file first, as the
    // others may be too many.
    std::ranges::sort(others, {}, [&path](const fs::path& other) {
        return std::pair(other.extension() != path.extension(), other);
    });
    std::size_t bytes = 0;
    for (const fs::path& other : others) {
        const std::string text = text_of(other);
        bytes += text.size();
        if (bytes > most_bytes) break;
        const unsigned line = line_of_include(text, path);
        if (line == 0) continue;
        Finding finding;
        finding.severity = Severity::note;
        finding.message = "'" + file + "' is a part of this model: check the whole instead";
        finding.place.file = other;
        finding.place.line = line;
        return finding;
    }
    return std::nullopt;
}

} // namespace norvane::driver
