#include "mistakes.h"

#include <algorithm>
#include <array>
#include <cctype>

#include "plain_words.h"
#include "similar.h"

namespace norvane::driver {
namespace {

// Words that may come after a name.
constexpr auto infix_words = std::to_array<std::string_view>(
    {"and", "or", "xor", "in", "of", "then", "else", "esac", "default"});
constexpr auto foreign_to_both = std::to_array<Foreign>({
    {"==", "=", ""},
    {"!=", "<>", ""},
    {"&&", "and", ""},
    {"||", "or", ""},
    {"!", "not", ""},
    {"=<", "<=", ""},
    {"<=>", "<->", ""},
    {"&", "and", "", false},
    {"~", "not", "", false},
    {"elseif", "else if", ""},
    {"elsif", "else if", ""},
    {"elif", "else if", ""},
});
constexpr auto comparisons =
    std::to_array<std::string_view>({"<", "<=", ">", ">=", "=", "<>", "==", "!="});

char lower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c;
}

// One letter that is missing, wrong, extra or swapped, after the first one: 'nand', 'forany' and
// 'exist1' may mean something else.
bool is_one_slip(std::string_view written, std::string_view meant) {
    const auto is_same = [](char a, char b) { return lower(a) == lower(b); };
    const bool are_letters =
        std::ranges::all_of(written, [](unsigned char c) { return std::isalpha(c) != 0; });
    if (!are_letters || !is_same(written.front(), meant.front())) return false;
    const std::size_t shortest = std::min(written.size(), meant.size());
    const std::size_t longest = std::max(written.size(), meant.size());
    std::size_t first = 0; // as many letters at the beginning are the same
    while (first < shortest && is_same(written[first], meant[first]))
        ++first;
    std::size_t last = 0;
    while (first + last < shortest && is_same(written.rbegin()[static_cast<std::ptrdiff_t>(last)],
                                              meant.rbegin()[static_cast<std::ptrdiff_t>(last)]))
        ++last;
    if (first + last + 1 >= longest) return true;
    return shortest == longest && first + last + 2 == longest &&
           is_same(written[first], meant[first + 1]) && is_same(written[first + 1], meant[first]);
}

void add_replacement(const SourceText& source, PlacedFinding& found, std::size_t at,
                     const Edit& edit, bool is_certain) {
    if (!edit.before.empty()) insert_before(source, found, at, edit.before, is_certain);
    if (edit.instead) replace(source, found, {at, at}, *edit.instead, is_certain);
    if (!edit.after.empty()) insert_after(source, found, at, edit.after, is_certain);
}

} // namespace

bool may_follow_a_name(std::string_view word) {
    return is_one_of(word, infix_words);
}

std::string in_quotes(std::string_view word) {
    return "'" + std::string(word) + "'";
}

bool is_one_of(std::string_view word, std::span<const std::string_view> words) {
    return std::ranges::find(words, word) != words.end();
}
bool is_built_in_type(std::string_view word) {
    return word == "boolean" || word == "integer" || word == "float" || word == "string";
}
bool is_loop_word(std::string_view word) {
    return word == "forall" || word == "exist" || word == "sum" || word == "product";
}

PlacedFinding finding_of(const SourceText& source, const TokenReport& error,
                         const Mistake* mistake) {
    if (source.size() == 0) return {0, {}};
    const std::size_t token = std::min(error.token, source.size() - 1);
    const bool is_told = mistake && !mistake->message.empty();
    const std::string_view word = error.token < source.size() ? source.word(error.token) : "";
    PlacedFinding found =
        error_at(source, mistake ? mistake->range : TokenRange{token, token}, error.report.name,
                 is_told ? mistake->message : in_plain_words(error.report.message, word));
    const bool is_after_the_end = !mistake && error.token >= source.size();
    if (is_after_the_end) found.finding.place = source.place_after(token);
    if (is_after_the_end && source.ends_in_comment())
        found.finding.hint = "a comment after this place has no end";
    if (!mistake) return found;
    found.finding.hint = mistake->hint;
    // One half of a pair is never written without the other.
    const bool is_certain =
        mistake->is_certain && std::ranges::none_of(mistake->edits, [&source](const auto& edit) {
            return source.is_from_macro(edit.first);
        });
    if (mistake->ends_statement) found.finding.place = source.place_after(mistake->range.last);
    if (mistake->instead)
        replace(source, found, mistake->range, *mistake->instead, is_certain);
    else
        for (const auto& [at, edit] : mistake->edits)
            add_replacement(source, found, at, edit, is_certain);
    return found;
}

