// Reads numbers as the C library's atoi and strtod do, but with a decimal point in every locale.

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>

#include "norvane/base/except.h"
#include "norvane/base/strings.h"

namespace norvane::core {
namespace {

const char* skip_blanks(const char* text) {
    return text + std::strspn(text, " \t\n\v\f\r");
}

// Skips a sign; returns true for a minus.
bool take_sign(const char** text) {
    const char sign = **text;
    if (sign == '-' || sign == '+') ++*text;
    return sign == '-';
}

bool is_sign(char c) {
    return c == '-' || c == '+';
}

bool starts_hexadecimal(const char* text) {
    if (text[0] != '0' || (text[1] != 'x' && text[1] != 'X') || text[2] == '\0') return false;
    return std::strchr(".0123456789abcdefABCDEF", text[2]) != nullptr;
}

// For a number outside the range of double: returns true if it is too large, and false if it is too
// close to zero. The position of its first non-zero digit decides.
bool is_too_large(const char* number, const char* end, bool is_hexadecimal) {
    const std::size_t size = static_cast<std::size_t>(end - number);
    const std::size_t mark = std::min(size, std::strcspn(number, is_hexadecimal ? "pP" : "eE"));
    const std::size_t point = std::min(mark, std::strcspn(number, "."));
    const std::size_t first = std::strspn(number, "0.");
    const long long exponent = mark < size ? str_to_int(number + mark + 1) : 0;
    const long long place = static_cast<long long>(point) - static_cast<long long>(first);
    return exponent + (is_hexadecimal ? 4 : 1) * place > 0;
}

} // namespace
} // namespace norvane::core

using namespace norvane::core;

int str_to_int(const char* text) {
    NORVANE_ASSERT(text);
    text = skip_blanks(text);
    const char* digits = text;
    const bool is_negative = take_sign(&digits);
    if (is_sign(*digits)) return 0;
    using Limits = std::numeric_limits<int>;
    int value = 0;
    const char* begin = is_negative ? text : digits;
    const std::errc error = std::from_chars(begin, text + std::strlen(text), value).ec;
    if (error != std::errc::result_out_of_range) return value;
    return is_negative ? Limits::min() : Limits::max();
}

double str_to_double(const char* text) {
    NORVANE_ASSERT(text);
    text = skip_blanks(text);
    const bool is_negative = take_sign(&text);
    if (is_sign(*text)) return 0;
    const bool is_hexadecimal = starts_hexadecimal(text);
    if (is_hexadecimal) text += 2;
    double value = 0;
    const auto [end, error] =
        std::from_chars(text, text + std::strlen(text), value,
                        is_hexadecimal ? std::chars_format::hex : std::chars_format::general);
    if (error == std::errc::invalid_argument) return 0;
    if (error == std::errc::result_out_of_range)
        value = is_too_large(text, end, is_hexadecimal) ? HUGE_VAL : 0;
    return is_negative ? -value : value;
}
