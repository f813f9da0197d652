// The scanner of UVL: words, with indents and line ends as words of their own.
#include <algorithm>
#include <array>

#include "uvl.h"

namespace norvane::driver {
namespace {

constexpr unsigned tab_width = 8;

bool is_digit(char c) {
    return c >= '0' && c <= '9';
}

// Bytes beyond ASCII are letters of some alphabet.
bool begins_name(char c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '_' || c < 0;
}

// Longer operators come first, so that "<=>" is not read as "<=".
constexpr auto symbols = std::to_array<std::string_view>(
    {"<=>", "=>", "==", "!=", "<=", ">=", "..", "<", ">", "!", "&", "|",
     "(",   ")",  "[",  "]",  "{",  "}",  ",",  ".", "+", "-", "*", "/"});

class Scanner {
  public:
    explicit Scanner(std::string_view text) : text_(text) {
        if (text_.starts_with("\xEF\xBB\xBF")) at_ = begin_ = 3;
    }

    std::vector<UvlWord> scan() {
        while (at_ < text_.size()) {
            if (is_at_begin_ && depth_ == 0)
                begin_line();
            else
                next();
        }
        end_line();
        while (indents_.size() > 1)
            close_indent();
        add(UvlToken::end, 0);
        return std::move(words_);
    }

  private:
    [[noreturn]] void fault(const std::string& text) const {
        throw ImportFault{line_, static_cast<unsigned>(at_ - begin_) + 1, text};
    }
    UvlWord& add(UvlToken kind, std::size_t length) {
        words_.push_back({kind, false, text_.substr(std::min(at_, text_.size()), length), line_,
                          static_cast<unsigned>(at_ - begin_) + 1});
        at_ += length;
        return words_.back();
    }
    void close_indent() {
        indents_.pop_back();
        add(UvlToken::dedent, 0);
    }
    void end_line() {
        if (has_words_) add(UvlToken::line_end, 0);
        has_words_ = false;
    }
    void new_line() {
        ++at_;
        ++line_;
        begin_ = at_;
        is_at_begin_ = depth_ == 0; // brackets go on in the next line
    }
    bool is_next(std::string_view what) const { return text_.substr(at_, what.size()) == what; }

    // Empty lines and comments have no indentation that counts.
    void begin_line() {
        unsigned width = 0;
        for (; at_ < text_.size() && (text_[at_] == ' ' || text_[at_] == '\t'); ++at_)
            width = text_[at_] == ' ' ? width + 1 : (width / tab_width + 1) * tab_width;
        while (is_next("/*"))
            skip_comment();
        while (at_ < text_.size() &&
               (text_[at_] == ' ' || text_[at_] == '\r' || text_[at_] == '\t'))
            ++at_;
        is_at_begin_ = false;
        if (at_ == text_.size() || text_[at_] == '\n' || is_next("//")) return;
        if (width > indents_.back()) {
            indents_.push_back(width);
            add(UvlToken::indent, 0);
        }
        while (width < indents_.back())
            close_indent();
        if (width != indents_.back()) fault("the indentation is that of no line above");
    }

    void next() {
        const char c = text_[at_];
        if (c == '\n') {
            if (depth_ == 0) end_line();
            return new_line();
        }
        if (c == ' ' || c == '\t' || c == '\r') {
            ++at_;
            return;
        }
        if (is_next("//")) {
            at_ = std::min(text_.find('\n', at_), text_.size());
            return;
        }
        if (is_next("/*")) return skip_comment();
        has_words_ = true;
        if (c == '"' || c == '\'') return quoted(c);
        if (is_digit(c)) return number();
        if (begins_name(c)) return name();
        symbol();
    }

    void skip_comment() {
        const std::size_t end = text_.find("*/", at_ + 2);
        if (end == std::string_view::npos) fault("a comment without an end");
        while (at_ < end + 2) {
            if (text_[at_] == '\n') {
                ++line_;
                begin_ = at_ + 1;
            }
            ++at_;
        }
    }

    void quoted(char quote) {
        const std::size_t end = text_.find_first_of(quote == '"' ? "\"\n" : "'\n", at_ + 1);
        if (end == std::string_view::npos || text_[end] == '\n') fault("a quote without an end");
        UvlWord& word = add(quote == '"' ? UvlToken::name : UvlToken::text, end + 1 - at_);
        word.text.remove_prefix(1);
        word.text.remove_suffix(1);
        word.is_quoted = true;
    }

    void number() {
        std::size_t end = at_;
        const auto skip_digits = [&] {
            while (end < text_.size() && is_digit(text_[end]))
                ++end;
        };
        skip_digits();
        if (end + 1 < text_.size() && text_[end] == '.' && is_digit(text_[end + 1])) {
            ++end;
            skip_digits();
        }
        add(UvlToken::number, end - at_);
    }

    void name() {
        std::size_t end = at_;
        while (end < text_.size() && (begins_name(text_[end]) || is_digit(text_[end])))
            ++end;
        add(UvlToken::name, end - at_);
    }

    void symbol() {
        const auto* known = std::ranges::find_if(
            symbols, [this](std::string_view symbol) { return is_next(symbol); });
        if (known == symbols.end()) fault("unexpected character");
        const char c = text_[at_];
        if (c == '(' || c == '[' || c == '{') ++depth_;
        if ((c == ')' || c == ']' || c == '}') && depth_ > 0) --depth_;
        add(UvlToken::symbol, known->size());
    }

    std::string_view text_;
    std::size_t at_ = 0;
    std::size_t begin_ = 0; // of the line
    unsigned line_ = 1;
    bool is_at_begin_ = true;
    bool has_words_ = false; // on this line
    std::size_t depth_ = 0;  // of brackets, in which lines do not end
    std::vector<unsigned> indents_ = {0};
    std::vector<UvlWord> words_;
};

} // namespace

std::vector<UvlWord> uvl_words(std::string_view text) {
    return Scanner(text).scan();
}

} // namespace norvane::driver
