#include "text.h"

#include <algorithm>

#include "norvane/proj.hpp"

namespace norvane::pm {
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

bool is_utf8(std::string_view text) {
    while (!text.empty()) {
        const std::size_t length = sequence_length(text);
        if (length == 0) return false;
        text.remove_prefix(length);
    }
    return true;
}

} // namespace

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

std::string for_terminal(std::string_view bytes) {
    std::string text = to_utf8(bytes);
    for (char& c : text) {
        if (c == '\n' || c == '\r' || c == '\t') c = ' ';
        if (static_cast<unsigned char>(c) < ' ' || c == 0x7F) c = '?';
    }
    // The controls from U+0080 on, which terminals obey as well.
    for (std::size_t i = text.find('\xC2'); i != std::string::npos; i = text.find('\xC2', i + 1)) {
        if (static_cast<unsigned char>(text[i + 1]) < 0xA0) text.replace(i, 2, "?");
    }
    return text;
}

} // namespace norvane::pm
