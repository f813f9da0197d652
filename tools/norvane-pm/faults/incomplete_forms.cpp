#include "incomplete_forms.h"

#include <algorithm>
#include <array>

namespace norvane::driver {
namespace {

constexpr auto enumeration_words =
    std::to_array<std::string_view>({"enum", "enumeration", "oneof"});
constexpr auto list_words =
    std::to_array<std::string_view>({"list", "List", "vector", "sequence", "seq", "table"});
// What an operand stands after, and what one stands before.
constexpr auto marks_before_operand = std::to_array<std::string_view>(
    {"and", "or", "xor", "not", "->", "<->", "=", "<>", "<",    "<=",  ">",
     ">=",  "+",  "-",   "*",   "/",  "(",   ".", "if", "then", "else"});
constexpr auto marks_after_operand = std::to_array<std::string_view>(
    {"and", "or", "xor", "->", "<->", "=", "<>", "<", "<=", ">", ">=", "+", "*", "/", ")", ";"});
constexpr auto words_of_operands = std::to_array<std::string_view>(
    {"not", "true", "false", "if", "case", "forall", "exist", "sum", "product", "order"});
constexpr auto words_of_types = std::to_array<std::string_view>({"[", "{", "array", "optional"});
constexpr auto open_quotes = std::to_array<std::string_view>({"“", "”", "‘", "’", "'"});

class Search : MistakeSearch {
  public:
    using MistakeSearch::MistakeSearch;

    std::vector<Mistake> before_words() {
        other_quotes();
        is_not();
        for_all();
        enumeration_by_word();
        value_of_variable();
        return std::move(found_);
    }
    std::vector<Mistake> run() {
        if (error_.statement.is_rule())
            in_rule();
        else
            in_declaration();
        letter_of_name();
        return std::move(found_);
    }

  private:
    void in_rule() {
        other_operator();
        indices();
        decimals();
        order_of_name();
        field_without_point();
        label_of_two_words();
        if (error_.word() == "::")
            add(at({token(), token()}, unexpected(),
                   "a label stands by itself, and a field after '.'"));
        braces();
        brackets();
        loop();
        declaration_among_rules();
        missing_operand();
        if (error_.word() == "if" && is_in_statement("else", token(), error_.statement.end) &&
            !is_in_statement("then", token(), error_.statement.end))
            add_hint("write 'if CONDITION then RULE else RULE'");
        if (is_one_of(error_.word(), words_of_operands))
            add_hint(error_.word() == "not" && error_.word(1) == "in"
                         ? "write one comparison with '<>' for each value, joined by 'and'"
                         : "an operator may be missing before it");
        if (error_.word() == ",") add_hint("write 'and', or ';' between two rules");
        if (error_.word() == "..")
            add_hint("a comparison has one value: write two, joined by 'and'");
        if (error_.word(-1) == "*" && error_.word() == "/")
            add_hint("it ends no comment: a comment begins with '/*'");
    }
    void in_declaration() {
        bare_range();
        decimals();
        labels_in_parentheses();
        comma();
        array();
        if (is_type_mark(error_.word(-1)))
            type_or_value();
        else if (!error_.statement.section.empty())
            name();
        if (error_.word() == "?" || error_.word() == "optional")
            add_hint("write 'optional' before the type");
    }

    bool is_in_statement(std::string_view word, std::size_t first, std::size_t end) const {
        for (std::size_t i = first; i < end; ++i)
            if (source_.word(i) == word) return true;
        return false;
    }
    bool is_declared_before() const {
        return is_in_statement(":", error_.statement.first, token());
    }
    // The bracket or parenthesis that is open at the error; the error itself if there is none.
    std::size_t open_bracket() const {
        unsigned depth = 0;
        for (std::size_t i = token(); i-- > error_.statement.first;) {
            const std::string_view word = source_.word(i);
            if (word == ")" || word == "]") ++depth;
            if ((word == "(" || word == "[") && depth-- == 0) return i;
        }
        return token();
    }
    void change(std::size_t where, Edit edit, std::string hint, bool is_certain = false) {
        Mistake mistake =
            at({where, where}, "unexpected " + in_quotes(source_.word(where)), std::move(hint));
        mistake.edits[where] = std::move(edit);
        mistake.is_certain = is_certain;
        mistake.has_to_parse = true;
        add(std::move(mistake));
    }

