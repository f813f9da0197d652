#include "misread_words.h"

#include <algorithm>
#include <array>
#include <optional>

#include "mistakes.h"
#include "similar.h"

namespace norvane::driver {
namespace {

constexpr auto section_words =
    std::to_array<std::string_view>({"constant", "type", "variable", "rule"});
// What a rule goes on with.
constexpr auto infix_marks =
    std::to_array<std::string_view>({"->", "<->", "=", "<>", "<", "<=", ">", ">=", "+", "*", "/",
                                     ")", "and", "or", "xor", "then", "else"});

class Search {
  public:
    explicit Search(const SourceText& source) : source_(source) {}

    std::vector<Misread> run() {
        for (std::size_t i = 0; i < source_.size(); ++i) {
            section(i);
            enumeration_in_braces(i);
            labels_by_semicolons(i);
            record(i);
            semicolon_within(i);
        }
        return std::move(found_);
    }

  private:
    std::string_view word(std::size_t at) const {
        return at < source_.size() ? source_.word(at) : "";
    }
    bool is_word(std::size_t at) const {
        return at < source_.size() && source_.tokens()[at].kind == TokenKind::word;
    }
    bool is_label(std::size_t at) const {
        if (at >= source_.size()) return false;
        const TokenKind kind = source_.tokens()[at].kind;
        return kind == TokenKind::string || (kind == TokenKind::word && !is_reserved(word(at)));
    }
    bool is_type(std::size_t at) const {
        const std::string_view before = at > 0 ? word(at - 1) : "";
        return before == ":" || before == "of" || before == "optional";
    }

    // No statement has a name and then another word that can begin one.
    void section(std::size_t at) {
        const std::string_view before = at > 0 ? word(at - 1) : ";";
        const bool begins = before == ";" || is_section_word(before);
        if (!begins || !is_word(at) || !is_word(at + 1) || is_reserved(word(at)) ||
            may_follow_a_name(word(at + 1)))
            return;
        const std::string_view meant = most_similar(word(at), section_words);
        if (meant.empty()) return;
        found_.push_back({{at, at},
                          "unexpected " + in_quotes(word(at)),
                          "did you mean " + in_quotes(meant) + "?",
                          {{at, meant}}});
    }

    // The end of a list of labels; nothing for another list.
    std::optional<std::size_t> end_of_labels(std::size_t at, std::string_view close,
                                             std::initializer_list<std::string_view> marks) const {
        while (is_label(++at)) {
            if (word(++at) == close) return at;
            if (std::ranges::find(marks, word(at)) == marks.end()) return {};
        }
        return {};
    }

    // {red, green}
    void enumeration_in_braces(std::size_t at) {
        if (word(at) != "{" || !is_type(at)) return;
        const auto end = end_of_labels(at, "}", {",", "|"});
        if (!end) return;
        found_.push_back({{at, *end},
                          "labels in braces",
                          "the labels of an enumeration stand in '[' and ']'",
                          {{at, "["}, {*end, "]"}}});
    }

    // [red; green]
    void labels_by_semicolons(std::size_t at) {
        if (word(at) != "[" || !is_type(at)) return;
        const auto end = end_of_labels(at, "]", {";", ",", "|"});
        if (!end) return;
        Misread misread{{*end, at}, "unexpected ';'", "labels are separated by ','", {}};
        for (std::size_t i = at; i < *end; ++i) {
            if (word(i) != ";") continue;
            misread.range = {std::min(misread.range.first, i), i};
            misread.words.emplace_back(i, ",");
        }
        misread.range.last = misread.range.first;
        if (!misread.words.empty()) found_.push_back(std::move(misread));
    }

    // T : record a : boolean; end;
    void record(std::size_t at) {
        if ((word(at) != "record" && word(at) != "struct") || !is_type(at)) return;
        const std::string hint = "a record is '{ ... }'";
        const std::string message = "unexpected " + in_quotes(word(at));
        if (word(at + 1) == "{") return found_.push_back({{at, at}, message, hint, {{at, ""}}});
        const bool has_fields = is_word(at + 1);
        if (!has_fields) return;
        for (std::size_t i = at + 1; i < source_.size(); ++i) {
            if (is_section_word(word(i)) && word(i) != "rule") return;
            if (word(i) == "end")
                return found_.push_back({{at, at}, message, hint, {{at, "{"}, {i, "}"}}});
        }
    }

    // a > 3; -> b, often by a macro
    void semicolon_within(std::size_t at) {
        if (word(at) != ";" || std::ranges::find(infix_marks, word(at + 1)) == infix_marks.end())
            return;
        const std::string& macro = source_.macro_of(at);
        found_.push_back({{at, at},
                          "unexpected ';'",
                          macro.empty()
                              ? "take it out"
                              : "take the ';' out of the definition of " + in_quotes(macro),
                          {{at, ""}}});
    }

    const SourceText& source_;
    std::vector<Misread> found_;
};

} // namespace

std::vector<Misread> misread_words(const SourceText& source) {
    return Search(source).run();
}

} // namespace norvane::driver
