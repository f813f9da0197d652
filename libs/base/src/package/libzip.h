// libzip, loaded when the first package is made or opened. With it come libraries for encryption
// and for compression, which take the loader longer than a small model takes us; and few programs
// that load models touch a package.
#ifndef NORVANE_BASE_LIBZIP_H
#define NORVANE_BASE_LIBZIP_H

#include <zip.h>

namespace norvane {

// The functions that packages need, without the prefix that they have in libzip.
#define NORVANE_LIBZIP_FUNCTIONS(each)                                                             \
    each(open) each(close) each(discard) each(get_num_entries) each(get_name) each(name_locate)    \
        each(file_add) each(set_file_compression) each(file_set_dostime) each(source_buffer)       \
            each(source_free) each(fopen_index) each(fread) each(fclose)

struct Libzip {
// NOLINTNEXTLINE(bugprone-macro-parentheses): a declared name stands in none.
#define NORVANE_LIBZIP_MEMBER(function) decltype(::zip_##function)* function;
    NORVANE_LIBZIP_FUNCTIONS(NORVANE_LIBZIP_MEMBER)
#undef NORVANE_LIBZIP_MEMBER
};

// Null, all of them, until libzip is loaded.
extern Libzip libzip;

// Loads libzip if that has not been done yet. False, with a report, if it cannot be.
bool load_libzip();

// The same from the library of the given name, whether or not there is one already.
bool load_libzip_from(const char* library);

} // namespace norvane

#endif
