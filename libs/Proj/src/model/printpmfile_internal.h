// What the two halves of the printer share: writing to the stream, and the stream that ends in a
// string.
#ifndef NORVANE_PROJ_PRINTPMFILE_INTERNAL_H
#define NORVANE_PROJ_PRINTPMFILE_INTERNAL_H

#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <string_view>

#include "norvane/base/except.h"
#include "norvane/base/strings.h"

namespace norvane::model {

// Writes the text and returns its length, by which columns are counted. Without the stream's lock:
// a stream belongs to one caller, and a model is written in very many short texts.
inline unsigned put(std::FILE* stream, std::string_view text) {
    // Up to here a byte at a time into the stream's buffer is quicker than the call.
    constexpr std::size_t short_text = 16;
    if (text.size() > short_text) {
        fwrite_unlocked(text.data(), 1, text.size(), stream);
    } else {
        for (const char c : text)
            putc_unlocked(c, stream);
    }
    return static_cast<unsigned>(text.size());
}

// Replaces the string's text by what `print` writes. Callers know the failures by these words,
// which come from pipes.
template <typename Print>
void print_into(UtilString* string, Print print) {
    ustr_reset(string);
    char* text = nullptr;
    std::size_t size = 0;
    std::FILE* stream = open_memstream(&text, &size);
    if (stream == nullptr) NORVANE_FAIL("Could not create pipe");
    print(stream);
    if (std::ferror(stream) != 0) NORVANE_FAIL("Could not open pipe for writing");
    if (std::fclose(stream) != 0) NORVANE_FAIL("Could not close pipe");
    if (text == nullptr) NORVANE_FAIL("Could not open pipe for reading");
    ustr_append_chars(string, text, size);
    std::free(text);
}

} // namespace norvane::model

#endif
