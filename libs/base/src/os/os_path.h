// File names as callers write them, with either separator.
#ifndef NORVANE_BASE_OS_PATH_H
#define NORVANE_BASE_OS_PATH_H

namespace norvane {

// A new string of `path` as the system has it, freed with str_delete: with every backslash turned
// into a slash, since tools of the toolchain form names with backslashes, and such a file must land
// in its folder; and each name on the way in UTF-8, where it is neither that nor the name of
// something that is there as it stands.
char* native_path(const char* path);

} // namespace norvane

#endif
