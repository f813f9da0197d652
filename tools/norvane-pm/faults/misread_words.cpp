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
struct SectionWord {
    std::string_view word;
    std::string_view meant;
};
constexpr auto other_section_words = std::to_array<SectionWord>({{"const", "constant"},
                                                                 {"consts", "constant"},
                                                                 {"define", "constant"},
                                                                 {"var", "variable"},
                                                                 {"vars", "variable"},
                                                                 {"typedef", "type"},
                                                                 {"assert", "rule"},
                                                                 {"begin", "rule"}});
constexpr auto type_words =
    std::to_array<std::string_view>({"array", "optional", "boolean", "integer", "float", "string"});
constexpr auto comparisons =
    std::to_array<std::string_view>({"=", "<>", "<", "<=", ">", ">=", "==", "!="});
// What a rule goes on with.
constexpr auto infix_marks = std::to_array<std::string_view>(
    {"->",  "<->", "=",   "<>",   "<",    "<=",      ">",   ">=", "+",  "*",  "/", ")",
     "and", "or",  "xor", "then", "else", "implies", "iff", "&&", "||", "==", "=>"});
constexpr auto marks_within_type = std::to_array<std::string_view>({"of", "]", ".."});

class Search {
  public:
    explicit Search(const SourceText& source) : source_(source) {
        for (std::size_t i = 0; i < source_.size(); ++i)
            if (is_word(i) && !is_heading(i) &&
                (!begins_statement(i) || word(i + 1) == ":" || word(i + 1) == ","))
                names_.insert(word(i));
        for (std::size_t i = 0; i < source_.size(); ++i)
            if (is_reserved_name(i)) reserved_names_.insert(word(i));
    }

