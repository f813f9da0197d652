#include "words.h"

#include <algorithm>
#include <filesystem>

namespace norvane::driver::lsp {
namespace {

// Of the text that begins with a quote: its closing quote, or the end of the line.
std::size_t end_of_quoted(const std::string& text, std::size_t at) {
    for (++at; at < text.size() && text[at] != '"' && text[at] != '\n'; ++at)
        if (text[at] == '\\') ++at;
    return at;
}

// Of the comment that begins here; where there is none, its begin.
std::size_t end_of_comment(const std::string& text, std::size_t at) {
    if (text.compare(at, 2, "//") == 0) return std::min(text.find('\n', at), text.size());
    if (text.compare(at, 2, "/*") != 0) return at;
    const std::size_t end = text.find("*/", at + 2);
    return end == text.npos ? text.size() : end + 2;
}

void blank(std::string& text, std::size_t from, std::size_t end) {
    for (; from < end; ++from)
        if (text[from] != '\n') text[from] = ' ';
}

// Blanks in the place of comments, so that the scanner of models can take the text.
void blank_comments(std::string& text) {
    for (std::size_t at = 0; at < text.size(); ++at)
        if (text[at] == '"')
            at = end_of_quoted(text, at);
        else
            blank(text, at, end_of_comment(text, at));
}

// An argument of a macro stands where the macro is used.
bool stands_at(std::string_view word, const Place& place, SourceFiles& files) {
    const std::string_view rest = files.rest(place.file, place.line);
    return rest.substr(std::min<std::size_t>(place.column - 1, rest.size())).starts_with(word);
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
    blank_comments(text_);
    const std::string* const file_name = name(file);
    unsigned line = 1;
    std::size_t start = 0; // of the line
    std::size_t at = 0;
    for (const Token& token : scan(text_).tokens) {
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
