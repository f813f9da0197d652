// Files by name. Names come from models and workspaces that may have been written on another
// system, so a backslash separates folders too.
#include "norvane/base/os.h"

#include <cstdlib>
#include <cstring>

#include <sys/stat.h>
#include <unistd.h>

#include "norvane/base/except.h"
#include "norvane/base/strings.h"

namespace {

// The path with this system's separators, to be freed.
char* native_path(const char* path) {
    char* native = str_copy(path);
    for (char* c = std::strchr(native, '\\'); c != nullptr; c = std::strchr(c, '\\'))
        *c = '/';
    return native;
}

} // namespace

int os_file_exists(const char* path) {
    NORVANE_ASSERT(path);
    char* native = native_path(path);
    struct stat info;
    const int exists = stat(native, &info) == 0;
    std::free(native);
    return exists;
}

void os_delete_file(const char* path) {
    NORVANE_ASSERT(path);
    char* native = native_path(path);
    unlink(native);
    std::free(native);
}
