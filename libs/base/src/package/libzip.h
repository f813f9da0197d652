// libzip, loaded when the first package is created or opened. Its libraries for encryption and
// compression take longer to load than a small model, and few programs use packages.
#ifndef NORVANE_BASE_LIBZIP_H
#define NORVANE_BASE_LIBZIP_H

#include <zip.h>

namespace norvane::package {

// The functions that packages use, without libzip's prefix.
#define NORVANE_LIBZIP_FUNCTIONS(each)                                                             \
    each(open) each(close) each(discard) each(get_num_entries) each(get_name) each(name_locate)    \
        each(file_add) each(set_file_compression) each(file_set_dostime) each(source_buffer)       \
            each(source_free) each(fopen_index) each(fread) each(fclose)

struct Libzip {
// NOLINTNEXTLINE(bugprone-macro-parentheses): a declared name cannot be in parentheses.
#define NORVANE_LIBZIP_MEMBER(function) decltype(::zip_##function)* function;
    NORVANE_LIBZIP_FUNCTIONS(NORVANE_LIBZIP_MEMBER)
#undef NORVANE_LIBZIP_MEMBER
};

// All null until libzip is loaded.
extern Libzip libzip;

// Loads libzip unless it is loaded. Returns false after reporting ERR_LIBRARY_LOAD.
bool load_libzip();

// Loads libzip from the named library, even if it is loaded.
bool load_libzip_from(const char* library);

} // namespace norvane::package

#endif
