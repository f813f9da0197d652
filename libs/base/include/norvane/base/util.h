/* Numbers as text, and file names. */
#ifndef NORVANE_BASE_UTIL_H
#define NORVANE_BASE_UTIL_H

#include "norvane/base/export.h"

NORVANE_BEGIN_DECLS

/* The shortest text in fixed notation that reads back as the same double, with ".0" where there
 * would be no point, so that it reads back as a float constant: "1.0", "0.5", "-2.25"; "inf",
 * "-inf" and "nan" for the others. Never depends on the locale. The text lies in one shared buffer,
 * which the next call overwrites. */
NORVANE_BASE_API const char* util_double_to_str(double value);

/* The name of a file that does not exist, with the given extension (such as ".pm"), in the folder
 * $TMPDIR or else /tmp; unpredictable, and nothing is created. A new string that the caller owns;
 * null if there is no such folder, or no randomness. */
NORVANE_BASE_API char* util_temp_filename(const char* extension);

/* What a file holds, by its extension, in any case; a number each, FILETYPE_UNKNOWN for others. */
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

/* A new string of `path` without its extension: the last point behind the last separator ("/" or
 * "\\") and all behind it. A name without a point, or one that only begins with it, is copied as it
 * is. */
NORVANE_BASE_API char* util_strip_file_extension(const char* path);

NORVANE_END_DECLS

#endif