    // grün, in code page 1252 or UTF-8; other bytes that begin no token are part of no name.
    void letter_of_name() {
        if (token() <= 1 && error_.word() == "\xfe")
            return add_hint("the file is in UTF-16: save it in code page 1252");
        const bool is_letter = static_cast<unsigned char>(error_.word().front()) >= 0x80;
        const bool is_in_name = is_name(-1)
                                    ? source_.touches_the_one_before(token())
                                    : is_name(1) && source_.touches_the_one_before(token() + 1);
        if (is_letter && is_in_name)
            add_hint("a name consists of the letters A to Z and a to z, digits and '_'");
    }

    // 'red', or the same in typographic quotes
    void other_quotes() {
        const std::size_t first = token();
        if (!is_one_of(error_.word(), open_quotes)) return;
        std::size_t last = first + 1;
        while (last < error_.statement.end && !is_one_of(source_.word(last), open_quotes))
            ++last;
        if (last >= error_.statement.end || source_.place(last).line != source_.place(first).line)
            return add_hint("texts and labels are in double quotes");
        if (!is_plain_text(first, last)) return add_hint("texts and labels are in double quotes");
        const std::string text = "\"" + text_of(first + 1, last) + "\"";
        rewrite({first, last}, unexpected(), "texts and labels are in double quotes: " + text, text,
                true);
        found_.back().has_to_parse = false;
        found_.back().has_to_go_on = true;
    }

    // Whether what stands between two tokens can be in double quotes as it is.
    bool is_plain_text(std::size_t first, std::size_t last) const {
        for (std::size_t i = first; i <= last; ++i) {
            const Token& token = source_.tokens()[i];
            const bool is_quote = i == first || i == last;
            if (!is_quote && (token.kind == TokenKind::string || source_.word(i) == "\\"))
                return false;
            if (i > first &&
                token.offset > source_.tokens()[i - 1].offset + source_.tokens()[i - 1].length + 1)
                return false;
        }
        return true;
    }

    // x is not 3
    void is_not() {
        if (error_.word() == "is" && error_.word(1) == "not")
            rewrite({token(), token() + 1}, "unexpected 'is not'", "write '<>'", "<>", false);
    }

    // for all i in [0..2] : (...)
    void for_all() {
        if (error_.word(-1) == "for" && error_.word() == "all" && error_.word(2) == "in")
            rewrite({token() - 1, token()}, "unexpected 'for all'", "write 'forall'", "forall",
                    true);
        if (!found_.empty()) found_.back().has_to_parse = false;
    }

    // T : enum [a, b];
    void enumeration_by_word() {
        if (error_.word() != "[" || !is_one_of(error_.word(-1), enumeration_words)) return;
        change(token() - 1, instead(""), "an enumeration is '[a, b]': take it out", true);
    }

    // x : boolean = true;
    void value_of_variable() {
        const std::string_view word = error_.word();
        const bool is_value = word == "=" || word == ":=" || word == "default";
        if (is_value && !error_.statement.is_rule() && is_declared_before())
            add_hint("a variable is declared without a value: what always holds is a rule");
    }

    // Rules.

    void other_operator() {
        if (error_.word() == "?" && is_in_statement(":", token(), error_.statement.end))
            add_hint("write 'if CONDITION then RULE else RULE'");
        const bool is_twice = (error_.word() == "+" || error_.word() == "-") &&
                              error_.word(-1) == error_.word() &&
                              source_.touches_the_one_before(token());
        if (is_twice) add_hint("a rule says what holds: nothing is set");
        if (error_.word() == ":=") change(token(), instead("="), "write '='");
        if (error_.word() == "|") {
            change(token(), instead("or"), "write 'or'");
            found_.back().is_guess = true;
        }
    }

