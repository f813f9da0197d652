#include "file_text.h"

#include <cstdio>
#include <memory>

#include <sys/stat.h>

namespace norvane::driver {

std::optional<std::string> text_of_file(const std::string& name) {
    struct stat info = {};
    if (stat(name.c_str(), &info) != 0 || !S_ISREG(info.st_mode)) return std::nullopt;
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(name.c_str(), "rbe"),
                                                               std::fclose);
    if (!file) return std::nullopt;
    // No more than its size, since some files of the system have no size and no end.
    std::string text(static_cast<std::size_t>(info.st_size), '\0');
    const std::size_t length = std::fread(text.data(), 1, text.size(), file.get());
    if (std::ferror(file.get())) return std::nullopt;
    text.resize(length);
    return text;
}

} // namespace norvane::driver
