#include "model_files.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <string_view>

#include <sys/stat.h>

#include "file_text.h"

namespace norvane::driver {
namespace {

// The directives that leave the names of files as they are. What is none of them, such as one that
// goes on in the next line, is taken for one that does not.
constexpr auto plain_directives = std::to_array<std::string_view>(
    {"define", "undef", "if", "ifdef", "ifndef", "else", "elif", "endif", "error", "warning"});

constexpr std::string_view letters = "abcdefghijklmnopqrstuvwxyz_";
constexpr std::string_view blanks = " \t\v\f\r";

std::string_view without_blanks(std::string_view text) {
    text.remove_prefix(std::min(text.find_first_not_of(blanks), text.size()));
    return text;
}

// The name between quotes or angle brackets; empty for anything else, such as a macro.
std::string_view quoted_name(std::string_view text) {
    if (text.empty() || (text[0] != '"' && text[0] != '<')) return {};
    const std::size_t end = text.find(text[0] == '"' ? '"' : '>', 1);
    return end == std::string_view::npos ? std::string_view() : text.substr(1, end - 1);
}

} // namespace

std::optional<ModelFiles::Id> ModelFiles::id_of(const std::string& file) {
    struct stat info = {};
    if (stat(file.c_str(), &info) != 0) return std::nullopt;
    return Id(info.st_dev, info.st_ino, info.st_mtim.tv_sec, info.st_mtim.tv_nsec);
}

ModelFiles::ModelFiles(const std::string& file, const std::vector<std::string>& cpp_args) {
    for (const std::string& argument : cpp_args)
        if (argument.starts_with("-I")) directories_.push_back(argument.substr(2));
    add(file);
    while (!unread_.empty() && !doubt_) {
        const std::string name = std::move(unread_.back());
        unread_.pop_back();
        const std::string text = text_of_file(name).value_or("");
        unsigned number = 0;
        for (std::size_t begin = 0; begin < text.size() && !doubt_;) {
            const std::size_t end = std::min(text.find('\n', begin), text.size());
            const auto line = without_blanks(std::string_view(text).substr(begin, end - begin));
            ++number;
            if (line.starts_with('#')) add_directive(name, without_blanks(line.substr(1)), number);
            begin = end + 1;
        }
    }
}

bool ModelFiles::contain(const std::string& file) const {
    const auto id = id_of(file);
    return id && files_.contains(*id);
}

void ModelFiles::add(const std::string& file) {
    const auto id = id_of(file);
    if (id && files_.insert(*id).second) unread_.push_back(file);
}

void ModelFiles::add_directive(const std::string& file, std::string_view line, unsigned number) {
    const std::size_t end = std::min(line.find_first_not_of(letters), line.size());
    const std::string_view word = line.substr(0, end);
    if (line.empty() || std::ranges::count(plain_directives, word) > 0) return;
    const std::string_view name = quoted_name(without_blanks(line.substr(end)));
    if (word != "include" || name.empty()) {
        doubt_ = Place{file, number, 1, 0, 0};
        return;
    }
    namespace fs = std::filesystem;
    add(fs::path(file).parent_path() / name); // an absolute name stays as it is
    for (const std::string& directory : directories_)
        add(fs::path(directory) / name);
}

} // namespace norvane::driver