    // 5. and 1,5 and 1e3
    void decimals() {
        if (!is_number(-1) || !source_.touches_the_one_before(token())) return;
        const std::string whole(error_.word(-1));
        const bool is_followed = source_.touches_the_one_before(token() + 1);
        if (error_.word() == "." && !is_number(1) && !is_name(1))
            rewrite({token() - 1, token()}, "a number ends with a digit", "write " + whole + ".0",
                    whole + ".0", false);
        if (error_.word() == "," && is_number(1) && is_followed) {
            const std::string text = whole + "." + std::string(error_.word(1));
            rewrite({token() - 1, token() + 1}, unexpected(), "decimals have a '.': write " + text,
                    text, false);
            found_.back().is_guess = true;
        }
        if (is_name(0)) add_hint("a number has decimal digits and at most one '.'");
    }

    // order size < 3
    void order_of_name() {
        if (error_.word(-1) != "order" || !is_name(0)) return;
        const std::string text = "(" + std::string(error_.word()) + ")";
        rewrite({token(), token()}, unexpected(), "write order" + text, text, true);
    }

    // x[0, 1], x[], x[0..2]
    void indices() {
        const std::size_t open = open_bracket();
        const bool is_index = open > error_.statement.first && open < token() &&
                              source_.word(open) == "[" && source_.word(open - 1) != "in";
        if (!is_index) return;
        if (error_.word() == ",")
            change(token(), instead("]["), "each index has its own brackets: write x[0][1]");
        else if (error_.word() == ".." || error_.word() == ":" || error_.word() == "*")
            add_hint("an index is one number: a loop goes over several");
        else if (open + 1 == token())
            add_hint("an index is missing");
    }

    // x[0]y
    void field_without_point() {
        if (error_.word(-1) != "]" || !is_name(0) || !source_.touches_the_one_before(token()))
            return;
        change(token(), {".", std::nullopt, ""}, "a '.' may be missing before a field");
        found_.back().is_guess = true;
    }

    // deep blue, where "deep blue" is a label
    void label_of_two_words() {
        if (!is_name(-1) || !is_name(0)) return;
        const std::string label = text_of(token() - 1, token() + 1);
        if (!error_.uses.has_text(label)) return;
        const std::string text = "\"" + label + "\"";
        rewrite({token() - 1, token()}, "a label that is not a plain name needs quotes",
                "write " + text, text, true);
    }

    // if (a) { b; }
    void braces() {
        if (error_.word() != "{") return;
        if (error_.word(-1) == ":") return add_hint("the body of a loop stands in '(' and ')'");
        const bool is_condition = source_.word(error_.statement.first) == "if";
        add_hint(is_condition ? "a rule has no braces: write 'if CONDITION then RULE'"
                              : "a rule has no braces: it is grouped by '(' and ')'");
    }

    // [a and b]
    void brackets() {
        if (error_.word() != "[") return;
        const std::size_t end = closing(token());
        if (end >= error_.statement.end) return;
        Mistake mistake = at({token(), end}, unexpected(), "rules are grouped by '(' and ')'");
        mistake.edits[token()] = instead("(");
        mistake.edits[end] = instead(")");
        mistake.has_to_parse = true;
        add(std::move(mistake));
    }

    // The part of a loop or a case before its body.
    void loop() {
        for (std::size_t i = token(); i-- > error_.statement.first;) {
            const std::string_view word = source_.word(i);
            if (word == "case" && token() > i + 1)
                return add_hint("a case is 'case x of VALUE then RULE | ... default RULE esac'");
            if (word == ":" || word == "of") return;
            if (!is_loop_word(word)) continue;
            if (error_.word() == ":" && i + 2 == token())
                change(token(), instead("in"), "write 'in'", true);
            if (error_.word() == ",")
                return add_hint("a loop has one variable and one range: write another loop in its "
                                "body, or a range such as [0..2]");
            return add_hint("a loop is '" + std::string(word) + " i in [0..2] : (...)'");
        }
    }

    void declaration_among_rules() {
        if (error_.word() != ":" || !is_name(-1)) return;
        const bool is_type = is_one_of(error_.word(1), words_of_types) ||
                             is_built_in_type(error_.word(1)) ||
                             (is_name(1) && error_.word(2) == ";");
        if (!is_type) {
            if (token() == error_.statement.first + 1) add_hint("a rule has no name");
            return;
        }
        add_hint(error_.statement.depth > 0
                     ? "the fields of a record come before its rules"
                     : "declarations come after 'constant', 'type' or 'variable'");
    }

