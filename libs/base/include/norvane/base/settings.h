/* Where the toolchain's tools are. */
#ifndef NORVANE_BASE_SETTINGS_H
#define NORVANE_BASE_SETTINGS_H

#include "norvane/base/export.h"

NORVANE_BEGIN_DECLS

/* The directory of the tools, for hosts that keep them elsewhere: copied. Null puts the default back,
 * which is the directory "../bin" beside the directory that this library was loaded from. */
NORVANE_BASE_API void settings_set_bin_folder(const char* directory);

/* The full path of a tool by its short name, such as "kelcalc". The text lies in one shared buffer,
 * which the next call overwrites. */
NORVANE_BASE_API const char* settings_get_full_bin_path(const char* tool);

NORVANE_END_DECLS

#endif
