// The parser ends at the first error, so it is started again after each statement that does not
// parse, in the section and the records that the next one is in: the text is parsed once, however
// many errors it has.
#include "syntax_faults.h"

#include <algorithm>

#include "misread_words.h"
#include "usual_mistakes.h"

namespace norvane::driver {
namespace {

// Limits: corrections tried for one statement, and errors for which corrections are tried. A source
// with more errors is probably not a model.
constexpr unsigned most_corrections = 8;
constexpr unsigned most_searches = 20000;
constexpr std::size_t longest_statement = 2000; // in tokens

bool is_named(const TokenReport& error, std::string_view name) {
    return error.report.name == name;
}

// The report that says most. The others name the construct, or repeat it.
const TokenReport& main_report(const std::vector<TokenReport>& errors) {
    for (const char* name : {"ERR_INVALID_TOKEN", "ERR_INVALID_INT", "ERR_GRAM_INT_ZERO"})
        for (const TokenReport& error : errors)
            if (is_named(error, name)) return error;
    return errors.front();
}

// What the parser says, by the name of the rule of the grammar that was open, which explains more.
TokenReport named_by_grammar(const std::vector<TokenReport>& errors) {
    TokenReport error = main_report(errors);
    if (is_named(error, "ERR_PARSER")) error.report.name = errors.back().report.name;
    return error;
}

class Finder {
  public:
    explicit Finder(EditedSource& source) : source_(source), text_(source.source()), uses_(text_) {}

    SyntaxFaults run(NamesKnown known) {
        find_misread_words();
        source_.begin_parsing();
        statements_ = statements_of(text_, words_);
        if (known == NamesKnown::some || hides_names_) lose_undeclared_names();
        while (next_ < statements_.size())
            parse_from(statements_[next_]);
        return std::move(faults_);
    }

  private:
    void find_misread_words() {
        for (const Misread& misread : misread_words(text_)) {
            hides_names_ |= misread.hides_names;
            PlacedFinding found = error_at(text_, misread.range, "ERR_PARSER", misread.message);
            found.finding.hint = misread.hint;
            const bool is_certain =
                misread.is_certain && std::ranges::none_of(misread.words, [this](const auto& word) {
                    return text_.is_from_macro(word.first);
                });
            for (const auto& [token, word] : misread.words) {
                words_[token] = word;
                source_.edit(token, {"", word, ""});
                if (!misread.is_comment) replace(text_, found, {token, token}, word, is_certain);
            }
            if (!misread.is_told) continue;
            if (misread.is_comment && is_certain) keep_comment(found, misread.range);
            faults_.findings.push_back(std::move(found));
        }
    }

    void keep_comment(PlacedFinding& found, TokenRange range) const {
        TokenRange mark{range.first, range.first};
        std::string begin(text_.word(mark.first));
        if (begin == "-") begin = "--", ++mark.last;
        begin.replace(0, begin.starts_with("//") ? 2 : begin.size(), "/*");
        if (!text_.is_free_of_comments(range) || begin.find("*/") != begin.npos) return;
        if (range.first == range.last) begin += " */";
        replace(text_, found, mark, begin, true);
        if (range.first < range.last) insert_after(text_, found, range.last, " */", true);
    }

    bool is_name(std::size_t token) const {
        return text_.tokens()[token].kind == TokenKind::word && !is_reserved(text_.word(token));
    }

    // Every name that does not stand where one is declared.
    void lose_undeclared_names() {
        std::unordered_set<std::string_view> declared;
        for (const Statement& statement : statements_)
            for (std::size_t i = statement.first; i + 1 < statement.end; ++i)
                if (is_name(i) && may_declare(statement, text_.word(i + 1)))
                    declared.insert(text_.word(i));
        for (std::size_t i = 0; i < text_.size(); ++i)
            if (is_name(i) && !declared.contains(text_.word(i)))
                faults_.lost_names.emplace(text_.word(i));
        undeclared_ = faults_.lost_names;
    }
    // Whether a name followed by this word may be a declaration (of a variable, a label or a loop
    // variable).
    static bool may_declare(const Statement& statement, std::string_view next) {
        if (statement.is_rule()) return next == "in";
        return next == ":" || next == "," || next == "]";
    }

    // Nothing is told of a statement with a name that may be a macro.
    void tell(const Statement& statement, PlacedFinding found) {
        for (std::size_t i = statement.first; i < std::min(statement.end, text_.size()); ++i)
            if (undeclared_.contains(std::string(text_.word(i)))) return;
        faults_.findings.push_back(std::move(found));
    }

    std::string_view word(std::size_t token) const {
        const auto found = words_.find(token);
        return found == words_.end() ? text_.word(token) : std::string_view(found->second);
    }

