// Files by name. Names come from models and workspaces that may have been written on another
// system, so a backslash separates folders too, and letters beyond ASCII are those of code page
// 1252, as in all texts that the library holds, where they are not UTF-8 already.
#include "norvane/base/os.h"

#include <cstdlib>
#include <cstring>

#include <sys/stat.h>
#include <unistd.h>

#include "codepage.h"
#include "norvane/base/except.h"
#include "norvane/base/memory.h"
#include "norvane/base/strings.h"
#include "os_path.h"

namespace norvane {
namespace {

bool is_utf8(const char* text, std::size_t size) {
    std::size_t length = 0;
    for (std::size_t i = ascii_prefix(text, size); i < size; i += length)
        if (utf8_decode(text + i, size - i, &length) < 0) return false;
    return true;
}

// A new string.
char* to_utf8(const char* text, std::size_t size) {
    const std::size_t utf8 = utf8_size(text, size);
    auto* result = static_cast<char*>(util_malloc_throw(utf8 + 1));
    codepage_to_utf8(text, size, result);
    result[utf8] = '\0';
    return result;
}

} // namespace

char* native_path(const char* path) {
    char* native = str_copy(path);
    for (char* c = std::strchr(native, '\\'); c != nullptr; c = std::strchr(c, '\\'))
        *c = '/';
    // The name of a file that is there is taken as it is.
    const std::size_t size = std::strlen(native);
    if (is_utf8(native, size) || access(native, F_OK) == 0) return native;
    char* converted = to_utf8(native, size);
    std::free(native);
    return converted;
}

} // namespace norvane

using norvane::native_path;

int os_file_exists(const char* path) {
    NORVANE_ASSERT(path);
    char* native = native_path(path);
    struct stat info;
    const int exists = stat(native, &info) == 0;
    std::free(native);
    return exists;
}

int os_file_is_readonly(const char* path) {
    NORVANE_ASSERT(path);
    char* native = native_path(path);
    struct stat info;
    const bool exists = stat(native, &info) == 0;
    std::free(native);
    return exists && (info.st_mode & (S_IWUSR | S_IWGRP | S_IWOTH)) == 0;
}

void os_delete_file(const char* path) {
    NORVANE_ASSERT(path);
    char* native = native_path(path);
    unlink(native);
    std::free(native);
}
