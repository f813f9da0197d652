// File names as callers write them, with either separator.
#ifndef NORVANE_BASE_OS_PATH_H
#define NORVANE_BASE_OS_PATH_H

namespace norvane {

// A new string of `path` with every backslash turned into a slash, freed with str_delete. Tools of
// the toolchain form names with backslashes, and such a file must land in its folder.
char* native_path(const char* path);

} // namespace norvane

#endif
