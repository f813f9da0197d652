// Where the toolchain's tools are: beside this library, unless the host says otherwise.

#include "norvane/base/settings.h"

#include <climits>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>

#include "norvane/base/except.h"
#include "norvane/base/strings.h"

namespace norvane {

namespace {

struct Settings {
    char* bin_folder; // owned; null: beside this library
    char full_path[2 * PATH_MAX];
};
Settings settings;

// The folder "../bin" beside the folder of this library; relative if the system does not tell.
void default_bin_folder(char (&folder)[PATH_MAX]) {
    Dl_info info;
    char library[PATH_MAX];
    if (!dladdr(&settings, &info) || !realpath(info.dli_fname, library)) {
        str_snprintf(folder, sizeof folder, "../bin");
        return;
    }
    for (int step = 0; step < 2; ++step) // the name, and its folder
        if (char* slash = std::strrchr(library, '/')) *slash = '\0';
    str_snprintf(folder, sizeof folder, "%s/bin", library);
}

} // namespace

} // namespace norvane

using namespace norvane;

void settings_set_bin_folder(const char* folder) {
    char* copy = str_null_copy(folder);
    std::free(settings.bin_folder);
    settings.bin_folder = copy;
}

const char* settings_get_full_bin_path(const char* tool) {
    NORVANE_ASSERT(tool);
    char beside_library[PATH_MAX];
    const char* folder = settings.bin_folder;
    if (!folder) {
        default_bin_folder(beside_library);
        folder = beside_library;
    }
    str_snprintf(settings.full_path, sizeof settings.full_path, "%s/%s", folder, tool);
    return settings.full_path;
}
