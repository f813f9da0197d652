// The tokens of the source of a model or a calculation, with their places in the text.
//
// The library keeps a line of each record, and not the tokens that it was made from: this scanner
// finds those again. It takes text that the preprocessor has written, or lines of the user's files.
#ifndef NORVANE_PM_TOKENS_H
#define NORVANE_PM_TOKENS_H

#include <cstddef>
#include <span>
#include <string_view>
#include <vector>

namespace norvane::driver {

enum class Language { model, calculation };

enum class TokenKind : unsigned char {
    word, // reserved words too
    number,
    string,
    mark,    // an operator or a bracket; also one that only other languages have, such as "=="
    unknown, // a byte that begins no token, a string that has no end, or a comment from "//"
};

struct Token {
    TokenKind kind;
    std::size_t offset;
    std::size_t length;
};

// What a text consists of: its tokens, and the directives that the preprocessor has left in it.
struct Scan {
    std::vector<Token> tokens;
    std::vector<std::size_t> directives;    // of a model: the offset of each "#"
    std::vector<std::size_t> comment_lines; // offsets of lines that begin within a comment
    unsigned comment_depth = 0;             // at the end: comments that are not closed
};

// `comment_depth` is that at the start of the text.
Scan scan(std::string_view text, unsigned comment_depth = 0, Language language = Language::model);

// The words that cannot be names, in the order of the alphabet.
std::span<const std::string_view> reserved_words(Language language);
bool is_reserved(std::string_view word, Language language = Language::model);

// "constant", "type", "variable" or "rule".
bool is_section_word(std::string_view word);

} // namespace norvane::driver

#endif
