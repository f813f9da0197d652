#include "codepage.h"

#include <algorithm>
#include <array>

namespace norvane::pm {
namespace {

// What 0x80 to 0x9F stand for; the five bytes without a meaning stand for themselves.
constexpr std::array<char16_t, 32> codepage_1252 = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, //
    0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0x008D, 0x017D, 0x008F, //
    0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014, //
    0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};

// The length of the well-formed UTF-8 sequence that `text` begins with, or 0.
std::size_t sequence_length(std::string_view text) {
    const auto byte = [&](std::size_t i) {
        return i < text.size() ? static_cast<unsigned char>(text[i]) : 0u;
    };
    const auto follows = [&](std::size_t i) { return (byte(i) & 0xC0u) == 0x80u; };
    const unsigned first = byte(0);
    if (first < 0x80) return 1;
    if (first < 0xC2) return 0;
    if (first < 0xE0) return follows(1) ? 2 : 0;
    if (first < 0xF0) {
        const bool overlong = first == 0xE0 && byte(1) < 0xA0;
        const bool surrogate = first == 0xED && byte(1) > 0x9F;
        return !overlong && !surrogate && follows(1) && follows(2) ? 3 : 0;
    }
    const bool overlong = first == 0xF0 && byte(1) < 0x90;
    const bool too_large = first > 0xF4 || (first == 0xF4 && byte(1) > 0x8F);
    return !overlong && !too_large && follows(1) && follows(2) && follows(3) ? 4 : 0;
}

bool is_utf8(std::string_view text) {
    while (!text.empty()) {
        const std::size_t length = sequence_length(text);
        if (length == 0) return false;
        text.remove_prefix(length);
    }
    return true;
}

void append_utf8(std::string& text, unsigned code) {
    const auto append = [&](unsigned byte) { text += static_cast<char>(byte); };
    if (code < 0x80) {
        append(code);
    } else if (code < 0x800) {
        append(0xC0 | code >> 6);
        append(0x80 | (code & 0x3F));
    } else {
        append(0xE0 | code >> 12);
        append(0x80 | (code >> 6 & 0x3F));
        append(0x80 | (code & 0x3F));
    }
}

void append_name(std::string& text, std::string_view name) {
    if (is_utf8(name)) {
        text += name;
        return;
    }
    for (const char c : name) {
        const auto byte = static_cast<unsigned char>(c);
        append_utf8(text, byte >= 0x80 && byte < 0xA0 ? codepage_1252[byte - 0x80u] : byte);
    }
}

} // namespace

std::string to_utf8(std::string_view bytes) {
    std::string text;
    // Each name of a path on its own, as the libraries take them, with what separates it.
    while (!bytes.empty()) {
        const std::size_t size = std::min(bytes.find_first_of("/\\"), bytes.size() - 1) + 1;
        append_name(text, bytes.substr(0, size));
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
