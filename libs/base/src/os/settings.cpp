// Where the toolchain's tools are: beside this library, unless the host says otherwise.

#include "norvane/base/settings.h"

#include <climits>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>

#include "norvane/base/call_guard.hpp"
#include "norvane/base/except.h"
#include "norvane/base/strings.h"

namespace norvane::os {
namespace {

struct Settings {
    char* bin_directory; // owned; null: beside this library
    char full_path[2 * PATH_MAX];
};
Settings settings;

// The directory "../bin" beside the directory of this library; relative if the system does not
// tell.
void default_bin_directory(char (&directory)[PATH_MAX]) {
    Dl_info info;
    char library[PATH_MAX];
    if (!dladdr(&settings, &info) || !realpath(info.dli_fname, library)) {
        str_snprintf(directory, sizeof directory, "../bin");
        return;
    }
    for (int step = 0; step < 2; ++step) // the name, and its directory
        if (char* slash = std::strrchr(library, '/')) *slash = '\0';
    str_snprintf(directory, sizeof directory, "%s/bin", library);
}

} // namespace
} // namespace norvane::os

using namespace norvane::os;

void settings_set_bin_folder(const char* directory) {
    const norvane::CallGuard guard(__func__);
    char* copy = str_null_copy(directory);
    std::free(settings.bin_directory);
    settings.bin_directory = copy;
}

const char* settings_get_full_bin_path(const char* tool) {
    const norvane::CallGuard guard(__func__);
    NORVANE_ASSERT(tool);
    char beside_library[PATH_MAX];
    const char* directory = settings.bin_directory;
    if (!directory) {
        default_bin_directory(beside_library);
        directory = beside_library;
    }
    str_snprintf(settings.full_path, sizeof settings.full_path, "%s/%s", directory, tool);
    return settings.full_path;
}
