/* Zero-terminated strings on the heap, and UtilString, a growable one.
 *
 * Nothing here depends on the locale. A `char*` result is a new heap string, which the caller
 * releases with str_delete or free. */
#ifndef NORVANE_BASE_STRINGS_H
#define NORVANE_BASE_STRINGS_H

#include <stdarg.h>
#include <stddef.h>

#include "norvane/base/export.h"

NORVANE_BEGIN_DECLS

/* The size of the buffers for messages, positions, names and labels. */
#define MESSAGE_BUFFER_SIZE 2048

/* Return a new copy; free one. */
NORVANE_BASE_API char* str_copy(const char* s);      /* asserts "s" */
NORVANE_BASE_API char* str_null_copy(const char* s); /* null for null */
NORVANE_BASE_API void str_delete(char* s);           /* asserts "s" */
NORVANE_BASE_API void str_null_delete(char* s);      /* accepts null */

/* Returns a new string: `a` followed by `b`. */
NORVANE_BASE_API char* str_cat(const char* a, const char* b);

/* Returns non-zero if the bytes are equal. */
NORVANE_BASE_API int str_is_equal(const char* a, const char* b);

/* Returns non-zero if the string is neither null nor empty. */
NORVANE_BASE_API int str_is_set(const char* s);

/* Returns the number of bytes before the terminator; asserts "s". */
NORVANE_BASE_API unsigned str_len(const char* s);

/* Format into a buffer of `size` bytes, at least 1. The result is truncated to fit and always
 * terminated. */
NORVANE_BASE_API void str_snprintf(char* buffer, size_t size, const char* format, ...)
    NORVANE_PRINTF(3, 4);
NORVANE_BASE_API void str_vsnprintf(char* buffer, size_t size, const char* format, va_list args)
    NORVANE_PRINTF(3, 0);

/* Return the number at the start of a text, after optional blanks and a sign, or 0 if there is
 * none. The text after the number is ignored. The decimal separator is a point in every locale. A
 * number that is too large gives the largest int of its sign, or infinity for a double.
 * str_to_double also accepts "inf", "nan" and hexadecimal numbers ("0x1p-3"). */
NORVANE_BASE_API int str_to_int(const char* text);
NORVANE_BASE_API double str_to_double(const char* text);

/* A growable string. `text` is always terminated and may contain zero bytes before `length`.
 * Callers read both, and write only through the functions. */
typedef struct UtilString {
    char* text;
    size_t length;
    size_t capacity; /* bytes at `text` */
} UtilString;

/* ustr_new returns a new empty string, never null, freed with ustr_delete. ustr_length returns the
 * length in bytes. */
NORVANE_BASE_API UtilString* ustr_new(void);
NORVANE_BASE_API void ustr_delete(UtilString* u); /* accepts null */
NORVANE_BASE_API void ustr_reset(UtilString* u);  /* empties it, keeps its memory */
NORVANE_BASE_API unsigned ustr_length(const UtilString* u);

/* Append, in amortized constant time per byte. A null text appends nothing. `other` may be `u`. */
NORVANE_BASE_API void ustr_append_char(UtilString* u, char c);
NORVANE_BASE_API void ustr_append_chars(UtilString* u, const char* text, size_t n);
NORVANE_BASE_API void ustr_append_string(UtilString* u, const char* text);
NORVANE_BASE_API void ustr_append_ustr(UtilString* u, const UtilString* other);
NORVANE_BASE_API void ustr_append_int(UtilString* u, int value); /* as "%d" */
NORVANE_BASE_API void ustr_printf(UtilString* u, const char* format, ...) NORVANE_PRINTF(2, 3);

/* Turn the text, in place, into a string literal of the model language: in double quotes, with a
 * backslash before each double quote and backslash, and line feed, carriage return and tab as \n,
 * \r and \t. The results are the same; callers use the first for names and the second for
 * literals. */
NORVANE_BASE_API void ustr_quote(UtilString* u);
NORVANE_BASE_API void ustr_quote_multiline(UtilString* u);

/* Removes a leading and a trailing double quote, if present, and each escaping backslash: the byte
 * after a backslash is kept as it is, because the scanner has already translated \n, \r and \t. */
NORVANE_BASE_API void ustr_unquote(UtilString* u);

NORVANE_END_DECLS

#endif
