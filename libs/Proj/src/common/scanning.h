// Shared by the scanners of the two source languages: reading a file, and the values of tokens.
#ifndef NORVANE_PROJ_SCANNING_H
#define NORVANE_PROJ_SCANNING_H

#include <cstddef>
#include <cstdio>
#include <cstring>

#include "allocation.h"

namespace norvane {

// Reads the bytes of a source file. The source formats are defined by reads of at most 8192 bytes.
// A byte 0xFF ends such a read and is dropped; a read that would begin with one is the end of the
// input. The actual reads are as large as the caller's buffer, so the position within the defined
// reads is counted here.
struct SourceFile {
    std::FILE* stream = nullptr; // borrowed
    std::size_t offset = 0;      // in the read of 8192 bytes
    bool ended = false;          // a read began with the byte 0xFF
    std::size_t given = 0;       // bytes that `read` has returned
    bool failed = false;         // the stream had a read error, so bytes are missing

    // Fills the buffer, and returns the number of bytes; 0 only at the end of the input.
    int read(char* buffer, std::size_t size);
};

// A new string of `length` bytes and a terminator, in `room` bytes of memory; freed by the caller.
inline char* copy_text(const char* text, std::size_t length, std::size_t room) {
    auto* copy = static_cast<char*>(new_memory(room));
    std::memcpy(copy, text, length);
    copy[length] = '\0';
    return copy;
}

// The length of a name that blanks may follow.
inline std::size_t without_blanks(const char* name, std::size_t length) {
    while (name[length - 1] <= ' ')
        --length;
    return length;
}

// The number of line feeds in `length` bytes.
int count_newlines(const char* text, std::size_t length);

// The value of a sequence of digits; false if it does not fit into an int.
bool integer_value(const char* text, std::size_t length, int* value);

// The value of digits, a point and digits. A value outside the range of double becomes infinity, or
// 0 if there are only zeros before the point.
double float_value(const char* text, std::size_t length);

} // namespace norvane

#endif
