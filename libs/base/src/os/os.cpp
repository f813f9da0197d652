// Files by name. Names come from models and workspaces that may have been written on another
// system: a backslash separates directories too, and a name that is not UTF-8 is taken to be in
// code page 1252, as all texts that the library holds.
#include "norvane/base/os.h"

#include <cstdlib>
#include <cstring>

#include <sys/stat.h>
#include <unistd.h>

#include "codepage.h"
#include "norvane/base/except.h"
#include "norvane/base/strings.h"
#include "norvane/base/text.hpp"
#include "os_path.h"

namespace norvane::os {
namespace {

bool is_utf8(const char* text, std::size_t size) {
    std::size_t length = 0;
    for (std::size_t i = text::ascii_prefix(text, size); i < size; i += length)
        if (text::utf8_decode(text + i, size - i, &length) < 0) return false;
    return true;
}

// Appends the next name of a path as the system has it: a name that exists is taken as it is.
void append_name(UtilString* path, const char* name, std::size_t size) {
    const std::size_t begin = path->length;
    ustr_append_chars(path, name, size);
    if (is_utf8(name, size) || access(path->text, F_OK) == 0) return;
    path->length = begin;
    ustr_append_string(path, NorvaneCpp::UTF8::ToUnicode({name, size}).GetStr());
}

} // namespace

char* native_path(const char* path) {
    char* slashed = str_copy(path);
    for (char* c = std::strchr(slashed, '\\'); c; c = std::strchr(c, '\\'))
        *c = '/';
    if (is_utf8(slashed, std::strlen(slashed))) return slashed;
    // Name by name, because a directory from the command line and a file from a workspace may have
    // different encodings.
    UtilString* native = ustr_new();
    for (const char* name = slashed; *name;) {
        const std::size_t size = std::strcspn(name, "/");
        append_name(native, name, size);
        name += size;
        if (*name) ustr_append_char(native, *name++);
    }
    std::free(slashed);
    char* text = native->text;
    native->text = nullptr; // the caller takes it over
    ustr_delete(native);
    return text;
}

} // namespace norvane::os

using namespace norvane::os;

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
