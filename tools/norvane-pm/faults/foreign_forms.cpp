#include "foreign_forms.h"

#include <algorithm>
#include <array>
#include <charconv>

#include "suggestions.h"

namespace norvane::driver {
namespace {

// Only rules have them.
constexpr auto marks_of_rules =
    std::to_array<std::string_view>({"->", "<->", "<", "<=", ">", ">=", "<>", "and", "or", "xor",
                                     "not", "if", "case", "forall", "exist"});

class Search : MistakeSearch {
  public:
    using MistakeSearch::MistakeSearch;

    std::vector<Mistake> run() {
        if (error_.statement.is_rule())
            in_rule();
        else
            in_declaration();
        number_with_commas();
        return std::move(found_);
    }

  private:
    void in_rule() {
        loop_over_values();
        loop_without_brackets();
        loop_in_parentheses();
        condition_with_colon();
        point_before_digits();
        number_with_unit();
        macro_with_space();
        call();
    }
    void in_declaration() {
        rule_among_declarations();
        macro_with_equals();
        type_before_name();
        name_of_two_words();
        question_mark();
        range_as_list();
        numbers_as_labels();
        array_after_type();
        array_of_range();
        constant_with_type();
    }

    bool is_type_word(int offset) const {
        return is_name(offset) || is_built_in_type(error_.word(offset));
    }

    // Rules.

    // forall p in pumps : (...)
    void loop_over_values() {
        if (error_.word(-1) != "in" || !is_name(0)) return;
        const bool is_array = error_.uses.of(error_.word()).is_array;
        add(at({token(), token()}, unexpected(),
               "a loop goes over numbers, which may be indices: forall i in [0..2] : (" +
                   (is_array ? std::string(error_.word()) + "[i] ...)" : "...)")));
    }

    // forall i in 0..2 : (...)
    void loop_without_brackets() {
        if (error_.word(-1) != "in" || error_.word(1) != ".." || token() + 2 >= source_.size())
            return;
        const TokenRange range{token(), token() + 2};
        const std::string text = "[" + text_of(range.first, range.last + 1) + "]";
        rewrite(range, unexpected(), "write " + text, text, true);
    }

    // sum(i in [0..2] : n)
    void loop_in_parentheses() {
        if (error_.word() != "(" || !is_loop_word(error_.word(-1))) return;
        const std::size_t end = closing(token());
        std::size_t colon = token();
        while (colon < end && source_.word(colon) != ":")
            ++colon;
        if (colon >= end) return;
        Mistake mistake =
            at({token() - 1, token()}, unexpected(),
               "a loop is '" + std::string(error_.word(-1)) + " i in [0..2] : (...)'");
        mistake.edits[token()] = instead("");
        mistake.edits[colon].after = "(";
        mistake.has_to_parse = true;
        add(std::move(mistake));
    }

    // if a : b
    void condition_with_colon() {
        if (error_.word() != ":") return;
        for (std::size_t i = token(); i-- > error_.statement.first;) {
            if (source_.word(i) == "then" || source_.word(i) == "case") return;
            if (source_.word(i) == "if") return other_mark("then", "write 'then'");
        }
    }

    // .5
    void point_before_digits() {
        if (error_.word() != "." || error_.word(-1) == ".." || !is_number(1)) return;
        const std::string text = "0." + std::string(error_.word(1));
        rewrite({token(), token() + 1}, "a number begins with a digit", "write " + text, text,
                true);
        found_.back().is_guess = true; // a range has no decimals
    }

    // 20t; what stands apart from the number is rather the next statement, or an operator is
    // missing
    void number_with_unit() {
        if (!is_number(-1) || !is_name(0) || !source_.touches_the_one_before(token())) return;
        const std::string_view digits = "0123456789";
        if (error_.word() == "e" || error_.word() == "E") return;                  // 1e-3
        if (error_.word().find_first_of(digits) != std::string_view::npos) return; // 0x10, 1e3
        rewrite({token(), token()}, unexpected(), "numbers have no units", "", false);
    }

    // load(3), and needs(a, b), which a macro could do
    void call() {
        if (error_.word() != "(" || !is_name(-1) || error_.word(-1).starts_with("for")) return;
        const std::size_t end = closing(token());
        const std::string_view name = error_.word(-1);
        const bool is_index = end == token() + 2 && end + 1 < source_.size() &&
                              error_.uses.of(name).is_array &&
                              (is_number(1) || source_.word(end + 1) == ".");
        if (is_index) {
            Mistake mistake = at({token(), end}, unexpected(), "an index stands in '[' and ']'");
            mistake.edits[token()] = instead("[");
            mistake.edits[end] = instead("]");
            mistake.is_certain = true;
            add(std::move(mistake));
        }
        add(at({token() - 1, token() - 1},
               in_quotes(name) + " is used like a function, but is not a macro",
               "define it by #define or include the file that does: there are no functions"));
    }