std::string_view SyntaxError::word(int offset) const {
    const std::size_t at = token + static_cast<std::size_t>(offset);
    return at < source.size() ? source.word(at) : "";
}

Mistake MistakeSearch::mistake_at(std::size_t token) {
    Mistake mistake;
    mistake.range = {token, token};
    return mistake;
}

bool MistakeSearch::is_name(int offset) const {
    const std::size_t at = token() + static_cast<std::size_t>(offset);
    return at < source_.size() && source_.tokens()[at].kind == TokenKind::word &&
           !is_reserved(source_.word(at), source_.language());
}

bool MistakeSearch::is_number(int offset) const {
    const std::size_t at = token() + static_cast<std::size_t>(offset);
    return at < source_.size() && source_.tokens()[at].kind == TokenKind::number;
}

std::size_t MistakeSearch::closing(std::size_t open) const {
    unsigned depth = 0;
    for (std::size_t i = open; i < error_.statement.end; ++i) {
        const std::string_view word = source_.word(i);
        if (word == "(" || word == "[") ++depth;
        if ((word == ")" || word == "]") && --depth == 0) return i;
    }
    return error_.statement.end;
}

std::string MistakeSearch::text_of(std::size_t first, std::size_t end) const {
    std::string text;
    for (std::size_t i = first; i < end; ++i) {
        if (i > first && !source_.touches_the_one_before(i)) text += ' ';
        text += source_.word(i);
    }
    return text;
}

Mistake MistakeSearch::at(TokenRange range, std::string message, std::string hint) const {
    Mistake mistake = mistake_at(range.first);
    mistake.range = range;
    mistake.message = std::move(message);
    mistake.hint = std::move(hint);
    return mistake;
}

void MistakeSearch::add_hint(std::string text) {
    Mistake mistake = mistake_at(token());
    mistake.hint = std::move(text);
    add(std::move(mistake));
}

void MistakeSearch::rewrite(TokenRange range, std::string message, std::string hint,
                            const std::string& text, bool is_certain) {
    Mistake mistake = at(range, std::move(message), std::move(hint));
    for (std::size_t i = range.first; i <= range.last; ++i)
        mistake.edits[i] = instead("");
    mistake.edits[range.first] = instead(text);
    mistake.instead = text;
    mistake.is_certain = is_certain && source_.is_free_of_comments(range);
    mistake.has_to_parse = true;
    add(std::move(mistake));
}

void MistakeSearch::open_string() {
    if (is_at_end()) return;
    const std::string_view word = error_.word();
    const bool is_open = word[0] == '"' && source_.tokens()[token()].kind == TokenKind::unknown;
    if (!is_open) return;
    Mistake mistake = mistake_at(token());
    mistake.message = "text without an end";
    mistake.hint = "a text ends with '\"'";
    add(std::move(mistake));
}

void MistakeSearch::replaced_words(std::span<const Foreign> foreign) {
    for (const std::size_t at : {token(), token() - 1})
        if (at < source_.size()) replaced_word(at, foreign);
}

void MistakeSearch::replaced_word(std::size_t at, std::span<const Foreign> foreign) {
    const std::string_view word = source_.word(at);
    for (const auto rows : {std::span<const Foreign>(foreign_to_both), foreign})
        for (const Foreign& row : rows)
            if (row.word == word) return add_foreign(at, row);
    if (source_.tokens()[at].kind != TokenKind::word || is_reserved(word, source_.language()))
        return;
    const WordUse& use = error_.uses.of(word);
    if (use.is_listed) return; // a name that is declared
    const auto keywords = reserved_words(source_.language());
    const auto same = std::ranges::find_if(keywords, [word](std::string_view keyword) {
        return std::ranges::equal(word, keyword, {}, lower);
    });
    const std::string_view keyword = same != keywords.end() ? *same : most_similar(word, keywords);
    if (keyword.empty()) return;
    Mistake mistake = mistake_at(at);
    mistake.message = "unexpected " + in_quotes(word);
    mistake.hint = "did you mean " + in_quotes(keyword) + "?";
    mistake.edits[at] = instead(keyword);
    // A word that stands elsewhere, too, is more likely a name.
    const bool is_call = at + 1 < source_.size() && source_.word(at + 1) == "[" &&
                         source_.touches_the_one_before(at + 1); // Optional[int]
    const bool is_slip = same != keywords.end() || (use.count == 1 && is_one_slip(word, keyword));
    mistake.is_certain = is_slip && !is_call;
    mistake.has_to_go_on = same == keywords.end();
    add(std::move(mistake));
}

