// The argument vector of the C preprocessor.
#ifndef NORVANE_BASE_CPP_ARGUMENTS_H
#define NORVANE_BASE_CPP_ARGUMENTS_H

#include "norvane/base/list.h"
#include "norvane/base/strings.h"

namespace norvane::os {

// Appends to `arguments`, a list that owns its texts, what the options of a caller become. Returns
// false, with the reason in `error`, at the first one that is refused.
bool append_options(PolyList* arguments, const PolyList* options, UtilString* error);

// Appends the name of a file, spelled so that it cannot be taken for an option.
void append_file(PolyList* arguments, const char* path);

} // namespace norvane::os

#endif
