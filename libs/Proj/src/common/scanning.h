// What the scanners of the two source languages share: how a file is read, and the values of
// tokens.
#ifndef NORVANE_PROJ_SCANNING_H
#define NORVANE_PROJ_SCANNING_H

#include <cstddef>
#include <cstdio>
#include <cstring>

#include "norvane/base/memory.h"

namespace norvane {

// The bytes of a source file. The source formats are defined by reads of at most 8192 bytes, each
// of which a byte 0xFF ends; the byte is dropped, and a read that would begin with one is the end
// of the input. The real reads are as large as the caller's buffer allows, so the position within
// those reads is kept here.
struct SourceFile {
    std::FILE* stream;  // borrowed
    std::size_t offset; // in the read of 8192 bytes
    bool ended;         // a read began with the byte 0xFF
    std::size_t given;  // bytes that `read` has given
    bool failed;        // a read was refused, and what is missing is not known

    // Fills the buffer; 0 at the end of the input alone.
    int read(char* buffer, std::size_t size);
};

// A new string of `length` bytes and a terminator, in memory of `room` bytes.
inline char* copy_text(const char* text, std::size_t length, std::size_t room) {
    auto* copy = static_cast<char*>(util_malloc_throw(room));
    std::memcpy(copy, text, length);
    copy[length] = '\0';
    return copy;
}

// How many line feeds there are in `length` bytes.
int count_newlines(const char* text, std::size_t length);

// The value of a row of digits; false if 32 bits do not hold it.
bool integer_value(const char* text, std::size_t length, int* value);

// The value of digits, a point and digits. What no double can hold is infinite, or nothing if there
// are only zeros before the point.
double float_value(const char* text, std::size_t length);

} // namespace norvane

#endif
