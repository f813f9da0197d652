#include "tokens.h"

#include <algorithm>
#include <array>

namespace norvane::driver {
namespace {

constexpr auto words_of_models = std::to_array<std::string_view>(
    {"and",    "array",    "boolean", "case",   "constant", "default",  "else",    "esac",
     "exist",  "false",    "float",   "forall", "if",       "in",       "integer", "not",
     "of",     "optional", "or",      "order",  "private",  "product",  "public",  "rule",
     "string", "sum",      "then",    "true",   "type",     "variable", "xor"});

constexpr auto words_of_calculations = std::to_array<std::string_view>(
    {"and",    "boolean", "break",  "case", "default", "do",        "else",  "external",
     "false",  "float",   "for",    "if",   "integer", "namespace", "not",   "or",
     "return", "string",  "switch", "then", "true",    "void",      "while", "xor"});

// Operators of two bytes and more, the longest first. Those of other languages are tokens too,
// since a report is to show all of them; no correct source has their bytes side by side.
constexpr auto marks_of_models = std::to_array<std::string_view>(
    {"<==>", "<->", "<=>", "==>", "-->", "===", "!==", "->",  "..", "<=", ">=",
     "<>",   ">>",  "<<",  "==",  "!=",  "=>",  "=<",  "&&",  "||", ":=", "**",
     "+=",   "-=",  "*=",  "/=",  "~=",  "::",  "\\/", "/\\", "≠",  "≤",  "≥",
     "→",    "↔",   "⇒",   "∧",   "∨",   "¬",   "“",   "”",   "‘",  "’"});
constexpr auto marks_of_calculations =
    std::to_array<std::string_view>({"<->", "<=>", "->", ":=", "<=", ">=", "<>", "==", "!=", "=>",
                                     "=<", "&&", "||", "**", "++", "+=", "-=", "*=", "/="});
constexpr std::string_view short_marks = "+-*/<>=.,:;|()[]{}";
constexpr std::string_view short_marks_of_calculations = "%^?";

bool is_digit(char c) {
    return c >= '0' && c <= '9';
}
bool begins_word(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_';
}
bool is_blank(char c) {
    return c == ' ' || c == '\t' || c == '\v' || c == '\f' || c == '\r' || c == '\n';
}

class Scanner {
  public:
    Scanner(std::string_view text, unsigned comment_depth, Language language, bool ends_strings)
        : is_model_(language == Language::model), ends_strings_(ends_strings), text_(text) {
        result_.comment_depth = comment_depth;
    }

    // Whether a string has no end.
    bool has_open_string() const { return has_open_string_; }

    Scan run() {
        if (result_.comment_depth > 0) comment();
        while (at_ < text_.size()) {
            const char c = text_[at_];
            if (is_blank(c))
                ++at_;
            else if (c == '#' && is_model_ && (at_ == 0 || text_[at_ - 1] == '\n'))
                directive();
            else if (!is_model_ && starts("//"))
                skip_line();
            else if (starts("/*"))
                comment();
            else
                token(c);
        }
        return std::move(result_);
    }

  private:
    bool starts(std::string_view what) const { return text_.substr(at_, what.size()) == what; }

    void skip_line() { at_ = std::min(text_.find('\n', at_), text_.size()); }

    void directive() {
        result_.directives.push_back(at_);
        skip_line();
    }

    // Those of models nest.
    void comment() {
        for (; at_ < text_.size(); ++at_) {
            if (starts("/*") && (is_model_ || result_.comment_depth == 0)) {
                ++result_.comment_depth;
                ++at_;
            } else if (starts("*/")) {
                ++at_;
                if (--result_.comment_depth > 0) continue;
                ++at_;
                return;
            } else if (text_[at_] == '\n') {
                result_.comment_lines.push_back(at_ + 1);
            }
        }
    }

    void add(TokenKind kind, std::size_t end) {
        result_.tokens.push_back({kind, at_, end - at_});
        at_ = end;
    }

    template <typename Test>
    std::size_t end_of(std::size_t from, Test test) const {
        while (from < text_.size() && test(text_[from]))
            ++from;
        return from;
    }

    void token(char c) {
        if (begins_word(c))
            return add(TokenKind::word,
                       end_of(at_, [](char d) { return begins_word(d) || is_digit(d); }));
        if (is_digit(c)) return number();
        if (c == '"') return string();
        if (is_model_ && starts("//")) return foreign_comment();
        for (const std::string_view mark : long_marks())
            if (starts(mark)) return add(TokenKind::mark, at_ + mark.size());
        const bool is_mark =
            short_marks.find(c) != short_marks.npos ||
            (!is_model_ && short_marks_of_calculations.find(c) != short_marks_of_calculations.npos);
        add(is_mark ? TokenKind::mark : TokenKind::unknown, at_ + 1);
    }

    std::span<const std::string_view> long_marks() const {
        if (is_model_) return marks_of_models;
        return marks_of_calculations;
    }

    void number() {
        const std::size_t end = end_of(at_, is_digit);
        const bool is_float =
            end + 1 < text_.size() && text_[end] == '.' && is_digit(text_[end + 1]);
        add(TokenKind::number, is_float ? end_of(end + 1, is_digit) : end);
    }

    void string() {
        for (std::size_t end = at_ + 1; end < text_.size(); ++end) {
            if (text_[end] == '"') return add(TokenKind::string, end + 1);
            if (text_[end] == '\n' && ends_strings_) return add(TokenKind::unknown, end);
            if (text_[end] == '\\') ++end;
        }
        has_open_string_ = true;
        add(TokenKind::unknown, std::min(text_.find('\n', at_), text_.size()));
    }

    // Models have no such comments: it is a token, and what is in it is none.
    void foreign_comment() {
        std::size_t end = std::min(text_.find('\n', at_), text_.size());
        while (is_blank(text_[end - 1]))
            --end;
        add(TokenKind::unknown, end);
    }

    bool is_model_;
    bool ends_strings_; // at the end of their line
    bool has_open_string_ = false;
    std::string_view text_;
    std::size_t at_ = 0;
    Scan result_;
};

} // namespace

// Strings may span lines. If that leaves the last string open, a quote is missing, and the text is
// scanned again with strings ending at their line.
Scan scan(std::string_view text, unsigned comment_depth, Language language) {
    Scanner scanner(text, comment_depth, language, false);
    Scan result = scanner.run();
    return scanner.has_open_string() ? Scanner(text, comment_depth, language, true).run() : result;
}

std::span<const std::string_view> reserved_words(Language language) {
    if (language == Language::model) return words_of_models;
    return words_of_calculations;
}

bool is_reserved(std::string_view word, Language language) {
    return std::ranges::binary_search(reserved_words(language), word);
}

bool is_section_word(std::string_view word) {
    return word == "constant" || word == "type" || word == "variable" || word == "rule";
}

} // namespace norvane::driver
