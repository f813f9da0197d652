// Shared by the two files of the printer: writing to a stream, and printing into a string.
#ifndef NORVANE_PROJ_PRINTPMFILE_INTERNAL_H
#define NORVANE_PROJ_PRINTPMFILE_INTERNAL_H

#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include "norvane/base/except.h"
#include "norvane/base/strings.h"
#include "norvane/proj/expr.h"

namespace norvane::model {

// The free part of a stream's buffer. Texts are stored there directly, by the members by which
// putc_unlocked stores a byte: most are shorter than what a call costs. The stream's lock is not
// taken, because a stream has one writer. A stream that is not fully buffered has no room.
struct Room {
    char* begin;
    char* end;
    bool holds(std::size_t size) const { return end - begin > static_cast<std::ptrdiff_t>(size); }
};
inline Room room_in([[maybe_unused]] const std::FILE* stream) {
#if defined(__GLIBC__)
    return {stream->_IO_write_ptr, stream->_IO_write_end};
#else
    return {};
#endif
}

// The bytes up to `end` have been stored in the stream's room.
inline void stored_up_to([[maybe_unused]] std::FILE* stream, [[maybe_unused]] char* end) {
#if defined(__GLIBC__)
    stream->_IO_write_ptr = end;
#endif
}

// Writes the text and returns its length, by which columns are counted. Inline, because a copy of a
// constant length takes an instruction or two.
[[gnu::always_inline]] inline unsigned put(std::FILE* stream, std::string_view text) {
    const Room room = room_in(stream);
    if (room.holds(text.size())) {
        std::memcpy(room.begin, text.data(), text.size());
        stored_up_to(stream, room.begin + text.size());
    } else {
        fwrite_unlocked(text.data(), 1, text.size(), stream);
    }
    return static_cast<unsigned>(text.size());
}

// A text of at most eight bytes, of which all eight are copied: the length need not be constant for
// the copy to be one instruction.
struct Word {
    char text[8] = {};
    unsigned length;
    template <std::size_t size>
    constexpr Word(const char (&literal)[size]) : length(size - 1) {
        for (std::size_t i = 0; i < length; ++i)
            text[i] = literal[i];
    }
};
inline unsigned put_word(std::FILE* stream, const Word& word) {
    const Room room = room_in(stream);
    if (!room.holds(sizeof word.text)) return put(stream, {word.text, word.length});
    std::memcpy(room.begin, word.text, sizeof word.text);
    stored_up_to(stream, room.begin + word.length);
    return word.length;
}

// Prints a constant of type boolean or integer. (printpmfile.cpp)
unsigned print_int_const(std::FILE* stream, const Expr* expr);

// Replaces the string's text by what `print` writes. The texts of the failures speak of a pipe
// because callers match them.
template <typename Print>
void print_into(UtilString* string, Print print) {
    ustr_reset(string);
    char* text = nullptr;
    std::size_t size = 0;
    std::FILE* stream = open_memstream(&text, &size);
    if (!stream) NORVANE_FAIL("Could not create pipe");
    print(stream);
    if (std::ferror(stream) != 0) NORVANE_FAIL("Could not open pipe for writing");
    if (std::fclose(stream) != 0) NORVANE_FAIL("Could not close pipe");
    if (!text) NORVANE_FAIL("Could not open pipe for reading");
    ustr_append_chars(string, text, size);
    std::free(text);
}

} // namespace norvane::model

#endif