    // #define NEEDS (a, b)
    void macro_with_space() {
        if (error_.word() != "," || !source_.is_from_macro(token())) return;
        add(at({token(), token()}, unexpected(),
               "if " + in_quotes(source_.macro_of(token())) +
                   " takes arguments, no space stands before the '(' of its definition"));
    }

    // Declarations.

    // It declares nothing, so the names in it are not lost.
    void rule_among_declarations() {
        const bool follows = is_one_of(error_.word(), marks_of_rules) || error_.word() == "=" ||
                             error_.word() == "." || error_.word() == "[";
        const bool names = token() == error_.statement.first || error_.word(-1) != ":";
        const auto is_mark = [this](std::size_t i) {
            return is_one_of(source_.word(i), marks_of_rules);
        };
        if (!follows || !names) return;
        for (std::size_t i = error_.statement.first; i < error_.statement.end; ++i) {
            if (source_.word(i) == ":" && i < token()) return;
            if (!is_mark(i)) continue;
            Mistake mistake =
                at({error_.statement.first, error_.statement.end - 1}, "a rule among declarations",
                   error_.statement.depth > 0
                       ? "the rules of a record come after its fields and 'rule'"
                       : "rules come after the word 'rule'");
            mistake.declares_nothing = true;
            return add(std::move(mistake));
        }
    }

    // #define N = 3
    void macro_with_equals() {
        const std::string& macro = is_at_end() ? std::string() : source_.macro_of(token());
        if (error_.word() != "=" || macro.empty()) return;
        Mistake mistake = at({token(), token()}, unexpected(),
                             "take the '=' out of the definition of " + in_quotes(macro));
        mistake.edits[token()] = instead("");
        add(std::move(mistake));
    }

    // string brand; Cover front; but not `front Cover;`, where a colon is missing
    void type_before_name() {
        const int type = is_built_in_type(error_.word()) ? 0 : -1;
        const std::size_t first = token() + static_cast<std::size_t>(type);
        if (!is_type_word(type) || !is_name(type + 1)) return;
        const WordUse& use = error_.uses.of(error_.word());
        const bool is_name_first = use.is_type || use.is_declared;
        if (type < 0 && is_name_first && !error_.uses.of(error_.word(-1)).is_type) return;
        if (first + 2 >= source_.size() || source_.word(first + 2) != ";") return;
        const std::string_view said = error_.word(type);
        const bool is_foreign = !type_instead_of(said).empty() && !error_.uses.of(said).is_declared;
        const std::string text = std::string(error_.word(type + 1)) + " : " +
                                 std::string(is_foreign ? type_instead_of(said) : said);
        rewrite({first, first + 1}, "the type comes after the name", "write " + text, text,
                type == 0 || is_foreign);
    }

    // max torque : float;
    void name_of_two_words() {
        if (!is_name(-1) || !is_name(0) || error_.word(1) != ":") return;
        const std::string text = std::string(error_.word(-1)) + "_" + std::string(error_.word());
        rewrite({token() - 1, token()}, "a name is one word",
                "write " + text + ", or ',' between two names", text, false);
    }

    // disk? : boolean;
    void question_mark() {
        if (error_.word() != "?" || error_.word(1) != ":") return;
        Mistake mistake = at({token(), token()}, unexpected(),
                             "write 'optional' before the type of what need not be there");
        mistake.edits[token()] = instead("");
        mistake.edits[token() + 1].after = "optional";
        mistake.has_to_parse = true;
        mistake.is_certain = true;
        add(std::move(mistake));
    }

    // int N = 3; where constants stand
    void constant_with_type() {
        const std::string_view type = error_.word(-1);
        const bool is_foreign = !type_instead_of(type).empty() && !error_.uses.of(type).is_declared;
        const bool is_value = error_.word(1) == "=" || error_.word(1) == ":";
        if (error_.statement.section != "constant" || !is_name(0) || !is_value ||
            !(is_foreign || is_built_in_type(type)))
            return;
        Mistake mistake = at({token() - 1, token()}, "a constant has no type",
                             "write " + std::string(error_.word()) + " : VALUE");
        mistake.edits[token() - 1] = instead("");
        mistake.edits[token() + 1] = instead(":");
        mistake.has_to_parse = true;
        mistake.is_certain = true;
        add(std::move(mistake));
    }

    // [0, 64], [0, MAX]
    void range_as_list() {
        const bool is_pair = error_.word(-2) == "[" && error_.word(-1) == "0" &&
                             error_.word() == "," && error_.word(2) == "]";
        if (!is_pair || !(is_name(1) || is_number(1))) return;
        const std::string text = "[0.." + std::string(error_.word(1)) + "]";
        rewrite({token() - 2, token() + 2}, unexpected(), "a range is " + text, text, false);
    }