    // a and; and a; a -> -> b
    void missing_operand() {
        if (!is_one_of(error_.word(), marks_after_operand)) return;
        if (token() == error_.statement.first) return add_hint("an operand is missing before it");
        if (error_.word(-1) == ".") return add_hint("the name of a field is missing before it");
        if (is_one_of(error_.word(-1), marks_before_operand))
            add_hint("an operand is missing between " + in_quotes(error_.word(-1)) + " and " +
                     in_quotes(error_.word()));
    }

    // Declarations.

    // x : 0..9;
    void bare_range() {
        if (!is_number(0) || !is_type_mark(error_.word(-1)) || error_.word(1) != "..") return;
        const std::string text = "[" + text_of(token(), token() + 3) + "]";
        rewrite({token(), token() + 2}, unexpected(), "write " + text, text, true);
    }

    // x : (a, b);
    void labels_in_parentheses() {
        if (error_.word() != "(" || !is_type_mark(error_.word(-1))) return;
        const std::size_t end = closing(token());
        if (end >= error_.statement.end) return;
        Mistake mistake =
            at({token(), end}, unexpected(), "labels and ranges stand in '[' and ']'");
        mistake.edits[token()] = instead("[");
        mistake.edits[end] = instead("]");
        mistake.has_to_parse = true;
        // A single name may be that of a type.
        mistake.is_certain = !is_name(1) || end > token() + 2;
        add(std::move(mistake));
    }

    // [a, ], a, : boolean; a : boolean, b : boolean;
    void comma() {
        if (error_.word(-1) == "," && error_.word() == "]")
            change(token() - 1, instead(""), "take it out", true);
        if (error_.word(-1) == "," && error_.word() == ":")
            change(token() - 1, instead(""), "take it out, or write a name after it");
        const bool is_next =
            error_.word(2) == ":" || error_.word(1) == "public" || error_.word(1) == "private";
        if (error_.word() == "," && is_declared_before() && is_next)
            change(token(), instead(";"), "write ';'", true);
    }

    void array() {
        if (error_.word() == "of" && error_.word(-1) == "array")
            add_hint("write how many elements it has: array 3 of");
        else if ((error_.word() == "of" || error_.word() == "<") &&
                 is_one_of(error_.word(-1), list_words))
            add_hint("write 'array SIZE of TYPE'");
        const std::size_t open = open_bracket();
        if (open == token() || source_.word(open) != "[") return;
        if (error_.word() == "]" && open + 1 == token())
            add_hint("an enumeration has at least one label");
        else if (is_number(0) || is_number(-1) || error_.word() == ".." || error_.word() == "-")
            add_hint(source_.word(open + 1) == "0" ? "a range is '[0..9]'"
                                                   : "a range is '[0..9]': it begins at 0");
    }

    // x : ; and y : -5..5;
    void type_or_value() {
        const bool is_range = is_number(0) || error_.word() == "-";
        if (error_.statement.section == "constant")
            add_hint("a value is missing here, such as 3 or true");
        else
            add_hint(is_range ? "a range is '[0..9]': it begins at 0"
                              : "a type is missing here, such as boolean, [0..9] or [red, green]");
    }

    void name() {
        const std::string_view word = error_.word();
        const bool is_token = source_.tokens()[token()].kind != TokenKind::unknown;
        if (!is_token || is_declared_before()) return;
        if (word == "public" || word == "private")
            return add_hint("a name has one of 'public' and 'private'");
        if (is_built_in_type(word) && is_name(1))
            return add_hint("the type comes after the names: " + std::string(error_.word(1)) +
                            " : " + std::string(word));
        const bool is_in_name = !is_name(-1) || source_.touches_the_one_before(token());
        const bool is_mark = word == "-" || word == "." || word.starts_with('"');
        if ((is_number(0) || is_mark) && is_in_name)
            return add_hint("a name consists of letters, digits and '_', and begins with no digit");
        add_hint(error_.statement.section == "constant" ? "a declaration is 'NAME : VALUE'"
                                                        : "a declaration is 'NAME : TYPE'");
    }
};

} // namespace

std::vector<Mistake> forms_before_words(const SyntaxError& error) {
    return Search(error).before_words();
}

std::vector<Mistake> incomplete_forms(const SyntaxError& error) {
    return Search(error).run();
}

} // namespace norvane::driver
