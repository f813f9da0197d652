#include "misread_words.h"

#include <algorithm>
#include <array>
#include <optional>
#include <unordered_set>

#include "mistakes.h"
#include "similar.h"

namespace norvane::driver {
namespace {

constexpr auto section_words =
    std::to_array<std::string_view>({"constant", "type", "variable", "rule"});
constexpr auto comparisons = std::to_array<std::string_view>({"=", "<>", "<", "<=", ">", ">="});
// What a rule goes on with.
constexpr auto infix_marks =
    std::to_array<std::string_view>({"->", "<->", "=", "<>", "<", "<=", ">", ">=", "+", "*", "/",
                                     ")", "and", "or", "xor", "then", "else"});

class Search {
  public:
    explicit Search(const SourceText& source) : source_(source) {
        for (std::size_t i = 0; i < source_.size(); ++i)
            if (is_word(i) && (!begins_statement(i) || word(i + 1) == ":" || word(i + 1) == ","))
                names_.insert(word(i));
    }

    std::vector<Misread> run() {
        for (std::size_t i = 0; i < source_.size(); ++i) {
            section(i);
            enumeration_in_braces(i);
            labels_by_semicolons(i);
            record(i);
            semicolon_within(i);
            if (is_section_word(word(i))) is_in_rules_ = word(i) == "rule";
            if (word(i) == "}") is_in_rules_ = false;
        }
        std::ranges::stable_sort(found_, {},
                                 [](const Misread& misread) { return misread.range.first; });
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

    bool begins_statement(std::size_t at) const {
        const std::string_view before = at > 0 ? word(at - 1) : ";";
        return before == ";" || is_section_word(before);
    }
    static std::string_view section_meant_by(std::string_view said) {
        std::string lower(said);
        std::ranges::transform(lower, lower.begin(), [](char c) {
            return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c;
        });
        if (lower.starts_with("constraint")) return "rule";
        return most_similar(lower, section_words);
    }

    // No statement has a name and then another word that can begin one.
    void section(std::size_t at) {
        if (!begins_statement(at) || names_.contains(word(at)) || !is_word(at) ||
            !is_word(at + 1) || is_reserved(word(at)) || may_follow_a_name(word(at + 1)))
            return;
        std::string lower(word(at));
        std::ranges::transform(lower, lower.begin(),
                               [](unsigned char c) { return std::tolower(c); });
        if (is_reserved(lower) && !is_section_word(lower)) return; // TRUE AND ...
        const std::string_view meant = section_meant_by(word(at));
        if (meant.empty()) return;
        found_.push_back({{at, at},
                          "unexpected " + in_quotes(word(at)),
                          "did you mean " + in_quotes(meant) + "?",
                          {{at, meant}},
                          true});
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

    // {red, green}, enum {red; green}. An entry of a record ends with a semicolon, the last one
    // too.
    void enumeration_in_braces(std::size_t at) {
        const bool has_word = at > 0 && (word(at - 1) == "enum" || word(at - 1) == "enumeration");
        if (word(at) != "{" || !is_type(has_word ? at - 1 : at)) return;
        const auto end = end_of_labels(at, "}", {",", "|", ";"});
        if (!end) return;
        Misread misread{{has_word ? at - 1 : at, *end},
                        "labels in braces",
                        "the labels of an enumeration stand in '[' and ']', separated by ','",
                        {{at, "["}, {*end, "]"}},
                        true};
        if (has_word) misread.words.emplace_back(at - 1, "");
        for (std::size_t i = at + 1; i < *end; ++i)
            if (word(i) == ";") misread.words.emplace_back(i, ",");
        found_.push_back(std::move(misread));
    }

    // [red; green]
    void labels_by_semicolons(std::size_t at) {
        if (word(at) != "[" || !is_type(at)) return;
        const auto end = end_of_labels(at, "]", {";", ",", "|"});
        if (!end) return;
        Misread misread{{*end, at}, "unexpected ';'", "labels are separated by ','", {}, true};
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
        if (is_section_word(word(at)) && word(at) != "rule") open_records_.clear();
        if (word(at) == "end") return end_of_record(at);
        if ((word(at) != "record" && word(at) != "struct") || !is_type(at)) return;
        if (word(at + 1) == "{")
            found_.push_back(record_by(at, {{at, ""}}));
        else if (is_word(at + 1))
            open_records_.push_back(at);
    }
    void end_of_record(std::size_t at) {
        const bool may_follow = at + 1 == source_.size() || word(at + 1) == ";" ||
                                word(at + 1) == "}" || is_section_word(word(at + 1));
        if (open_records_.empty() || word(at - 1) != ";" || !may_follow) return;
        const std::size_t open = open_records_.back();
        open_records_.pop_back();
        found_.push_back(record_by(open, {{open, "{"}, {at, "}"}}));
    }
    Misread record_by(std::size_t at,
                      std::vector<std::pair<std::size_t, std::string_view>> words) const {
        return {{at, at},
                "unexpected " + in_quotes(word(at)),
                "a record is '{ ... }'",
                std::move(words),
                true};
    }

    bool is_comparison(std::size_t at) const {
        return std::ranges::find(comparisons, word(at)) != comparisons.end();
    }
    // Whether the operand that ends there is one of a comparison, and comparisons have no chains.
    bool ends_comparison(std::size_t end) const {
        for (std::size_t i = end; i-- > 0;) {
            if (is_comparison(i)) return true;
            const bool goes_on = source_.tokens()[i].kind != TokenKind::mark || word(i) == ".";
            if (!goes_on || may_follow_a_name(word(i)) || is_section_word(word(i))) return false;
        }
        return false;
    }

    // a > 3; -> b, often by a macro. What goes on may also have lost its beginning, which no other
    // file has.
    void semicolon_within(std::size_t at) {
        if (!is_in_rules_ || word(at) != ";" ||
            std::ranges::find(infix_marks, word(at + 1)) == infix_marks.end())
            return;
        if (is_comparison(at + 1) && ends_comparison(at)) return;
        if (source_.place(at).file != source_.place(at + 1).file) return;
        const std::string& macro = source_.macro_of(at);
        found_.push_back({{at, at},
                          "unexpected ';'",
                          macro.empty()
                              ? "take it out"
                              : "take the ';' out of the definition of " + in_quotes(macro),
                          {{at, ""}},
                          word(at + 1) == "then" || word(at + 1) == "else"});
    }

    const SourceText& source_;
    std::unordered_set<std::string_view> names_; // words that stand where no section begins
    std::vector<std::size_t> open_records_;
    bool is_in_rules_ = false;
    std::vector<Misread> found_;
};

} // namespace

std::vector<Misread> misread_words(const SourceText& source) {
    return Search(source).run();
}

} // namespace norvane::driver
