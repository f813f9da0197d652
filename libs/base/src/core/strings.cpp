// Zero-terminated strings on the heap, and UtilString.
#include "norvane/base/strings.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "norvane/base/except.h"
#include "norvane/base/memory.h"

namespace norvane::core {
namespace {

constexpr size_t first_capacity = 64;

// Makes room for `n` more bytes and the terminator.
inline void reserve(UtilString* u, size_t n) {
    const size_t needed = u->length + n + 1;
    if (needed <= u->capacity) return;
    const size_t capacity = std::max(needed, 2 * u->capacity);
    u->text = static_cast<char*>(util_realloc_throw(u->text, capacity));
    u->capacity = capacity;
}

inline void set_length(UtilString* u, size_t length) {
    u->length = length;
    u->text[length] = '\0';
}

// Returns the letter that follows the backslash of an escaped byte, or 0 if it is not escaped.
inline char escape_of(char c) {
    switch (c) {
    case '"': return '"';
    case '\\': return '\\';
    case '\n': return 'n';
    case '\r': return 'r';
    case '\t': return 't';
    default: return '\0';
    }
}

} // namespace
} // namespace norvane::core

using namespace norvane::core;

char* str_copy(const char* s) {
    NORVANE_ASSERT(s);
    const size_t size = std::strlen(s) + 1;
    return static_cast<char*>(std::memcpy(util_malloc_throw(size), s, size));
}

char* str_null_copy(const char* s) {
    return s ? str_copy(s) : nullptr;
}

void str_delete(char* s) {
    NORVANE_ASSERT(s);
    std::free(s);
}

void str_null_delete(char* s) {
    std::free(s);
}

char* str_cat(const char* a, const char* b) {
    NORVANE_ASSERT(a);
    NORVANE_ASSERT(b);
    const size_t left = std::strlen(a);
    const size_t right = std::strlen(b) + 1;
    char* result = static_cast<char*>(util_malloc_throw(left + right));
    std::memcpy(result, a, left);
    std::memcpy(result + left, b, right);
    return result;
}

int str_is_equal(const char* a, const char* b) {
    NORVANE_ASSERT(a);
    NORVANE_ASSERT(b);
    return std::strcmp(a, b) == 0;
}

int str_is_set(const char* s) {
    return s && *s;
}

unsigned str_len(const char* s) {
    NORVANE_ASSERT(s);
    return static_cast<unsigned>(std::strlen(s));
}

void str_snprintf(char* buffer, size_t size, const char* format, ...) {
    va_list args;
    va_start(args, format);
    str_vsnprintf(buffer, size, format, args);
    va_end(args);
}

void str_vsnprintf(char* buffer, size_t size, const char* format, va_list args) {
    NORVANE_ASSERT(buffer);
    NORVANE_ASSERT(size >= 1);
    NORVANE_ASSERT(format);
    // After a failure the C library may leave the buffer without a terminator.
    if (std::vsnprintf(buffer, size, format, args) < 0) buffer[0] = '\0';
}

UtilString* ustr_new(void) {
    UtilString* u = static_cast<UtilString*>(util_malloc_throw(sizeof(UtilString)));
    u->text = static_cast<char*>(util_malloc_throw(first_capacity));
    u->capacity = first_capacity;
    set_length(u, 0);
    return u;
}

void ustr_delete(UtilString* u) {
    if (!u) return;
    std::free(u->text);
    std::free(u);
}

void ustr_reset(UtilString* u) {
    NORVANE_ASSERT(u);
    set_length(u, 0);
}

unsigned ustr_length(const UtilString* u) {
    NORVANE_ASSERT(u);
    return static_cast<unsigned>(u->length);
}

void ustr_append_char(UtilString* u, char c) {
    NORVANE_ASSERT(u);
    reserve(u, 1);
    u->text[u->length] = c;
    set_length(u, u->length + 1);
}

void ustr_append_chars(UtilString* u, const char* text, size_t n) {
    NORVANE_ASSERT(u);
    if (!text || n == 0) return;
    reserve(u, n);
    std::memcpy(u->text + u->length, text, n);
    set_length(u, u->length + n);
}

void ustr_append_string(UtilString* u, const char* text) {
    NORVANE_ASSERT(u);
    if (text) ustr_append_chars(u, text, std::strlen(text));
}

void ustr_append_ustr(UtilString* u, const UtilString* other) {
    NORVANE_ASSERT(u);
    NORVANE_ASSERT(other);
    // Reserved first, because `other` may be `u`, whose text may move.
    const size_t n = other->length;
    reserve(u, n);
    ustr_append_chars(u, other->text, n);
}

void ustr_append_int(UtilString* u, int value) {
    NORVANE_ASSERT(u);
    char digits[16];
    const std::to_chars_result end = std::to_chars(digits, digits + sizeof digits, value);
    ustr_append_chars(u, digits, static_cast<size_t>(end.ptr - digits));
}

void ustr_printf(UtilString* u, const char* format, ...) {
    NORVANE_ASSERT(u);
    NORVANE_ASSERT(format);
    va_list args;
    va_start(args, format);
    const size_t room = u->capacity - u->length;
    const int length = std::vsnprintf(u->text + u->length, room, format, args);
    va_end(args);
    const size_t n = length < 0 ? 0 : static_cast<size_t>(length);
    if (n >= room) {
        reserve(u, n);
        va_start(args, format);
        std::vsnprintf(u->text + u->length, n + 1, format, args);
        va_end(args);
    }
    set_length(u, u->length + n);
}

void ustr_quote(UtilString* u) {
    NORVANE_ASSERT(u);
    size_t escapes = 0;
    for (size_t i = 0; i < u->length; ++i)
        escapes += escape_of(u->text[i]) != '\0';
    reserve(u, escapes + 2);

    // From the end, because the text is expanded in place.
    const size_t length = u->length + escapes + 2;
    char* to = u->text + length;
    *--to = '"';
    for (size_t i = u->length; i > 0; --i) {
        const char c = u->text[i - 1];
        const char escape = escape_of(c);
        *--to = escape ? escape : c;
        if (escape) *--to = '\\';
    }
    *--to = '"';
    set_length(u, length);
}

void ustr_quote_multiline(UtilString* u) {
    ustr_quote(u);
}

void ustr_unquote(UtilString* u) {
    NORVANE_ASSERT(u);
    const char* from = u->text;
    const char* end = from + u->length;
    char* to = u->text;
    if (from < end && *from == '"') ++from;
    while (from < end) {
        if (*from == '"' && from + 1 == end) break;
        // A backslash at the end escapes nothing and is kept.
        if (*from == '\\' && from + 1 < end) ++from;
        *to++ = *from++;
    }
    set_length(u, static_cast<size_t>(to - u->text));
}
