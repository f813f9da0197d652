// File names as callers write them, with either separator.
#ifndef NORVANE_BASE_OS_PATH_H
#define NORVANE_BASE_OS_PATH_H

namespace norvane::os {

// A new string of `path` as the system has it, freed with str_delete. Backslashes become slashes,
// since tools of the toolchain form names with backslashes. Each name between them becomes UTF-8,
// unless it is UTF-8 already or a file of just that name exists.
char* native_path(const char* path);

} // namespace norvane::os

#endif
