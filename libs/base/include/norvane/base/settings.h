/* The location of the toolchain's programs. */
#ifndef NORVANE_BASE_SETTINGS_H
#define NORVANE_BASE_SETTINGS_H

#include "norvane/base/export.h"

NORVANE_BEGIN_DECLS

/* Sets the directory of the tools; the text is copied. Null restores the default: "../bin" relative
 * to the directory from which this library was loaded. */
NORVANE_BASE_API void settings_set_bin_folder(const char* directory);

/* Returns the full path of a tool, given its short name, such as "kelcalc". The text is in a static
 * buffer, which the next call overwrites. */
NORVANE_BASE_API const char* settings_get_full_bin_path(const char* tool);

NORVANE_END_DECLS

#endif
