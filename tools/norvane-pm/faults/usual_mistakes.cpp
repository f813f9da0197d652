#include "usual_mistakes.h"

#include <algorithm>
#include <array>
#include <optional>
#include <span>

#include "foreign_forms.h"
#include "incomplete_forms.h"

namespace norvane::driver {
namespace {

constexpr auto foreign_words = std::to_array<Foreign>({
    {"=>", "->", "write '->' for an implication, or '>=' for a comparison", false},
    {"==>", "->", ""},
    {"-->", "->", ""},
    {"<==>", "<->", ""},
    {"===", "=", ""},
    {"!==", "<>", ""},
    {"~=", "<>", ""},
    {"/=", "<>", "", false},
    {"≠", "<>", ""},
    {"≤", "<=", ""},
    {"≥", ">=", ""},
    {"→", "->", ""},
    {"⇒", "->", ""},
    {"↔", "<->", ""},
    {"∧", "and", ""},
    {"∨", "or", ""},
    {"¬", "not", ""},
    {"/\\", "and", ""},
    {"\\/", "or", ""},
    {"^", "", "write 'xor' for one of two; there are no powers"},
    {"+=", "", "a rule says what holds: nothing is set"},
    {"-=", "", "a rule says what holds: nothing is set"},
    {"*=", "", "a rule says what holds: nothing is set"},
    {"%", "", "there is no remainder of a division"},
    {"**", "", "there are no powers"},
    {"implies", "->", ""},
    {"iff", "<->", ""},
    {"nand", "", "write 'not (a and b)'"},
    {"nor", "", "write 'not (a or b)'"},
    {"xnor", "", "write '<->'"},
    {"exists", "exist", ""},
    {"for", "forall", ""},
    {"foreach", "forall", ""},
    {"requires", "->", ""},
    {"excludes", "-> not", "", false},
    {"between", "", "write two comparisons, joined by 'and'"},
    {"like", "", "a text is compared as a whole, by '=' and '<>'"},
    {"is", "=", "", false},
    {"end", "", "no statement of a model has an 'end'"},
    {"endif", "", "an 'if' has no end: take it out"},
    {"switch", "", "a case is 'case x of VALUE then RULE | ... default RULE esac'"},
    {"return", "", "a rule says what holds: nothing is returned"},
    {"mod", "", "there is no remainder of a division"},
    {"div", "", "integers have no division"},
    {"'", "", "texts and labels are in double quotes"},
});

constexpr auto marks = std::to_array<std::string_view>({")", "]", ",", ":", "then", "of", "|"});
class Search : MistakeSearch {
  public:
    using MistakeSearch::MistakeSearch;

    std::vector<Mistake> run() {
        open_string();
        if (!is_at_end()) move_all(forms_before_words(error_));
        replaced_words(foreign_words);
        move_all(foreign_forms(error_));
        declared_with_equals();
        range_from_one();
        loop_body();
        arm_of_case();
        words_as_label();
        missing_semicolon();
        surplus_semicolon();
        chained_comparison();
        list_of_values();
        reserved_name();
        missing_marks(marks);
        surplus_parenthesis();
        if (!is_at_end()) move_all(incomplete_forms(error_));
        missing_operator();
        return std::move(found_);
    }

  private:
    void move_all(std::vector<Mistake> mistakes) {
        std::ranges::move(mistakes, std::back_inserter(found_));
    }

    // constant N = 3; type T = [a, b];
    void declared_with_equals() {
        if (error_.statement.is_rule()) return;
        if (error_.word() == ":=" || (error_.word() == "in" && is_name(-1)))
            return other_mark(":", "a declaration has ':' after the name");
        if (error_.word() != "=") return;
        const bool may_be_rule = error_.statement.section != "constant" && !begins_type(1);
        if (!may_be_rule) return other_mark(":", "a declaration has ':' after the name");
        Mistake mistake = mistake_at(token());
        mistake.message = "unexpected '='";
        mistake.hint = "a declaration is 'NAME : TYPE'; rules come after the word 'rule'";
        mistake.declares_nothing = error_.uses.of(error_.word(-1)).count > 1;
        add(std::move(mistake));
    }
    bool begins_type(int offset) const {
        const std::string_view word = error_.word(offset);
        constexpr auto words = std::to_array<std::string_view>(
            {"[", "{", "array", "optional", "boolean", "integer", "float", "string"});
        return std::ranges::find(words, word) != words.end() || error_.uses.of(word).is_type;
    }

