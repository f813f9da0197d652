// The parser ends at the first error. Each function is parsed by itself, again after each statement
// that was corrected or taken out, so a source takes time by its length and by its errors.
#include "calculation_syntax.h"

#include <algorithm>

#include "calculation_mistakes.h"

namespace norvane::driver {
namespace {

// Of one function: one with more errors is given up, and so is one in which an error stays.
constexpr unsigned most_errors = 100;
constexpr unsigned most_tries = 8;
// Upper limit over the whole source; with more errors it is probably not a calculation at all.
constexpr unsigned most_searches = 500;

constexpr std::size_t none = static_cast<std::size_t>(-1);

// A function, or what opens a namespace.
struct Part {
    std::size_t first;
    std::size_t last = 0;
    bool is_namespace = false;
    bool ends_namespace = false; // the brace that closes it belongs to the part

    TokenRange range() const { return {first, last}; }
    std::string head() const { return is_namespace ? "" : "namespace x{"; }
    std::string tail() const {
        if (ends_namespace) return "";
        return is_namespace ? "void f(){}}" : "}";
    }
};

class Finder {
  public:
    explicit Finder(EditedCalculation& source)
        : source_(source), text_(source.source()), uses_(text_) {}

    SyntaxFaults run() {
        const std::size_t size = text_.size();
        if (size == 0 || !source_.parse({0, size - 1}, "", "")) return {};
        find_parts();
        for (const Part& part : parts_)
            correct(part);
        if (!begins_with_namespace()) add_namespace();
        return std::move(faults_);
    }

  private:
    std::string_view word(std::size_t token) const {
        return token < text_.size() ? text_.word(token) : "";
    }
    bool is_name(std::size_t token) const {
        return token < text_.size() && text_.tokens()[token].kind == TokenKind::word &&
               !is_reserved(word(token), Language::calculation);
    }

    // Parts.

    bool is_function(std::size_t token) const {
        if (!is_name(token + 1) || word(token + 2) != "(" || !is_like_type_word(word(token)))
            return false;
        if (is_type_word(word(token))) return true;
        const std::string_view before = token > 0 ? word(token - 1) : "}";
        return before == "{" || before == "}" || before == ";";
    }
    bool begins_with_namespace() const { return word(0) == "namespace" || is_name(0); }

    void find_parts() {
        for (std::size_t i = 0; i < text_.size(); ++i) {
            const bool is_namespace =
                word(i) == "namespace" || (i == 0 && begins_with_namespace() && !is_function(0));
            if (!is_namespace && i > 0 && !is_function(i)) continue;
            if (!parts_.empty()) {
                parts_.back().last = i - 1;
                parts_.back().ends_namespace = is_namespace;
            }
            parts_.push_back({i, 0, is_namespace});
        }
        parts_.back().last = text_.size() - 1;
        parts_.back().ends_namespace = true;
    }

    // Takes the functions before the first namespace for one.
    void add_namespace() {
        PlacedFinding found =
            error_at(text_, {0, 0}, "ERR_PARSER",
                     "unexpected " + in_quotes(word(0)) + ", expected 'namespace'");
        found.finding.hint = "functions stand in 'namespace NAME { ... }'";
        faults_.findings.push_back(std::move(found));
        source_.edit(0, merged(0, {"namespace x{", std::nullopt, ""}));
    }

    // Braces.

    struct Brace {
        std::size_t token;
        std::size_t closed = none;
    };

    // The pairs of braces in a part, in the order of their closing braces; unclosed ones come last.
    std::vector<Brace> braces_of(const Part& part, std::vector<std::size_t>& surplus) const {
        std::vector<std::size_t> open;
        std::vector<Brace> braces;
        for (std::size_t i = part.first; i <= part.last; ++i) {
            if (word(i) == "{") open.push_back(i);
            if (word(i) != "}") continue;
            if (open.empty()) {
                surplus.push_back(i);
                continue;
            }
            braces.push_back({open.back(), i});
            open.pop_back();
        }
        for (; !open.empty(); open.pop_back())
            braces.push_back({open.back()});
        return braces;
    }