    // Parses up to the next error, corrects the statement or takes it out, and leaves in `next_`
    // the statement from which to go on.
    void parse_from(Statement statement) {
        begin_corrections(statement);
        unsigned corrections = 0;
        while (const std::optional<TokenReport> error = next_error(statement)) {
            const Statement culprit = culprit_of(statement, error->token);
            if (culprit.first != statement.first) {
                corrections = 0;
                begin_corrections(culprit);
            }
            statement = culprit;
            if (statement.is_stray) return take_out_brace(statement);
            if (ends_section_early(statement, *error)) return;
            const std::size_t first = statement.first;
            if (corrections == most_corrections || !correct(statement, *error))
                return report_and_give_up(statement);
            if (statement.first >= statement.end) return skip_to(statement.first);
            corrections = statement.first > first ? 1 : corrections + 1;
        }
        next_ = statements_.size();
    }

    std::optional<TokenReport> next_error(const Statement& statement) {
        const auto errors = source_.parse(statement.first, edited_end_, statement.head());
        if (errors.empty()) return std::nullopt;
        return named_by_grammar(errors);
    }

    void report_and_give_up(const Statement& statement) {
        doubt_corrections();
        tell(statement, uncorrected_);
        give_up(statement);
    }

    void take_out_brace(const Statement& statement) {
        const std::size_t brace = statement.first;
        PlacedFinding found = error_at(text_, {brace, brace}, "ERR_PARSER", "unexpected '}'");
        found.finding.hint = "it closes no '{': take it out, or write '{' where a record begins";
        tell(statement, std::move(found));
        const bool is_all = statement.end == brace + 2 && text_.word(brace + 1) == ";";
        source_.drop(brace, is_all ? brace + 2 : brace + 1);
        if (is_all) return skip_to(statement.end);
        while (statements_[next_ - 1].first >= brace)
            --next_;
        statements_[next_].first = brace + 1;
        statements_[next_].is_stray = false;
    }

    // The statement that a token is in, or, where it is the first one of a statement, the one
    // before if that lacks its end. Not one before `current`, of which a part may be parsed
    // already.
    Statement culprit_of(const Statement& current, std::size_t token) {
        const auto after = std::upper_bound(
            statements_.begin(), statements_.end(), token,
            [](std::size_t at, const Statement& statement) { return at < statement.first; });
        auto index = static_cast<std::size_t>(after - statements_.begin());
        if (index > 0) --index;
        const bool is_first = statements_[index].first == token;
        if (is_first && index > 0 && lacks_end(statements_[index - 1]) &&
            statements_[index - 1].end == token)
            --index;
        next_ = index + 1;
        return statements_[index].end <= current.end ? current : statements_[index];
    }
    bool lacks_end(const Statement& statement) const {
        return !statement.opens_record && text_.word(statement.end - 1) != ";";
    }

    // A section word where a record is still open, or after its rules.
    bool ends_section_early(const Statement& statement, const TokenReport& error) {
        const std::size_t token = error.token;
        const bool is_section = token >= text_.size() || is_section_word(word(token));
        if (!is_section || lacks_end(statement)) return false;
        if (is_unclosed_record(token)) return true;
        if (token >= text_.size()) return false;
        faults_.findings.push_back(finding_of(text_, error, nullptr));
        source_.drop(token, token + 1);
        skip_to(token);
        return true;
    }

    bool is_unclosed_record(std::size_t token) {
        std::size_t outer = statements_.size();
        std::size_t inner = outer;
        std::string closing;
        for (std::size_t i = next_; i-- > 0;) {
            const Statement& record = statements_[i];
            if (record.opens_record && !record.is_closed && record.whole_end == token) {
                outer = i;
                if (inner == statements_.size()) inner = i;
                closing += "};";
            }
            if (record.depth == 0) break;
        }
        if (inner == statements_.size()) return false;
        const std::size_t brace = statements_[inner].end - 1;
        PlacedFinding found =
            error_at(text_, {brace, brace}, "ERR_PARSER", "the record that begins here has no end");
        found.finding.hint = "a record ends with '};'";
        faults_.findings.push_back(std::move(found));
        const Statement& whole = statements_[outer];
        Edits edits;
        edits[token - 1].after = closing;
        if (source_.parse_part(whole.first, token, whole.head(), "", edits).empty()) {
            source_.add(edits);
            faults_.guessed.push_back({whole.first, token});
            skip_to(token);
        } else {
            give_up(whole);
        }
        return true;
    }