    // [1..5]: the parser has read the whole range.
    void range_from_one() {
        if (error_.word() != "]") return;
        std::size_t open = token();
        unsigned depth = 0;
        while (open > error_.statement.first) {
            if (source_.word(open) == "]") ++depth;
            if (source_.word(open) == "[" && --depth == 0) break;
            --open;
        }
        if (source_.word(open) != "[" || open + 2 >= token()) return;
        const bool is_range = source_.tokens()[open + 1].kind == TokenKind::number &&
                              source_.word(open + 1) != "0" && source_.word(open + 2) == "..";
        if (!is_range) return;
        Mistake mistake = mistake_at(open + 1);
        mistake.message = "a range begins at 0, and not at " + std::string(source_.word(open + 1));
        mistake.hint = "write [0.." + std::string(source_.word(open + 3)) +
                       "], and keep lower values out by a rule";
        mistake.edits[open + 1] = instead("0");
        add(std::move(mistake));
    }

    // forall i in [0..3] : a[i] > 0;
    void loop_body() {
        const std::size_t last = error_.statement.end - 1;
        if (is_at_end() || source_.word(last) != ";") return;
        if (error_.word(-1) == ":" && error_.word(-2) == "]" && is_in_sum())
            return add_hint("the body of a sum stands in '(' and ')': (sum i in [0..2] : (x[i]))");
        if (error_.word(-1) == ":" && error_.word(-2) == "]") {
            Mistake mistake = mistake_at(token());
            mistake.range.last = last - 1;
            mistake.message = "the body of a loop is not in parentheses";
            mistake.hint = "write '(' before it and ')' after it";
            mistake.edits[token()].before = "(";
            mistake.edits[last - 1].after = ")";
            mistake.has_to_parse = true;
            if (token() != last - 1) add(std::move(mistake));
        }
        if (error_.word() == "(" && error_.word(-1) == "]") {
            Mistake mistake = mistake_at(token() - 1);
            mistake.message = "no ':' before the body of a loop";
            mistake.hint = "write ':' before '('";
            mistake.edits[token() - 1].after = ":";
            mistake.is_certain = true;
            add(std::move(mistake));
        }
    }

    // Whether the loop whose body begins here adds or multiplies.
    bool is_in_sum() const {
        for (std::size_t i = token(); i-- > error_.statement.first;) {
            const std::string_view word = source_.word(i);
            if (word == "sum" || word == "product") return true;
            if (word == "forall" || word == "exist") return false;
        }
        return false;
    }

    bool is_in_case() const {
        unsigned depth = 0;
        for (std::size_t i = error_.statement.first; i < token(); ++i) {
            if (source_.word(i) == "case") ++depth;
            if (source_.word(i) == "esac" && depth > 0) --depth;
        }
        return depth > 0;
    }

    // case c of red : b, green : not b esac
    void arm_of_case() {
        if (!is_in_case()) return;
        const std::string_view word = error_.word();
        if (word == ":" && error_.word(-1) == "default")
            other_mark("", "a default has no ':'");
        else if (word == ":")
            other_mark("then", "an arm of a case is 'VALUE then RULE |'");
        else if (word == ",")
            other_mark("|", "an arm of a case ends with '|'");
        else if (word == "esac" || word == ";")
            add_hint("a case is 'case x of VALUE then RULE | ... default RULE esac'");
    }

