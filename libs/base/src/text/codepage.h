// Code page 1252 and UTF-8, byte by byte: what the text classes and the XML layer share.
#ifndef NORVANE_BASE_CODEPAGE_H
#define NORVANE_BASE_CODEPAGE_H

#include <cstddef>

namespace norvane {

// The number of leading bytes of `text` below 128: they are the same in both encodings.
std::size_t ascii_prefix(const char* text, std::size_t size);

// The number of bytes that codepage_to_utf8 writes: at most 3 for each byte of `text`.
std::size_t utf8_size(const char* text, std::size_t size);

// Both write the conversion of `size` bytes to `out` and return the number of bytes written; no
// terminator. Every input has a result (see norvane/base/text.hpp).
std::size_t codepage_to_utf8(const char* text, std::size_t size, char* out);
// `out` needs `size` bytes, and may be `text` itself.
std::size_t utf8_to_codepage(const char* text, std::size_t size, char* out);

// Decodes one code point at `text` (of `size` bytes, at least 1) and stores its length in `length`.
// Malformed input gives -1 with the length 1.
int utf8_decode(const char* text, std::size_t size, std::size_t* length);

} // namespace norvane

#endif
