// Files by name. Names come from models and workspaces that may have been written on another
// system, so a backslash separates folders too.
#include "norvane/base/os.h"

#include <cstdlib>
#include <cstring>

#include <sys/stat.h>
#include <unistd.h>

#include "norvane/base/except.h"
#include "norvane/base/strings.h"
#include "os_path.h"

char* norvane::native_path(const char* path) {
    char* native = str_copy(path);
    for (char* c = std::strchr(native, '\\'); c != nullptr; c = std::strchr(c, '\\'))
        *c = '/';
    return native;
}

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
