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

namespace norvane::model {

// Writes the text and returns its length, by which columns are counted. It does not take the
// stream's lock, because a model is written in very many short texts and a stream has one writer.
inline unsigned put(std::FILE* stream, std::string_view text) {
#if defined(__GLIBC__)
    // Straight into the stream's buffer, by the members by which putc_unlocked stores a byte: most
    // texts are shorter than what a call costs. A stream that is not fully buffered has no room.
    if (stream->_IO_write_end - stream->_IO_write_ptr > static_cast<std::ptrdiff_t>(text.size())) {
        std::memcpy(stream->_IO_write_ptr, text.data(), text.size());
        stream->_IO_write_ptr += text.size();
        return static_cast<unsigned>(text.size());
    }
#endif
    fwrite_unlocked(text.data(), 1, text.size(), stream);
    return static_cast<unsigned>(text.size());
}

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