    std::vector<Misread> run() {
        for (std::size_t i = 0; i < source_.size(); ++i) {
            comment(i);
            if (i < commented_) continue;
            reserved_name(i);
            section(i);
            other_file(i);
            begin_or_end(i);
            mark_after_section(i);
            semicolon_for_colon(i);
            comma_at_end(i);
            range_of_other_form(i);
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
        while (at > 0 && word(at - 1).starts_with("//"))
            --at;
        const std::string_view before = at > 0 ? word(at - 1) : ";";
        return before == ";" || is_section_word(before) || (at == commented_ && at > 0);
    }
    static std::string_view section_meant_by(std::string_view said) {
        std::string lower(said);
        std::ranges::transform(lower, lower.begin(), [](char c) {
            return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c;
        });
        if (lower.starts_with("constraint")) return "rule";
        if (lower.starts_with("param")) return "variable";
        for (const SectionWord& other : other_section_words)
            if (other.word == lower) return other.meant;
        return most_similar(lower, section_words);
    }

    // A word alone on its line, with or without ':', and what it begins on the next one.
    bool is_heading(std::size_t at) const {
        const std::size_t next = word(at + 1) == ":" ? at + 2 : at + 1;
        return is_word(at) && begins_statement(at) && source_.begins_line(at) &&
               next < source_.size() && source_.begins_line(next) && !begins_type(next) &&
               (is_word(next) || word(next) == "(");
    }
    // No statement has a name and then another word that can begin one.
    bool may_be_section(std::size_t at) const {
        if (!is_word(at) || is_reserved(word(at)) || names_.contains(word(at))) return false;
        if (is_heading(at)) return !may_follow_a_name(word(at + 1));
        return begins_statement(at) && is_word(at + 1) && !may_follow_a_name(word(at + 1));
    }
    void section(std::size_t at) {
        if (!may_be_section(at)) return;
        std::string lower(word(at));
        std::ranges::transform(lower, lower.begin(),
                               [](unsigned char c) { return std::tolower(c); });
        if (is_reserved(lower) && !is_section_word(lower)) return; // TRUE AND ...
        const std::string_view meant = section_meant_by(word(at));
        if (meant.empty()) return;
        if (word(at) == "begin" && at > 0 && is_section_word(word(at - 1))) return;
        const bool is_parameter = lower.starts_with("param");
        add({at, at}, unexpected(at),
            is_parameter ? "did you mean 'constant' or 'variable'?"
                         : "did you mean " + in_quotes(meant) + "?",
            {{at, std::string(meant)}}, !is_parameter);
        if (word(at + 1) == ":") found_.back().words.emplace_back(at + 1, "");
    }

    void add(TokenRange range, std::string message, std::string hint,
             std::vector<std::pair<std::size_t, std::string>> words, bool is_certain = true) {
        found_.push_back(
            {range, std::move(message), std::move(hint), std::move(words), is_certain});
    }
    std::string unexpected(std::size_t at) const { return "unexpected " + in_quotes(word(at)); }

    // The last token of the line that a token is on.
    std::size_t end_of_line(std::size_t at) const {
        while (at + 1 < source_.size() && !source_.begins_line(at + 1))
            ++at;
        return at;
    }

    // The preprocessor takes a directive only at the beginning of its line, so the scanner meets
    // one that is indented.
    static bool is_directive(std::string_view name) {
        constexpr std::string_view names[] = {"define", "elif",  "else",   "endif",   "error",
                                              "if",     "ifdef", "ifndef", "include", "line",
                                              "pragma", "undef", "warning"};
        return std::ranges::find(names, name) != std::end(names);
    }

    // Two words, or a line after a blank: `--n` could be a number.
    bool is_text(std::size_t at) const {
        return (is_label(at) && is_label(at + 1)) ||
               (source_.begins_line(at - 2) && !source_.touches_the_one_before(at));
    }

    // `// text`, `# text`, `% text`, `-- some text`
    void comment(std::size_t at) {
        const bool begins = source_.begins_line(at) || begins_statement(at);
        const bool is_slash = word(at).starts_with("//");
        const bool is_dash = word(at) == "-" && word(at + 1) == "-" && at + 2 < source_.size() &&
                             source_.touches_the_one_before(at + 1) && is_text(at + 2);
        const bool is_hash = word(at) == "#" && !is_directive(word(at + 1));
        const bool is_mark = begins && (is_dash || is_hash || word(at) == "%");
        if (!is_slash && !is_mark) return;
        const std::string_view mark = is_slash ? "//" : is_dash ? "--" : word(at);
        add({at, is_slash ? at : end_of_line(at)}, "unexpected " + in_quotes(mark),
            "comments go from '/*' to '*/'", {});
        Misread& misread = found_.back();
        misread.is_comment = true;
        for (std::size_t i = at; i <= misread.range.last; ++i)
            misread.words.emplace_back(i, "");
        commented_ = misread.range.last + 1;
    }

    // variable type : [small, large]; but not `rule : a;`, where the colon is too much
    bool is_reserved_name(std::size_t at) const {
        if (!is_word(at) || !is_reserved(word(at)) || word(at + 1) != ":") return false;
        if (word(at) == "default" || !begins_declaration(at)) return false;
        return !is_section_word(word(at)) || begins_type(at + 2);
    }
    bool begins_declaration(std::size_t at) const {
        const std::string_view before = at > 0 ? word(at - 1) : "";
        return before == "public" || before == "private" || before == "," || before == "{" ||
               begins_statement(at);
    }
    bool is_type_word(std::size_t at) const {
        return std::ranges::find(type_words, word(at)) != type_words.end();
    }
    bool begins_type(std::size_t at) const {
        return word(at) == "[" || word(at) == "{" || is_type_word(at) ||
               (is_label(at) && word(at + 1) == ";");
    }
    void reserved_name(std::size_t at) {
        if (!is_word(at) || !reserved_names_.contains(word(at))) return;
        const bool is_declared = is_reserved_name(at);
        const bool is_used = is_comparison(at + 1) || word(at + 1) == "." || word(at + 1) == "->" ||
                             word(at + 1) == "<->" || is_type(at);
        if (!is_declared && !is_used) return;
        const std::string name = std::string(word(at)) + "_";
        add({at, at}, in_quotes(word(at)) + " is a reserved word, and cannot be a name",
            "choose another name, such as " + in_quotes(name), {{at, name}}, false);
        found_.back().is_told = is_declared;
    }

    // include "x.pm"; import x
    void other_file(std::size_t at) {
        if ((word(at) != "include" && word(at) != "import") || !is_label(at + 1)) return;
        const bool is_line = source_.begins_line(at) && word(at + 1).starts_with('"');
        if (!is_line && (!begins_statement(at) || names_.contains(word(at)))) return;
        const bool is_ended = word(at + 2) == ";";
        if (!is_ended && at + 2 < source_.size() && !source_.begins_line(at + 2)) return;
        const std::string said(word(at + 1));
        const std::string file = said.starts_with('"') ? said : "\"" + said + ".pm\"";
        add({at, at + 1}, unexpected(at),
            "write #include " + file + " on a line of its own, without ';'",
            {{at, ""}, {at + 1, ""}}, false);
        if (is_ended) found_.back().words.emplace_back(at + 2, "");
        found_.back().hides_names = true;
    }

    // rule begin a; end;
    void begin_or_end(std::size_t at) {
        if (!begins_statement(at) || names_.contains(word(at))) return;
        if (word(at) == "begin" && at > 0 && is_section_word(word(at - 1)))
            add({at, at}, unexpected(at), "a section has no 'begin' and 'end'", {{at, ""}});
        const bool is_end =
            word(at) == "end" && open_records_.empty() &&
            (at + 1 == source_.size() || word(at + 1) == ";" || is_section_word(word(at + 1)));
        if (!is_end) return;
        add({at, at}, unexpected(at), "a section ends where the next one begins: take it out",
            {{at, ""}});
        if (word(at + 1) == ";") found_.back().words.emplace_back(at + 1, "");
    }

    // rule: a; rule { a; }
    void mark_after_section(std::size_t at) {
        if (at == 0 || !is_section_word(word(at - 1))) return;
        if (word(at) == ":" && !is_reserved_name(at - 1))
            add({at, at}, unexpected(at), "take it out", {{at, ""}});
        const std::size_t end = word(at) == "{" ? closing_brace(at) : source_.size();
        if (end >= source_.size()) return;
        add({at, at}, unexpected(at), "a section has no '{' and '}': take both out",
            {{at, ""}, {end, ""}});
        if (word(end + 1) == ";") found_.back().words.emplace_back(end + 1, "");
    }
    std::size_t closing_brace(std::size_t open) const {
        unsigned depth = 0;
        for (std::size_t i = open; i < source_.size(); ++i) {
            if (word(i) == "{") ++depth;
            if (word(i) == "}" && --depth == 0) return i;
        }
        return source_.size();
    }

    // a ; boolean;
    void semicolon_for_colon(std::size_t at) {
        const bool is_entry = !is_in_rules_ && word(at) == ";" && is_type_word(at + 1);
        if (is_entry && at > 0 && is_label(at - 1) && begins_declaration(at - 1))
            add({at, at}, unexpected(at), "write ':'", {{at, ":"}});
    }

    // [0;9], [0:9]
    void range_of_other_form(std::size_t at) {
        const auto is_number = [this](std::size_t i) {
            return i < source_.size() && source_.tokens()[i].kind == TokenKind::number;
        };
        const bool is_mark = word(at + 2) == ";" || word(at + 2) == ":";
        if (word(at) != "[" || !is_mark || !is_type(at) || word(at + 4) != "]") return;
        if (is_number(at + 1) && is_number(at + 3))
            add({at + 2, at + 2}, unexpected(at + 2), "a range is '[0..9]'", {{at + 2, ".."}});
    }

    // variable a : boolean, rule a,
    void comma_at_end(std::size_t at) {
        const bool is_last = at + 1 == source_.size() || is_section_word(word(at + 1));
        if (word(at) == "," && is_last) add({at, at}, "unexpected ','", "write ';'", {{at, ";"}});
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
        const std::size_t first = has_word ? at - 1 : at;
        const bool is_set = first > 0 && word(first - 1) == "=" && !is_in_rules_;
        if (word(at) != "{" || !(is_type(first) || is_set)) return;
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
                      std::vector<std::pair<std::size_t, std::string>> words) const {
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
        if (word(at) != ";") return;
        const bool goes_on = is_in_rules_ ? is_one_of(word(at + 1), infix_marks)
                                          : is_one_of(word(at + 1), marks_within_type) &&
                                                !source_.macro_of(at).empty();
        if (!goes_on) return;
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
    std::unordered_set<std::string_view> reserved_names_;
    bool is_in_rules_ = false;
    std::size_t commented_ = 0; // after the last token of a comment
    std::vector<Misread> found_;
};

} // namespace

std::vector<Misread> misread_words(const SourceText& source) {
    return Search(source).run();
}

} // namespace norvane::driver