    bool is_separator(std::size_t at) const {
        const std::string_view word = source_.word(at);
        return word == "," || word == "|" || word == "[" || word == "]" || word == ";";
    }
    // The tokens around the error, up to the separators of a list of labels; nothing elsewhere.
    std::optional<TokenRange> entry_of_list() const {
        TokenRange entry{token(), token()};
        while (entry.first > error_.statement.first && !is_separator(entry.first - 1))
            --entry.first;
        while (entry.last + 1 < error_.statement.end && !is_separator(entry.last + 1))
            ++entry.last;
        if (entry.first == error_.statement.first || entry.last + 1 >= source_.size()) return {};
        const std::string_view before = source_.word(entry.first - 1);
        if (before != "[" && before != ",") return {};
        return entry;
    }
    // The text of tokens that could be one label; nothing for those that could not.
    std::optional<std::string> label_of(TokenRange range) const {
        std::string label;
        for (std::size_t i = range.first; i <= range.last; ++i) {
            const std::string_view word = source_.word(i);
            const TokenKind kind = source_.tokens()[i].kind;
            if (kind == TokenKind::string || word == ":" || word == ".." || word == "." ||
                is_section_word(word))
                return {};
            if (i > range.first && !source_.touches_the_one_before(i)) label += ' ';
            label += word;
        }
        return label;
    }

    // [dark grey, red]
    void words_as_label() {
        if (error_.statement.is_rule() || is_at_end() || is_separator(token())) return;
        const auto range = entry_of_list();
        const auto label = range ? label_of(*range) : std::nullopt;
        if (!label) return;
        const std::string quoted_label = "\"" + *label + "\"";
        Mistake mistake;
        mistake.range = *range;
        mistake.message = "a label that is not a plain name needs quotes";
        mistake.hint = "write " + quoted_label;
        if (is_more_than_one_name(*range)) mistake.hint += ", or ',' between two labels";
        for (std::size_t i = range->first; i <= range->last; ++i)
            mistake.edits[i] = instead("");
        mistake.edits[range->first] = instead(quoted_label);
        mistake.instead = quoted_label;
        // A comma may be missing, or a range or quotes of another form be meant.
        const bool is_one_word = range->first == range->last && is_reserved(*label);
        mistake.is_certain = source_.is_free_of_comments(*range) &&
                             (is_one_word || error_.uses.has_text(*label)) && *label != "true" &&
                             *label != "false";
        add(std::move(mistake));
    }

    bool is_more_than_one_name(const TokenRange& range) const {
        for (std::size_t i = range.first; i <= range.last; ++i)
            if (!is_operand(i) || source_.tokens()[i].kind != TokenKind::word) return false;
        return range.first < range.last;
    }

    // x in [a, b]
    void list_of_values() {
        const bool is_in = error_.word() == "in" || error_.word() == "IN";
        if (!is_in || !error_.statement.is_rule()) return;
        Mistake mistake = mistake_at(token());
        mistake.message = unexpected() + ", which only loops have";
        mistake.hint = "write one comparison for each value, joined by 'or'";
        add(std::move(mistake));
    }

    // (a = b));
    void surplus_parenthesis() {
        if (error_.word() != ")") return;
        int open = 0;
        for (std::size_t i = error_.statement.first; i < token(); ++i)
            open += (source_.word(i) == "(") - (source_.word(i) == ")");
        if (open > 0) return;
        Mistake mistake = mistake_at(token());
        mistake.message = "unexpected ')'";
        mistake.hint = "it closes no '(': take it out";
        mistake.edits[token()] = instead("");
        mistake.is_guess = true;
        mistake.has_to_parse = true;
        add(std::move(mistake));
    }

    // a = 1 b;
    void missing_operator() {
        if (!error_.statement.is_rule() || is_at_end() || token() == error_.statement.first) return;
        if (is_operand(token()) && (is_operand(token() - 1) || error_.word(-1) == ")"))
            add_hint("an operator may be missing before it");
    }
    bool is_operand(std::size_t at) const {
        const TokenKind kind = source_.tokens()[at].kind;
        return kind == TokenKind::number || kind == TokenKind::string ||
               (kind == TokenKind::word && !is_reserved(source_.word(at)));
    }

    void reserved_name() {
        const bool is_word = !is_at_end() && is_reserved(error_.word());
        if (!is_word || error_.statement.is_rule() || is_section_word(error_.word())) return;
        const std::string_view next = error_.word(1);
        if (next != ":" && next != ",") return;
        Mistake mistake = mistake_at(token());
        mistake.message = in_quotes(error_.word()) + " is a reserved word, and cannot be a name";
        mistake.hint = "choose another name";
        add(std::move(mistake));
    }
};

} // namespace

std::vector<Mistake> possible_mistakes(const SyntaxError& error) {
    return Search(error).run();
}

} // namespace norvane::driver
