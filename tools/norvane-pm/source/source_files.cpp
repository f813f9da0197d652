#include "source_files.h"

#include "file_text.h"

namespace norvane::driver {
void SourceFiles::set(const std::string& file, std::string text) {
    File& held = files_[file];
    held.text = std::move(text);
    add(held);
}

std::string_view SourceFiles::rest(const std::string& file, unsigned number) {
    const File& held = open(file);
    if (!held.is_readable || number == 0 || number > held.lines.size()) return {};
    return std::string_view(held.text).substr(held.lines[number - 1]);
}

SourceFiles::File& SourceFiles::open(const std::string& file) {
    const auto [place, is_new] = files_.try_emplace(file);
    if (!is_new) return place->second;
    if (std::optional<std::string> text = text_of_file(file)) {
        place->second.text = std::move(*text);
        add(place->second);
    }
    return place->second;
}

// Notes where the lines begin.
void SourceFiles::add(File& file) {
    file.is_readable = true;
    file.lines = {0};
    for (std::size_t at = file.text.find('\n'); at != file.text.npos;
         at = file.text.find('\n', at + 1))
        file.lines.push_back(at + 1);
}

} // namespace norvane::driver
