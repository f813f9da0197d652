// Conversions between code page 1252 and UTF-8, for the text classes, file names and the XML layer.
#ifndef NORVANE_BASE_CODEPAGE_H
#define NORVANE_BASE_CODEPAGE_H

#include <cstddef>

namespace norvane::text {

// Returns the number of leading bytes below 128, which are the same in both encodings.
std::size_t ascii_prefix(const char* text, std::size_t size);

// Returns the number of bytes that codepage_to_utf8 writes: at most 3 per byte of `text`.
std::size_t utf8_size(const char* text, std::size_t size);

// Convert `size` bytes to `out`, without a terminator, and return the number of bytes written. They
// never fail (norvane/base/text.hpp).
std::size_t codepage_to_utf8(const char* text, std::size_t size, char* out);
// `out` needs `size` bytes, and may be `text` itself.
std::size_t utf8_to_codepage(const char* text, std::size_t size, char* out);

// Decodes the first code point of `text`, of at least one byte, and stores its length. For
// malformed input it returns -1 with the length 1.
int utf8_decode(const char* text, std::size_t size, std::size_t* length);

} // namespace norvane::text

#endif
