// Loads libzip by the name that it had when this library was built.

#include "libzip.h"

#include <dlfcn.h>

#include "norvane/base/diagnostics.h"

namespace norvane::package {

Libzip libzip = {};

namespace {

// Stays loaded until the process ends: an archive may be open at any time.
bool find_functions(const char* library, Libzip* found) {
    void* handle = dlopen(library, RTLD_NOW | RTLD_LOCAL);
    if (!handle) return false;
    bool complete = true;
    const auto find = [&]<typename Function>(Function** function, const char* name) {
        if (complete) *function = reinterpret_cast<Function*>(dlsym(handle, name));
        complete = complete && *function;
    };
#define NORVANE_LIBZIP_FIND(function) find(&found->function, "zip_" #function);
    NORVANE_LIBZIP_FUNCTIONS(NORVANE_LIBZIP_FIND)
#undef NORVANE_LIBZIP_FIND
    return complete;
}

} // namespace

bool load_libzip_from(const char* library) {
    Libzip found = {};
    if (find_functions(library, &found)) {
        libzip = found;
        return true;
    }
    ErrorInfo* error = ERR_LIBRARY_LOAD(library, dlerror());
    err_set_position(error, __LINE__, __FILE__);
    msg_report_error(ERROR_TYPE_ERROR, error);
    return false;
}

bool load_libzip() {
    return libzip.open || load_libzip_from(NORVANE_LIBZIP);
}

} // namespace norvane::package