    // [13, 14, 16]
    void numbers_as_labels() {
        const std::string_view mark = error_.word();
        if ((mark != "," && mark != "|" && mark != "]") || !is_number(-1)) return;
        std::size_t open = token() - 1;
        while (open > error_.statement.first && source_.word(open) != "[")
            --open;
        const std::size_t end = closing(open);
        if (end >= error_.statement.end) return;
        Mistake mistake = at({open + 1, end - 1}, "a number is not a label",
                             "write it in quotes, or take a range such as [0..16] and a rule");
        for (std::size_t i = open + 1; i < end; ++i) {
            const bool is_label = source_.tokens()[i].kind == TokenKind::number;
            if (is_label) mistake.edits[i] = instead("\"" + std::string(source_.word(i)) + "\"");
        }
        mistake.has_to_parse = true;
        add(std::move(mistake));
    }

    // pumps : Pump[3]; seats : boolean[3][2];
    void array_after_type() {
        if (error_.word() != "[" || !is_type_word(-1)) return;
        std::string text;
        std::size_t end = token() - 1;
        for (std::size_t open = token(); open < source_.size() && source_.word(open) == "[";
             open = end + 1) {
            end = closing(open);
            if (end >= error_.statement.end) return;
            if (end == open + 1) return add_hint("write 'array SIZE of TYPE'");
            text += "array " + text_of(open + 1, end) + " of ";
        }
        text += error_.word(-1);
        rewrite({token() - 1, end}, "the size of an array comes before the type", "write " + text,
                text, true);
    }

    // The value of a number; nothing for what is none.
    static std::optional<int> number(std::string_view text) {
        int value = 0;
        const char* end = text.data() + text.size();
        const auto [after, problem] = std::from_chars(text.data(), end, value);
        const bool is_number = problem == std::errc() && after == end && value < 1000000;
        return is_number ? std::optional(value) : std::nullopt;
    }

    // array [0..2] of Pump, array[3] of Pump
    void array_of_range() {
        if (error_.word() != "[" || error_.word(-1) != "array") return;
        const std::size_t end = closing(token());
        if (end >= error_.statement.end || end == token() + 1) return;
        const TokenRange range{token(), end};
        if (error_.word(2) != "..") return array_of_sizes();
        const std::string message = "an array has a size and no range";
        const std::string last_index = text_of(token() + 3, end);
        const bool is_one_word = end == token() + 4;
        const std::optional<int> first = number(error_.word(1));
        const std::optional<int> last = number(last_index);
        if (first && last && *last >= *first) {
            const std::string size = std::to_string(*last - *first + 1);
            const std::string hint = "write array " + size + " of";
            const std::string indices =
                ": the indices go from 0 to " + std::to_string(*last - *first);
            return rewrite(range, message, *first == 0 ? hint : hint + indices, size, *first == 0);
        }
        if (first && *first == 0) {
            const std::string size = (is_one_word ? last_index : "(" + last_index + ")") + " + 1";
            return rewrite(range, message, "write array " + size + " of", size, true);
        }
        add(at(range, message, "write how many elements it has: the indices go from 0"));
    }

    // array[3] of Pump, array[2][3] of Pump, array[2, 3] of Pump
    void array_of_sizes() {
        std::string sizes;
        bool are_numbers = true; // a name may be that of a type
        std::size_t end = token() + 1;
        for (; end < error_.statement.end && source_.word(end) != "of"; ++end) {
            const std::string_view word = source_.word(end);
            const bool is_next = word == "," || word == "[";
            if (word != "]") sizes += is_next ? " of array " : std::string(word);
            are_numbers &=
                is_next || word == "]" || source_.tokens()[end].kind == TokenKind::number;
        }
        rewrite({token(), end - 1}, "the size of an array has no brackets",
                "write array " + sizes + " of", sizes, are_numbers);
        found_.back().has_to_parse = false;
        found_.back().has_to_go_on = true;
    }

    // 1,000, where the comma may also be that of decimals
    void number_with_commas() {
        const bool is_long =
            error_.word() == "," && is_number(-1) && is_number(1) && error_.word(1).size() == 3 &&
            source_.touches_the_one_before(token()) && source_.touches_the_one_before(token() + 1);
        if (!is_long) return;
        const std::string text = std::string(error_.word(-1)) + std::string(error_.word(1));
        const std::string decimal =
            std::string(error_.word(-1)) + "." + std::string(error_.word(1));
        rewrite({token() - 1, token() + 1}, "a number has no ',' in it",
                "write " + text + " or " + decimal, text, false);
    }
};

} // namespace

std::vector<Mistake> foreign_forms(const SyntaxError& error) {
    return Search(error).run();
}

} // namespace norvane::driver