    // The column in which the line of a token begins.
    unsigned indent(std::size_t token) const {
        while (!text_.begins_line(token))
            --token;
        return text_.place(token).column;
    }

    // The brace that most likely has no end: its line begins elsewhere than that of the brace which
    // closes it.
    const Brace* unclosed(const std::vector<Brace>& braces) const {
        for (const Brace& brace : braces)
            if (brace.closed == none || indent(brace.token) != indent(brace.closed)) return &brace;
        return nullptr;
    }

    void balance(const Part& part) {
        std::vector<std::size_t> surplus;
        const std::vector<Brace> braces = braces_of(part, surplus);
        auto missing =
            static_cast<std::size_t>(std::ranges::count(braces, std::size_t{none}, &Brace::closed));
        const std::size_t own = part.ends_namespace && !part.is_namespace ? 1 : 0;
        missing += own - std::min(own, surplus.size());
        if (part.is_namespace && !part.ends_namespace) missing -= std::min<std::size_t>(missing, 1);
        if (missing > 0) return add_braces(part, unclosed(braces), missing);
        for (std::size_t i = own; i < surplus.size(); ++i) {
            PlacedFinding found =
                error_at(text_, {surplus[i], surplus[i]}, "ERR_PARSER", "unexpected '}'");
            found.finding.hint = "no '{' is open here";
            faults_.findings.push_back(std::move(found));
            source_.drop(surplus[i], surplus[i] + 1);
        }
    }

    void add_braces(const Part& part, const Brace* brace, std::size_t missing) {
        source_.edit(part.last, merged(part.last, {"", std::nullopt, std::string(missing, '}')}));
        // A text without an end may hold the braces, and a lost namespace is reported by itself.
        if (has_open_string(part) || (!brace && !parts_.front().is_namespace)) return;
        std::size_t at = brace ? brace->token : 0;
        for (const Part& other : parts_)
            if (!brace && other.is_namespace && other.first <= part.first) at = other.first;
        PlacedFinding found = error_at(text_, {at, at}, "ERR_PARSER",
                                       brace ? "the block that begins here has no end"
                                             : "the namespace that begins here has no end");
        found.finding.hint = "a '}' is missing";
        faults_.findings.push_back(std::move(found));
    }
    bool has_open_string(const Part& part) const {
        for (std::size_t i = part.first; i <= part.last; ++i)
            if (word(i)[0] == '"' && text_.tokens()[i].kind == TokenKind::unknown) return true;
        return false;
    }

    // Statements.

    // The statement around a token: between semicolons, other than those of a loop, and braces.
    Statement statement_around(const Part& part, std::size_t token) const {
        Statement statement{part.first, part.last + 1, ""};
        std::size_t loop_end = 0; // before it, semicolons are those of a loop's head
        for (std::size_t i = part.first; i <= part.last; ++i) {
            if (word(i) == "for" && word(i + 1) == "(") loop_end = end_of_head(i + 1, part.last);
            const bool is_brace = word(i) == "{" || word(i) == "}";
            if (!is_brace && (word(i) != ";" || i < loop_end)) continue;
            if (i < token) {
                statement.first = i + 1;
                continue;
            }
            statement.end = is_brace && i > statement.first ? i : i + 1;
            break;
        }
        return statement;
    }
    std::size_t end_of_head(std::size_t open, std::size_t last) const {
        unsigned depth = 0;
        for (std::size_t i = open; i <= last; ++i) {
            if (word(i) == "{") return i;
            if (word(i) == "(") ++depth;
            if (word(i) == ")" && --depth == 0) return i;
        }
        return open;
    }

    void correct(const Part& part) {
        balance(part);
        std::size_t before = none;
        unsigned tries = 0;
        bool is_taken_out = false;
        for (unsigned errors = 0; errors < most_errors; ++errors) {
            const auto error = source_.parse(part.range(), part.head(), part.tail());
            if (!error) return;
            tries = error->token == before ? tries + 1 : 0;
            const bool goes_back = before != none && error->token < before;
            if (tries > most_tries || goes_back || (tries > 0 && is_taken_out)) break;
            before = error->token;
            const Statement statement = statement_around(part, std::min(error->token, part.last));
            is_taken_out = !try_mistakes(part, statement, *error);
            if (is_taken_out) take_out(part, statement);
        }
        give_up(part);
    }

