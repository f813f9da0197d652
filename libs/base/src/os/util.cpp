// Numbers as text, and file names.
#include "norvane/base/util.h"

#include <charconv>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include <sys/random.h>
#include <sys/stat.h>

#include "norvane/base/call_guard.hpp"
#include "norvane/base/except.h"
#include "norvane/base/memory.h"
#include "norvane/base/strings.h"

namespace norvane::os {
namespace {

// The longest texts are those of the smallest normal numbers, with some 330 characters.
char double_text[512];

// What the host has set, or null.
const char* temp_directory = nullptr;

struct Extension {
    std::string_view text; // in lower case
    int filetype;
};

constexpr Extension extensions[] = {
    {".pm", FILETYPE_PM}, {".xml", FILETYPE_XML}, {".cl", FILETYPE_CL},   {".zeb", FILETYPE_ZEB},
    {".mu", FILETYPE_MU}, {".mub", FILETYPE_MUB}, {".mui", FILETYPE_MUI}, {".clx", FILETYPE_CLX},
};

// The index of a path's extension, point included; the length of the path if it has none.
size_t extension_begin(std::string_view path) {
    const size_t separator = path.find_last_of("/\\");
    const size_t name = separator == std::string_view::npos ? 0 : separator + 1;
    const size_t point = path.rfind('.');
    if (point == std::string_view::npos || point <= name) return path.size();
    return point;
}

inline char lower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

bool equals_lower(std::string_view text, std::string_view lower_text) {
    if (text.size() != lower_text.size()) return false;
    for (size_t i = 0; i < text.size(); ++i) {
        if (lower(text[i]) != lower_text[i]) return false;
    }
    return true;
}

// Fills the place with random letters and digits; false if the system has no random bytes.
bool fill_random(char* place, size_t n) {
    constexpr char digits[] = "abcdefghijklmnopqrstuvwxyz012345";
    unsigned char bytes[32];
    if (getentropy(bytes, n) != 0) return false;
    for (size_t i = 0; i < n; ++i)
        place[i] = digits[bytes[i] % 32];
    return true;
}

bool is_directory(const char* path) {
    struct stat info;
    return stat(path, &info) == 0 && S_ISDIR(info.st_mode);
}

bool exists(const char* path) {
    struct stat info;
    return lstat(path, &info) == 0;
}

} // namespace
} // namespace norvane::os

using namespace norvane::os;

const char* util_double_to_str(double value) {
    const norvane::CallGuard guard(__func__);
    if (std::isnan(value)) return std::strcpy(double_text, "nan");
    const std::to_chars_result end = std::to_chars(double_text, double_text + sizeof double_text,
                                                   value, std::chars_format::fixed);
    *end.ptr = '\0';
    if (std::isfinite(value) && !std::strchr(double_text, '.')) {
        std::strcpy(end.ptr, ".0");
    }
    return double_text;
}

char* util_temp_filename(const char* extension) {
    NORVANE_ASSERT(extension);
    const char* directory = temp_directory ? temp_directory : std::getenv("TMPDIR");
    if (!str_is_set(directory)) directory = "/tmp";
    if (!is_directory(directory)) return nullptr;

    char name[] = "/norvane-XXXXXXXXXXXXXXXX";
    char* random = std::strchr(name, 'X');
    for (;;) {
        if (!fill_random(random, std::strlen(random))) return nullptr;
        const size_t size = std::strlen(directory) + std::strlen(name) + std::strlen(extension) + 1;
        char* path = static_cast<char*>(util_malloc_throw(size));
        str_snprintf(path, size, "%s%s%s", directory, name, extension);
        if (!exists(path)) return path;
        std::free(path);
    }
}

void util_set_temp_directory(const char* directory) {
    temp_directory = directory;
}

int util_get_filetype(const char* path) {
    NORVANE_ASSERT(path);
    const std::string_view text = path;
    const std::string_view extension = text.substr(extension_begin(text));
    for (const Extension& known : extensions) {
        if (equals_lower(extension, known.text)) return known.filetype;
    }
    return FILETYPE_UNKNOWN;
}

char* util_strip_file_extension(const char* path) {
    NORVANE_ASSERT(path);
    const size_t length = extension_begin(path);
    char* result = static_cast<char*>(util_malloc_throw(length + 1));
    std::memcpy(result, path, length);
    result[length] = '\0';
    return result;
}
