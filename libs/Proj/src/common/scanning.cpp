// Reads source files, and computes the values of tokens.
#include "scanning.h"

#include <algorithm>
#include <charconv>
#include <limits>
#include <system_error>

namespace norvane {

namespace {

constexpr std::size_t read_size = 8192;
constexpr unsigned char read_end = 0xFF;

// Removes the bytes 0xFF from `size` bytes just read, and returns the number of bytes that remain.
std::size_t without_read_ends(SourceFile* file, char* buffer, std::size_t size) {
    std::size_t kept = 0;
    for (std::size_t next = 0; next < size;) {
        std::size_t length = std::min(read_size - file->offset, size - next);
        const void* end = std::memchr(buffer + next, read_end, length);
        if (end) length = static_cast<std::size_t>(static_cast<const char*>(end) - buffer) - next;
        std::memmove(buffer + kept, buffer + next, length);
        kept += length;
        next += length;
        file->offset += length;
        if (end) {
            file->ended = file->offset == 0;
            if (file->ended) break;
            ++next;
        }
        if (end || file->offset == read_size) file->offset = 0;
    }
    return kept;
}

} // namespace

int SourceFile::read(char* buffer, std::size_t size) {
    std::size_t kept = 0;
    while (kept == 0 && !ended) {
        const std::size_t got = std::fread(buffer, 1, size, stream);
        failed |= std::ferror(stream) != 0;
        if (got == 0) break;
        kept = without_read_ends(this, buffer, got);
    }
    given += kept;
    return static_cast<int>(kept);
}

int count_newlines(const char* text, std::size_t length) {
    const char* const end = text + length;
    int count = 0;
    while ((text = static_cast<const char*>(
                std::memchr(text, '\n', static_cast<std::size_t>(end - text))))) {
        ++count;
        ++text;
    }
    return count;
}

bool integer_value(const char* text, std::size_t length, int* value) {
    return std::from_chars(text, text + length, *value).ec == std::errc();
}

double float_value(const char* text, std::size_t length) {
    double value = 0;
    if (std::from_chars(text, text + length, value).ec != std::errc())
        value = text[std::strspn(text, "0")] == '.' ? 0 : std::numeric_limits<double>::infinity();
    return value;
}

} // namespace norvane
