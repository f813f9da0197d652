/* Numbers as text, and file names. */
#ifndef NORVANE_BASE_UTIL_H
#define NORVANE_BASE_UTIL_H

#include "norvane/base/export.h"

NORVANE_BEGIN_DECLS

/* Returns the shortest text in fixed notation that reads back as the same double. It ends in ".0"
 * if it would have no point, so that it reads back as a float constant: "1.0", "0.5", "-2.25". The
 * texts "inf", "-inf" and "nan" stand for the values without digits. Does not depend on the locale.
 * The text is in a static buffer, which the next call overwrites. */
NORVANE_BASE_API const char* util_double_to_str(double value);

/* Returns an unpredictable name of a file that does not exist, with the given extension (such as
 * ".pm"), in the directory $TMPDIR or else /tmp; creates nothing. The caller owns the string. Null
 * if the directory does not exist or the system has no random bytes. */
NORVANE_BASE_API char* util_temp_filename(const char* extension);

/* Lets util_temp_filename name files in this directory instead, for hosts that remove all that the
 * library leaves there. Borrowed until the next call; null, the default, ends it. */
NORVANE_BASE_API void util_set_temp_directory(const char* directory);

/* The type of a file by its extension, in upper or lower case; FILETYPE_UNKNOWN for others. */
enum {
    FILETYPE_UNKNOWN = 0,
    FILETYPE_PM = 1,
    FILETYPE_XML = 2,
    FILETYPE_CL = 3,
    FILETYPE_ZEB = 4,
    FILETYPE_MU = 5,
    FILETYPE_MUB = 6,
    FILETYPE_MUI = 7,
    FILETYPE_CLX = 8 /* callers rely on this value */
};
NORVANE_BASE_API int util_get_filetype(const char* path);

/* Returns a new string: `path` without its extension, which begins at the last point of the file
 * name. A name without a point, or whose only point is its first character, is copied unchanged.
 * Directories are separated by "/" or "\\". */
NORVANE_BASE_API char* util_strip_file_extension(const char* path);

NORVANE_END_DECLS

#endif