    // True if the statement is likely to parse further now.
    bool correct(Statement& statement, const TokenReport& error) {
        uncorrected_ = finding_of(text_, error, nullptr);
        declares_nothing_ = false;
        if (is_named(error, "ERR_INVALID_INT")) return false; // it says all
        const bool is_far = error.token > statement.first + longest_statement;
        if (is_far || searches_++ >= most_searches) return false;
        Statement window = statement;
        window.end = std::min(window.end, error.token + longest_statement);
        const bool is_whole = window.end == statement.end;
        const SyntaxError place{text_, window, error.token, uses_};
        bool is_explained = false;
        for (const Mistake& mistake : possible_mistakes(place)) {
            if (mistake.edits.empty()) {
                if (!is_explained) uncorrected_ = finding_of(text_, error, &mistake);
                is_explained = true;
                declares_nothing_ = mistake.declares_nothing;
                if (declares_nothing_) return false;
            } else if (!(is_explained && mistake.is_guess) &&
                       (is_whole || mistake.ends_statement) &&
                       helps(statement, error.token, mistake)) {
                apply(mistake, statement, error);
                return true;
            }
        }
        return false;
    }
    void apply(const Mistake& mistake, Statement& statement, const TokenReport& error) {
        const std::size_t told = faults_.findings.size();
        tell(statement, finding_of(text_, error, &mistake));
        if (faults_.findings.size() > told && !mistake.stands_alone) dependent_.push_back(told);
        if (!mistake.is_certain || is_doubtful_) doubt_corrections();
        source_.add(mistake.edits);
        for (const auto& [token, edit] : mistake.edits)
            edited_end_ = std::max(edited_end_, token + 1);
        if (mistake.is_guess) faults_.guessed.push_back({statement.first, statement.end - 1});
        if (!mistake.ends_statement) return;
        statement.first = error.token;
        statement.closes_record = false;
        begin_corrections(statement);
    }

    // What is certain for a statement may be wrong for one that has a further error: "==" and ">"
    // are no "=>", and 'iff' may be a name after which an operator is missing.
    void begin_corrections(const Statement& statement) {
        edited_end_ = std::max(edited_end_, statement.first);
        dependent_.clear();
        is_doubtful_ = false;
    }
    void doubt_corrections() {
        is_doubtful_ = true;
        for (const std::size_t index : dependent_)
            for (Replacement& replacement : faults_.findings[index].finding.replacements)
                replacement.is_certain = false;
    }

    // Continues at the first statement that begins at or after the token.
    void skip_to(std::size_t token) {
        while (next_ < statements_.size() && statements_[next_].first < token)
            ++next_;
    }

    bool helps(const Statement& statement, std::size_t token, const Mistake& mistake) const {
        const std::size_t end = mistake.ends_statement ? token : statement.end;
        std::string tail;
        const bool is_ended = text_.word(end - 1) == ";" || mistake.ends_statement;
        if (statement.opens_record && !mistake.ends_statement) tail = "}";
        if (!is_ended) tail += ";";
        for (unsigned i = 0; i < statement.depth; ++i)
            tail += "};";
        const auto errors =
            source_.parse_part(statement.first, end, statement.head(), tail, mistake.edits);
        if (errors.empty()) return true;
        const std::size_t parsed = token + (mistake.has_to_go_on ? 1 : 0);
        return !mistake.ends_statement && !mistake.has_to_parse && errors.front().token > parsed;
    }

    // A rule in braces needs no ';' in other languages, so the next line is another rule.
    std::size_t end_of_braces(std::size_t end) {
        const auto last = std::ranges::find(statements_, end, &Statement::end);
        if (last == statements_.end() || !last->closes_record) return end;
        const std::size_t next = last->first + 1;
        if (next >= end || !text_.begins_line(next)) return end;
        last->first = next;
        last->closes_record = false;
        return next;
    }

    // The arms of a case that are divided by ';' are no rules of their own.
    std::size_t end_of_case(std::size_t first, std::size_t end) const {
        int open = 0;
        for (std::size_t i = first; i < end; ++i)
            open += (text_.word(i) == "case") - (text_.word(i) == "esac");
        if (open <= 0) return end;
        for (std::size_t i = end; i + 1 < text_.size() && !is_section_word(word(i)); ++i) {
            if (text_.word(i) == "case") break;
            if (text_.word(i) == "esac") return text_.word(i + 1) == ";" ? i + 2 : i + 1;
        }
        return end;
    }

    // Takes the statement out; the whole declaration, where it opens a record.
    void give_up(const Statement& statement) {
        std::size_t end = statement.opens_record ? statement.whole_end : statement.end;
        if (statement.is_rule() && statement.opens_record) end = end_of_braces(end);
        if (statement.is_rule()) end = end_of_case(statement.first, end);
        source_.drop(statement.first, std::max(end, statement.first));
        if (!statement.is_rule() && !declares_nothing_)
            for (std::size_t i = statement.first; i < std::min(end, text_.size()); ++i)
                if (is_name(i)) faults_.lost_names.emplace(text_.word(i));
        skip_to(end);
    }

    EditedSource& source_;
    const SourceText& text_;
    WordUses uses_;
    MeantWords words_;
    bool hides_names_ = false;
    bool declares_nothing_ = false; // the statement that is given up
    std::vector<Statement> statements_;
    std::size_t next_ = 0;       // the first statement that is not parsed yet
    std::size_t edited_end_ = 0; // after the last token that was edited
    unsigned searches_ = 0;
    PlacedFinding uncorrected_;
    std::vector<std::size_t> dependent_; // findings on the statement that are to be certain
    bool is_doubtful_ = false;           // the statement has a correction that is not certain
    std::unordered_set<std::string> undeclared_; // names that may be macros
    SyntaxFaults faults_;
};

} // namespace

SyntaxFaults find_syntax_faults(EditedSource& source, NamesKnown known) {
    return Finder(source).run(known);
}

} // namespace norvane::driver