void MistakeSearch::add_foreign(std::size_t at, const Foreign& foreign) {
    const bool is_declared = error_.uses.of(foreign.word).is_listed;
    if (is_declared && foreign.instead.empty()) return;
    Mistake mistake = mistake_at(at);
    mistake.message = "unexpected " + in_quotes(foreign.word);
    mistake.hint = foreign.hint;
    if (mistake.hint.empty()) mistake.hint = "write " + in_quotes(foreign.instead);
    // Where a name is declared so, it is more likely that an operator is missing.
    mistake.is_certain = foreign.is_certain && !is_declared;
    const bool is_mark = source_.tokens()[at].kind != TokenKind::word;
    const bool begins_loop = at + 2 < source_.size() && source_.word(at + 2) == "in";
    mistake.stands_alone = mistake.is_certain && (is_mark || begins_loop);
    mistake.is_guess = !foreign.is_certain;
    if (is_loop_word(foreign.instead) && !begins_loop)
        mistake.hint = "a loop is '" + std::string(foreign.instead) + " i in [0..2] : (...)'";
    else if (!foreign.instead.empty())
        mistake.edits[at] = instead(foreign.instead);
    add(std::move(mistake));
}

void MistakeSearch::missing_semicolon() {
    if (token() == 0 || token() <= error_.statement.first) return;
    const bool may_begin = is_at_end() || token() >= error_.statement.end ||
                           source_.begins_line(token()) || error_.word() == "}" ||
                           (error_.word() == "else" && source_.language() == Language::calculation);
    if (!may_begin) return;
    Mistake mistake = mistake_at(token() - 1);
    mistake.message = "no ';' after " + in_quotes(source_.word(token() - 1));
    mistake.hint = "write ';' here";
    mistake.edits[token() - 1].after = ";";
    mistake.is_certain = true;
    mistake.ends_statement = true;
    add(std::move(mistake));
}

void MistakeSearch::surplus_semicolon() {
    if (error_.word() != ";" || token() != error_.statement.first) return;
    // On a line of its own it may be a '};' that lacks its brace.
    if (!source_.begins_line(token())) return other_mark("", "take it out");
    Mistake mistake = mistake_at(token());
    mistake.message = "unexpected ';'";
    mistake.hint = "take it out, or write '}' before it if a record ends here";
    mistake.edits[token()] = instead("");
    add(std::move(mistake));
}

void MistakeSearch::chained_comparison() {
    if (!is_one_of(error_.word(), comparisons) || token() == 0) return;
    unsigned depth = 0;
    for (std::size_t i = token() - 1; i > error_.statement.first; --i) {
        const std::string_view word = source_.word(i);
        if (word == ")") ++depth;
        if (word == "(" && depth > 0)
            --depth;
        else if (depth > 0)
            continue;
        else if (may_follow_a_name(word) || word == "(" || word == "->" || word == "<->")
            return;
        if (!is_one_of(word, comparisons)) continue;
        Mistake mistake = mistake_at(token());
        mistake.range.first = i;
        mistake.message = "comparisons cannot be chained";
        mistake.hint = "write two comparisons, joined by 'and'";
        return add(std::move(mistake));
    }
}

void MistakeSearch::other_mark(std::string_view mark, std::string hint) {
    Mistake mistake = mistake_at(token());
    mistake.message = "unexpected " + in_quotes(error_.word());
    mistake.hint = std::move(hint);
    mistake.edits[token()] = instead(mark);
    mistake.is_certain = true;
    add(std::move(mistake));
}

void MistakeSearch::missing_marks(std::span<const std::string_view> marks) {
    if (token() <= error_.statement.first) return;
    for (const std::string_view mark : marks) {
        Mistake mistake = mistake_at(token() - 1);
        mistake.message =
            "no " + in_quotes(mark) + " after " + in_quotes(source_.word(token() - 1));
        mistake.hint = "a " + in_quotes(mark) + " may be missing here";
        mistake.edits[token() - 1].after = mark;
        mistake.is_guess = true;
        mistake.has_to_parse = true;
        add(std::move(mistake));
    }
}

} // namespace norvane::driver
