// What the preprocessor takes for a word, and for a line.
#ifndef NORVANE_PM_BYTES_H
#define NORVANE_PM_BYTES_H

#include <cstddef>
#include <string_view>

namespace norvane::driver {

constexpr bool begins_word(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_';
}

constexpr bool is_word_byte(char c) {
    return begins_word(c) || (c >= '0' && c <= '9');
}

// The quote that is open after a byte; a zero byte for none.
constexpr char quote_after(char c, char open) {
    if (c != '"' && c != '\'') return open;
    if (!open) return c;
    return c == open ? '\0' : open;
}

// The end of a backslash and the end of line that it joins to the next one; 0 if there is none.
constexpr std::size_t end_of_splice(std::string_view text, std::size_t at) {
    if (text[at] != '\\') return 0;
    const std::size_t end = text.find_first_not_of(" \t\r\f\v", at + 1);
    return end != text.npos && text[end] == '\n' ? end + 1 : 0;
}

} // namespace norvane::driver

#endif
