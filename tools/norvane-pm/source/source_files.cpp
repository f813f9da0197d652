#include "source_files.h"

#include <algorithm>

#include "file_text.h"

namespace norvane::driver {
namespace {

std::size_t skip_blanks(std::string_view line, std::size_t at) {
    return std::min(line.find_first_not_of(" \t", at), line.size());
}

bool is_word_byte(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_';
}

// Where the macro's name stands in a line that defines one.
struct Definition {
    std::size_t begin = 0;
    std::size_t end = 0; // the same as the begin: no definition
};

Definition definition_in(std::string_view line) {
    constexpr std::string_view word = "define";
    std::size_t at = skip_blanks(line, 0);
    if (at == line.size() || line[at] != '#') return {};
    at = skip_blanks(line, at + 1);
    if (line.substr(at, word.size()) != word) return {};
    Definition found;
    found.begin = found.end = skip_blanks(line, at + word.size());
    while (found.end < line.size() && is_word_byte(line[found.end]))
        ++found.end;
    return found;
}

} // namespace

void SourceFiles::set(const std::string& file, std::string text) {
    File& held = files_[file];
    held.text = std::move(text);
    add(file, held);
}

std::string_view SourceFiles::rest(const std::string& file, unsigned number) {
    const File& held = open(file);
    if (!held.is_readable || number == 0 || number > held.lines.size()) return {};
    return std::string_view(held.text).substr(held.lines[number - 1]);
}

const Macro* SourceFiles::macro(std::string_view name) const {
    const auto found = macros_.find(name);
    return found == macros_.end() ? nullptr : &found->second;
}

SourceFiles::File& SourceFiles::open(const std::string& file) {
    const auto [place, is_new] = files_.try_emplace(file);
    if (!is_new) return place->second;
    if (std::optional<std::string> text = text_of_file(file)) {
        place->second.text = std::move(*text);
        add(file, place->second);
    }
    return place->second;
}

// Notes where the lines begin, and the macros.
void SourceFiles::add(const std::string& name, File& file) {
    file.is_readable = true;
    file.lines.clear();
    std::size_t begin = 0;
    for (;;) {
        file.lines.push_back(begin);
        const std::size_t end = std::min(file.text.find('\n', begin), file.text.size());
        const std::string_view line = std::string_view(file.text).substr(begin, end - begin);
        const Definition found = definition_in(line);
        if (found.begin < found.end) {
            const auto number = static_cast<unsigned>(file.lines.size());
            const Place place{name, number, static_cast<unsigned>(found.begin + 1), number,
                              static_cast<unsigned>(found.end + 1)};
            const bool takes_arguments = found.end < line.size() && line[found.end] == '(';
            macros_[std::string(line.substr(found.begin, found.end - found.begin))] = {
                place, takes_arguments};
        }
        if (end == file.text.size()) return;
        begin = end + 1;
    }
}

} // namespace norvane::driver
