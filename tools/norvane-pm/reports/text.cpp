#include "text.h"

#include <algorithm>

#include "norvane/proj.hpp"

namespace norvane::driver {
namespace {

// The well-formed sequences of UTF-8, by their first byte: how long they are, and which second
// bytes they may have. Further bytes are from 0x80 to 0xBF.
struct Utf8Row {
    unsigned char first_from, first_to;
    unsigned char length;
    unsigned char second_from, second_to;
};
constexpr Utf8Row utf8_rows[] = {
    {0x00, 0x7F, 1, 0x00, 0x00}, {0xC2, 0xDF, 2, 0x80, 0xBF}, {0xE0, 0xE0, 3, 0xA0, 0xBF},
    {0xE1, 0xEC, 3, 0x80, 0xBF}, {0xED, 0xED, 3, 0x80, 0x9F}, {0xEE, 0xEF, 3, 0x80, 0xBF},
    {0xF0, 0xF0, 4, 0x90, 0xBF}, {0xF1, 0xF3, 4, 0x80, 0xBF}, {0xF4, 0xF4, 4, 0x80, 0x8F}};

bool is_between(char c, unsigned char from, unsigned char to) {
    const auto byte = static_cast<unsigned char>(c);
    return from <= byte && byte <= to;
}

// The length of the well-formed sequence that the text begins with, or 0.
std::size_t sequence_length(std::string_view text) {
    for (const Utf8Row& row : utf8_rows) {
        if (!is_between(text[0], row.first_from, row.first_to)) continue;
        if (row.length == 1) return 1;
        if (text.size() < row.length || !is_between(text[1], row.second_from, row.second_to))
            return 0;
        const auto further = text.substr(2, row.length - 2u);
        const bool is_whole =
            std::ranges::all_of(further, [](char c) { return is_between(c, 0x80, 0xBF); });
        return is_whole ? row.length : 0;
    }
    return 0;
}

unsigned code_point(std::string_view sequence) {
    constexpr unsigned char lead_bits[] = {0, 0x7F, 0x1F, 0x0F, 0x07};
    unsigned code = static_cast<unsigned char>(sequence[0]) & lead_bits[sequence.size()];
    for (const char c : sequence.substr(1))
        code = code << 6 | (static_cast<unsigned char>(c) & 0x3F);
    return code;
}

// The letters that take no column of a terminal, or two.
struct WidthRow {
    unsigned from, to;
    std::size_t width;
};
constexpr WidthRow width_rows[] = {
    {0x0300, 0x036F, 0},   {0x1100, 0x115F, 2},  {0x200B, 0x200F, 0}, {0x2E80, 0x303E, 2},
    {0x3041, 0xA4CF, 2},   {0xAC00, 0xD7A3, 2},  {0xF900, 0xFAFF, 2}, {0xFE00, 0xFE0F, 0},
    {0xFE30, 0xFE6F, 2},   {0xFF00, 0xFF60, 2},  {0xFFE0, 0xFFE6, 2}, {0x1F300, 0x1F64F, 2},
    {0x1F900, 0x1F9FF, 2}, {0x20000, 0x3FFFD, 2}};

std::size_t width_of(std::string_view sequence) {
    const unsigned code = code_point(sequence);
    for (const WidthRow& row : width_rows)
        if (row.from <= code && code <= row.to) return row.width;
    return 1;
}

} // namespace

std::size_t utf8_prefix(std::string_view text) {
    std::size_t size = 0;
    while (size < text.size()) {
        const std::size_t length = sequence_length(text.substr(size));
        if (length == 0) break;
        size += length;
    }
    return size;
}

bool is_utf8(std::string_view text) {
    return utf8_prefix(text) == text.size();
}

std::string to_utf8(std::string_view bytes) {
    std::string text;
    // Each name of a path by itself, as the libraries take them, with its separator.
    while (!bytes.empty()) {
        const std::size_t size = std::min(bytes.find_first_of("/\\"), bytes.size() - 1) + 1;
        const std::string_view name = bytes.substr(0, size);
        if (is_utf8(name))
            text += name;
        else
            text += codepage_to_utf8(name);
        bytes.remove_prefix(size);
    }
    return text;
}

std::string without_controls(std::string utf8, std::string_view kept) {
    for (char& c : utf8) {
        const bool is_control = static_cast<unsigned char>(c) < ' ' || c == 0x7F;
        if (is_control && kept.find(c) == std::string_view::npos) c = '?';
    }
    // The controls from U+0080 on, which terminals obey as well, and those that turn the direction
    // of what follows: they would show a report as something else than it says.
    for (std::size_t i = 0; i < utf8.size(); ++i) {
        const std::size_t length = sequence_length(std::string_view(utf8).substr(i));
        if (length < 2) continue;
        const unsigned code = code_point(std::string_view(utf8).substr(i, length));
        const bool is_control =
            code < 0xA0 || (code >= 0x202A && code <= 0x202E) || (code >= 0x2066 && code <= 0x2069);
        if (is_control)
            utf8.replace(i, length, "?");
        else
            i += length - 1;
    }
    return utf8;
}

std::string for_terminal(std::string_view bytes) {
    std::string text = to_utf8(bytes);
    for (char& c : text)
        if (c == '\n' || c == '\r' || c == '\t') c = ' ';
    return without_controls(std::move(text));
}

std::string padding(std::string_view utf8, char filler) {
    std::string text;
    while (!utf8.empty()) {
        const std::size_t length = std::max<std::size_t>(sequence_length(utf8), 1);
        if (utf8[0] == '\t')
            text += '\t';
        else
            text.append(width_of(utf8.substr(0, length)), filler);
        utf8.remove_prefix(length);
    }
    return text;
}

} // namespace norvane::driver
