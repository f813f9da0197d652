#include "plain_source.h"

#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace norvane::os {
namespace {

// Larger sources go through the preprocessor, whose limits they may exceed.
constexpr std::size_t size_limit = std::size_t{1} << 28;

// A block and the byte before it. Pieces of it are tested in one go each.
constexpr std::size_t block_size = std::size_t{1} << 17;
constexpr std::size_t piece_size = 256;
char buffer[1 + block_size];
char* const block = buffer + 1;

// True if one of the bytes is special. Without a branch, hence & and |, so that the compiler makes
// it a few vector instructions.
bool any_special(const unsigned char* text, std::size_t size) {
    unsigned char found = 0;
    for (std::size_t i = 0; i < size; ++i) {
        const unsigned char c = text[i];
        const bool is_control = (c < ' ') & (c != '\n') & (c != '\t');
        const bool is_second_underscore = (c == '_') & (text[i - 1] == '_');
        found |= static_cast<unsigned char>(is_control | is_second_underscore | (c == '#') |
                                            (c == '\\'));
    }
    return found != 0;
}

const char* last(char* const* arguments) {
    while (arguments[1])
        ++arguments;
    return *arguments;
}

// True if the preprocessor would do the same without these arguments: -I tells where it looks for
// files that a directive names. It warns of a name that is not a directory.
bool have_no_effect(char* const* arguments) {
    for (; arguments[1]; ++arguments) {
        const char* const argument = *arguments;
        if (argument[0] != '-') continue;
        if (argument[1] == 'D' || argument[1] == 'U') return false;
        struct stat info;
        if (argument[1] == 'I' && (stat(argument + 2, &info) != 0 || !S_ISDIR(info.st_mode)))
            return false;
    }
    return true;
}

// False for names that need escapes in a line marker, or that the filter takes for no file.
bool is_plain_name(const char* name) {
    if (*name == '<' || *name == '\0') return false;
    for (; *name; ++name) {
        const auto c = static_cast<unsigned char>(*name);
        if (c < ' ' || c == 0x7f || c == '"' || c == '\\') return false;
    }
    return true;
}

// Closes the file at the end.
struct Source {
    int descriptor = -1;

    // Opens regular files only: to open a pipe takes something from the program at its other end.
    explicit Source(const char* name) {
        struct stat info;
        if (stat(name, &info) != 0 || !S_ISREG(info.st_mode)) return;
        descriptor = open(name, O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK);
        if (descriptor >= 0 && (fstat(descriptor, &info) != 0 || !S_ISREG(info.st_mode))) close();
    }
    Source(const Source&) = delete;
    Source& operator=(const Source&) = delete;
    ~Source() { close(); }

    void close() {
        if (descriptor >= 0) ::close(descriptor);
        descriptor = -1;
    }

    // Fills the block, except at the end of the file; false if the file cannot be read.
    bool read_block(std::size_t* size) const {
        *size = 0;
        while (*size < block_size) {
            const ssize_t count = read(descriptor, block + *size, block_size - *size);
            if (count < 0 && errno == EINTR) continue;
            if (count < 0) return false;
            if (count == 0) break;
            *size += static_cast<std::size_t>(count);
        }
        return true;
    }
};

bool begins_with_a_byte_order_mark(std::size_t size) {
    return size >= 3 && std::memcmp(block, "\xef\xbb\xbf", 3) == 0;
}

// False if the rest of the source, or all of it, is for the preprocessor.
bool copy(const Source& source, WriteBytes write, void* user) {
    PlainScan scan;
    std::size_t total = 0;
    std::size_t size = block_size;
    for (block[-1] = '\n'; size == block_size; block[-1] = block[size - 1]) {
        if (!source.read_block(&size)) return false;
        if (total == 0 && begins_with_a_byte_order_mark(size)) return false;
        total += size;
        scan.take(block, size);
        if (!scan.may_be_plain() || total > size_limit) return false;
        if (size > 0) write(user, block, size);
    }
    if (block[-1] != '\n') write(user, "\n", 1); // the preprocessor ends the last line
    return scan.is_plain();
}

} // namespace

void PlainScan::take(const char* text, std::size_t size) {
    const auto* bytes = reinterpret_cast<const unsigned char*>(text);
    for (std::size_t i = 0; i < size && !has_special_; i += piece_size)
        has_special_ = any_special(bytes + i, size - i < piece_size ? size - i : piece_size);
    if (!has_special_) follow_comments(text, text + size);
    size_ += size;
}

// From the back, as only the last marks count. A slash that ends the block counts with the next
// one.
void PlainScan::follow_comments(const char* text, const char* end) {
    const char* const begin = text - 1;
    std::size_t first = 0;
    std::size_t last = 0;
    const char* slash = end;
    while ((first == 0 || last == 0) && slash > begin) {
        const auto size = static_cast<std::size_t>(slash - begin);
        slash = static_cast<const char*>(memrchr(begin, '/', size));
        if (!slash) break;
        const auto place = size_ + static_cast<std::size_t>(slash - begin); // of the slash
        if (first == 0 && slash + 1 < end && slash[1] == '*') first = place + 1;
        if (last == 0 && slash > begin && slash[-1] == '*') last = place - 1;
    }
    if (first > 0) comment_begin_ = first;
    if (last > 0) comment_end_ = last;
}

bool copy_plain_source(char* const* arguments, WriteBytes write, void* user) {
    if (!have_no_effect(arguments)) return false;
    const char* const name = last(arguments);
    if (!is_plain_name(name)) return false;
    const Source source(name);
    if (source.descriptor < 0) return false;
    write(user, "#line 1 \"", 9);
    write(user, name, std::strlen(name));
    write(user, "\"\n", 2);
    return copy(source, write, user);
}

} // namespace norvane::os
