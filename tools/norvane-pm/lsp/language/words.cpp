#include "words.h"

#include <algorithm>
#include <cctype>
#include <filesystem>

namespace norvane::driver::lsp {
namespace {

// An argument of a macro stands where the macro is used.
bool stands_at(std::string_view word, const Place& place, SourceFiles& files) {
    const std::string_view rest = files.rest(place.file, place.line);
    const std::string_view here = rest.substr(std::min<std::size_t>(place.column - 1, rest.size()));
    const auto is_of_name = [](char c) {
        return c == '_' || std::isalnum(static_cast<unsigned char>(c));
    };
    if (!here.starts_with(word)) return false;
    return here.size() == word.size() || !is_of_name(word.back()) || !is_of_name(here[word.size()]);
}

} // namespace

const std::string* Words::name(const std::string& file) {
    for (auto known = files_.rbegin(); known != files_.rend(); ++known)
        if (*known == file) return &*known;
    files_.push_back(file);
    return &files_.back();
}

Words::Words(const SourceText& source, SourceFiles& files) {
    std::string last_file;
    const std::string* last_name = nullptr;
    words_.reserve(source.size());
    for (std::size_t i = 0; i < source.size(); ++i) {
        Word word{source.word(i), source.tokens()[i].kind, {}};
        const Place place = source.place(i);
        if (place.column > 0 && place.end_line == place.line &&
            (!source.is_from_macro(i) || stands_at(word.text, place, files))) {
            if (!last_name || last_file != place.file) {
                last_file = place.file;
                last_name = name(std::filesystem::path(last_file).lexically_normal());
            }
            word.spot = {last_name, place.line, place.column, place.end_column};
        }
        words_.push_back(word);
    }
}

Words::Words(const std::string& file, std::string text) : text_(std::move(text)) {
    const std::string* const file_name = name(file);
    unsigned line = 1;
    std::size_t start = 0; // of the line
    std::size_t at = 0;
    for (const Token& token : scan(text_, 0, Language::calculation).tokens) {
        for (; at < token.offset; ++at) {
            if (text_[at] != '\n') continue;
            ++line;
            start = at + 1;
        }
        const auto column = static_cast<unsigned>(token.offset - start + 1);
        words_.push_back({std::string_view(text_).substr(token.offset, token.length),
                          token.kind,
                          {file_name, line, column, column + static_cast<unsigned>(token.length)}});
    }
}

} // namespace norvane::driver::lsp