    bool try_mistakes(const Part& part, const Statement& statement, const TokenReport& error) {
        const Mistake* explained = nullptr;
        const SyntaxError place{text_, statement, error.token, uses_};
        std::vector<Mistake> mistakes;
        if (searches_++ < most_searches) mistakes = possible_calculation_mistakes(place);
        for (const Mistake& mistake : mistakes) {
            if (mistake.edits.empty()) {
                if (!explained) explained = &mistake;
                continue;
            }
            if ((explained && mistake.is_guess) || !helps(part, error, mistake)) continue;
            faults_.findings.push_back(finding_of(text_, error, &mistake));
            if (mistake.is_guess) faults_.guessed.push_back({statement.first, statement.end - 1});
            for (const auto& [at, edit] : mistake.edits)
                source_.edit(at, merged(at, edit));
            return true;
        }
        faults_.findings.push_back(finding_of(text_, error, explained));
        return false;
    }
    bool helps(const Part& part, const TokenReport& error, const Mistake& mistake) const {
        Edits edits = mistake.edits;
        for (auto& [at, edit] : edits)
            edit = merged(at, edit);
        const auto next = source_.parse(part.range(), part.head(), part.tail(), edits);
        return !next || next->token > error.token;
    }
    Edit edits_of(std::size_t token) const {
        const auto found = source_.edits().find(token);
        return found == source_.edits().end() ? Edit{} : found->second;
    }
    // With what was written there before.
    Edit merged(std::size_t token, const Edit& edit) const {
        Edit all = edits_of(token);
        all.before += edit.before;
        if (edit.instead) all.instead = edit.instead;
        all.after = edit.after + all.after;
        return all;
    }

    // Leaves of a statement that does not parse what those around it need.
    void take_out(const Part& part, const Statement& statement) {
        if (statement.first == part.first) return give_up(part);
        note_declaration(statement);
        std::string rest;
        if (word(statement.first) == "switch") rest = "switch 1";
        if (word(statement.first) == "case") rest = "case 1:;";
        const bool is_brace = word(statement.first) == "{" || word(statement.first) == "}";
        if (is_brace) return;
        replace_tokens(statement.first, statement.end, rest);
    }
    void replace_tokens(std::size_t first, std::size_t end, const std::string& text) {
        // What was added after the last one may close a block.
        const std::string after = end > first ? edits_of(end - 1).after : "";
        source_.edit(first, {"", text, end == first + 1 ? after : ""});
        if (end <= first + 1) return;
        source_.drop(first + 1, end - 1);
        source_.edit(end - 1, {"", "", after});
    }
    void note_declaration(const Statement& statement) {
        if (is_like_type_word(word(statement.first)) && is_name(statement.first + 1))
            faults_.lost_names.emplace(word(statement.first + 1));
    }

    // Keeps of a function what calls need.
    void give_up(const Part& part) {
        std::size_t end = part.last + 1;
        source_.edit(part.last, {});
        if (part.is_namespace)
            return replace_tokens(part.first, end, part.ends_namespace ? "" : "namespace x {");
        const std::string number = std::to_string(part.first);
        const std::size_t head = end_of_head(part.first + 2, part.last);
        std::string body = ": external \"\";";
        const auto error = source_.parse({part.first, head}, "namespace x{", body + "}");
        if (part.ends_namespace && word(part.last) == "}")
            --end;
        else if (part.ends_namespace)
            body += "}";
        if (error || word(head) != ")") {
            faults_.lost_names.emplace(word(part.first + 1));
            return replace_tokens(part.first, end, "void lost_" + number + "()" + body);
        }
        replace_tokens(head + 1, end, body);
    }

    EditedCalculation& source_;
    const SourceText& text_;
    WordUses uses_;
    std::vector<Part> parts_;
    unsigned searches_ = 0;
    SyntaxFaults faults_;
};

} // namespace

SyntaxFaults find_syntax_faults(EditedCalculation& source) {
    return Finder(source).run();
}

} // namespace norvane::driver
