// The table of code page 1252, and a decoder for UTF-8.
//
// Every byte and every code point has a defined result, so that reading and writing never fail on a
// text, and characters of the code page survive a round trip.

#include "codepage.h"

#include <cstdint>
#include <cstring>

namespace norvane::text {
namespace {

// The code points of the bytes 0x80 to 0x9F. The five unassigned bytes map to the control
// characters of the same number, so that they survive a round trip.
constexpr std::uint16_t high_controls[32] = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0x008D, 0x017D, 0x008F, 0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};

unsigned code_point(char c) {
    const auto byte = static_cast<unsigned char>(c);
    return byte >= 0x80 && byte < 0xA0 ? high_controls[byte - 0x80] : byte;
}

// `point` is -1 for malformed UTF-8.
char codepage_byte(int point) {
    if ((point >= 0 && point < 0x80) || (point >= 0xA0 && point <= 0xFF))
        return static_cast<char>(point);
    for (int i = 0; i < 32; ++i)
        if (high_controls[i] == point) return static_cast<char>(0x80 + i);
    return '?';
}

bool is_continuation(char c) {
    return (static_cast<unsigned char>(c) & 0xC0) == 0x80;
}

} // namespace

std::size_t ascii_prefix(const char* text, std::size_t size) {
    std::size_t i = 0;
    for (; i + 8 <= size; i += 8) {
        std::uint64_t word;
        std::memcpy(&word, text + i, 8);
        if (word & 0x8080808080808080u) break;
    }
    while (i < size && static_cast<unsigned char>(text[i]) < 0x80)
        ++i;
    return i;
}

int utf8_decode(const char* text, std::size_t size, std::size_t* length) {
    const auto first = static_cast<unsigned char>(text[0]);
    *length = 1;
    if (first < 0x80) return first;
    std::size_t count;
    int smallest;
    int value;
    if (first >= 0xC2 && first <= 0xDF) {
        count = 2, smallest = 0x80, value = first & 0x1F;
    } else if (first >= 0xE0 && first <= 0xEF) {
        count = 3, smallest = 0x800, value = first & 0x0F;
    } else if (first >= 0xF0 && first <= 0xF4) {
        count = 4, smallest = 0x10000, value = first & 0x07;
    } else {
        return -1;
    }
    if (count > size) return -1;
    for (std::size_t i = 1; i < count; ++i) {
        if (!is_continuation(text[i])) return -1;
        value = (value << 6) | (static_cast<unsigned char>(text[i]) & 0x3F);
    }
    const bool surrogate = value >= 0xD800 && value <= 0xDFFF;
    if (value < smallest || value > 0x10FFFF || surrogate) return -1;
    *length = count;
    return value;
}

std::size_t utf8_size(const char* text, std::size_t size) {
    std::size_t bytes = size;
    for (std::size_t i = ascii_prefix(text, size); i < size; ++i) {
        const unsigned point = code_point(text[i]);
        bytes += (point >= 0x80) + (point >= 0x800);
    }
    return bytes;
}

std::size_t codepage_to_utf8(const char* text, std::size_t size, char* out) {
    char* const start = out;
    for (std::size_t i = 0; i < size;) {
        const std::size_t plain = ascii_prefix(text + i, size - i);
        std::memcpy(out, text + i, plain);
        out += plain;
        i += plain;
        if (i == size) break;
        const unsigned point = code_point(text[i++]);
        if (point < 0x800) {
            *out++ = static_cast<char>(0xC0 | (point >> 6));
        } else {
            *out++ = static_cast<char>(0xE0 | (point >> 12));
            *out++ = static_cast<char>(0x80 | ((point >> 6) & 0x3F));
        }
        *out++ = static_cast<char>(0x80 | (point & 0x3F));
    }
    return static_cast<std::size_t>(out - start);
}

std::size_t utf8_to_codepage(const char* text, std::size_t size, char* out) {
    char* const start = out;
    for (std::size_t i = 0; i < size;) {
        const std::size_t plain = ascii_prefix(text + i, size - i);
        std::memmove(out, text + i, plain);
        out += plain;
        i += plain;
        if (i == size) break;
        std::size_t length;
        *out++ = codepage_byte(utf8_decode(text + i, size - i, &length));
        i += length;
    }
    return static_cast<std::size_t>(out - start);
}

} // namespace norvane::text
