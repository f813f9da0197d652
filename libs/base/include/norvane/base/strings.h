/* Zero-terminated strings on the heap, and UtilString, a growing one.
 *
 * Nothing here depends on the locale. A `char*` result is a new heap string that the caller owns
 * and releases with str_delete or free. */
#ifndef NORVANE_BASE_STRINGS_H
#define NORVANE_BASE_STRINGS_H

#include <stdarg.h>
#include <stddef.h>

#include "norvane/base/export.h"

NORVANE_BEGIN_DECLS

/* The size of the buffers for messages, positions, names and labels. */
#define MESSAGE_BUFFER_SIZE 2048

/* A new copy, freed with free or with str_delete; and the end of one. */
NORVANE_BASE_API char* str_copy(const char* s);      /* asserts "s" */
NORVANE_BASE_API char* str_null_copy(const char* s); /* null for null */
NORVANE_BASE_API void str_delete(char* s);           /* asserts "s" */
NORVANE_BASE_API void str_null_delete(char* s);      /* accepts null */

/* A new string of `a` followed by `b`; both stay as they are. */
NORVANE_BASE_API char* str_cat(const char* a, const char* b);

/* Non-zero if equal, byte by byte. */
NORVANE_BASE_API int str_is_equal(const char* a, const char* b);

/* Non-zero if the string is not null and not empty. */
NORVANE_BASE_API int str_is_set(const char* s);

/* The number of bytes before the terminator; asserts "s". */
NORVANE_BASE_API unsigned str_len(const char* s);

/* Format into a buffer of `size` bytes; the result is always terminated, cut where it does not
 * fit. `size` is at least 1. */
NORVANE_BASE_API void str_snprintf(char* buffer, size_t size, const char* format, ...)
    NORVANE_PRINTF(3, 4);
NORVANE_BASE_API void str_vsnprintf(char* buffer, size_t size, const char* format, va_list args)
    NORVANE_PRINTF(3, 0);

/* The number at the start of a text, behind blanks and a sign; 0 if there is none. What stands
 * behind it is not looked at, and there is a decimal point whatever the locale. A number that is
 * too large gives the largest one of its sign, for a double infinity. str_to_double takes "inf",
 * "nan" and hexadecimal numbers ("0x1p-3") too. */
NORVANE_BASE_API int str_to_int(const char* text);
NORVANE_BASE_API double str_to_double(const char* text);

/* A growing string. Callers read `text`, which is always terminated, and may hold zero bytes
 * before its `length`; they write only through the functions. */
typedef struct UtilString {
    char* text;
    size_t length;
    size_t capacity; /* bytes at `text` */
} UtilString;

/* A new empty string, never null, freed with ustr_delete. ustr_length is its length in bytes. */
NORVANE_BASE_API UtilString* ustr_new(void);
NORVANE_BASE_API void ustr_delete(UtilString* u); /* accepts null */
NORVANE_BASE_API void ustr_reset(UtilString* u);  /* to the empty text; keeps its memory */
NORVANE_BASE_API unsigned ustr_length(const UtilString* u);

/* Append. The growth is geometric. A null text appends nothing. `other` may be `u`. */
NORVANE_BASE_API void ustr_append_char(UtilString* u, char c);
NORVANE_BASE_API void ustr_append_chars(UtilString* u, const char* text, size_t n);
NORVANE_BASE_API void ustr_append_string(UtilString* u, const char* text);
NORVANE_BASE_API void ustr_append_ustr(UtilString* u, const UtilString* other);
NORVANE_BASE_API void ustr_append_int(UtilString* u, int value); /* as "%d" */
NORVANE_BASE_API void ustr_printf(UtilString* u, const char* format, ...) NORVANE_PRINTF(2, 3);

/* Turn the text, in place, into a string literal of the model language: double quotes around it, a
 * backslash before each double quote and backslash, and line feed, carriage return and tab as \n,
 * \r and \t. Both give the same; the second is the one for literals, the first for names. */
NORVANE_BASE_API void ustr_quote(UtilString* u);
NORVANE_BASE_API void ustr_quote_multiline(UtilString* u);

/* Drops a leading and a trailing double quote where there is one, and each escaping backslash: the
 * byte behind a backslash stands for itself. The scanner has translated \n, \r and \t before. */
NORVANE_BASE_API void ustr_unquote(UtilString* u);

NORVANE_END_DECLS

#endif
