#include "file_text.h"

#include <cstdio>
#include <memory>

#include <sys/stat.h>

namespace norvane::pm {

std::optional<std::string> text_of_file(const std::string& name) {
    struct stat info = {};
    if (stat(name.c_str(), &info) != 0 || !S_ISREG(info.st_mode)) return std::nullopt;
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(name.c_str(), "rbe"),
                                                               std::fclose);
    if (!file) return std::nullopt;
    // One byte more than the size tells a file that has not grown since.
    std::string text(static_cast<std::size_t>(info.st_size) + 1, '\0');
    std::size_t length = 0;
    for (;;) {
        length += std::fread(text.data() + length, 1, text.size() - length, file.get());
        if (length < text.size()) break;
        text.resize(2 * text.size());
    }
    if (std::ferror(file.get())) return std::nullopt;
    text.resize(length);
    return text;
}

} // namespace norvane::pm
