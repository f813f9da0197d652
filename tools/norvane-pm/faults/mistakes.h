// What is usually meant where a source does not parse: what both languages have in common.
#ifndef NORVANE_PM_MISTAKES_H
#define NORVANE_PM_MISTAKES_H

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "edited_tokens.h"
#include "placed_finding.h"
#include "statements.h"
#include "word_uses.h"

namespace norvane::driver {

// A statement in which the parser met a token that it did not expect.
struct SyntaxError {
    const SourceText& source;
    const Statement& statement;
    std::size_t token;
    const WordUses& uses;

    // Around that token; empty outside of the source.
    std::string_view word(int offset = 0) const;
};

struct Mistake {
    std::string message;                // empty: the parser's
    std::string hint;                   // empty: what to write says it
    Edits edits;                        // that may correct it; none: only the hint is known
    TokenRange range{};                 // what it is about
    std::optional<std::string> instead; // of the range as a whole, where that says it best
    bool is_certain = false;            // if the statement parses with what is certain alone
    bool stands_alone = false;          // is certain whatever else the statement has
    bool is_guess = false;              // the statement may mean something else
    bool ends_statement = false;        // the edit ends the statement before the token
    bool has_to_parse = false; // the edit is right only if all of the statement parses then
    bool has_to_go_on = false; // the edit is right only if more than the token itself parses then
    bool declares_nothing = false; // without edits: the statement is not a declaration
};

// A syntax error as it is reported: by the mistake, if that is known, or else by the parser.
PlacedFinding finding_of(const SourceText& source, const TokenReport& error,
                         const Mistake* mistake);

// True for an operator that is a word.
bool may_follow_a_name(std::string_view word);

std::string in_quotes(std::string_view word);

bool is_one_of(std::string_view word, std::span<const std::string_view> words);
// "boolean", "integer", "float" or "string".
bool is_built_in_type(std::string_view word);
// "forall", "exist", "sum" or "product".
bool is_loop_word(std::string_view word);

// A word or an operator of other languages.
struct Foreign {
    std::string_view word;
    std::string_view instead; // empty: no single replacement
    std::string_view hint;
    bool is_certain = true;
};

// Looks for mistakes, each of which is added to those that were found.
class MistakeSearch {
  public:
    explicit MistakeSearch(const SyntaxError& error) : error_(error), source_(error.source) {}

  protected:
    void add(Mistake mistake) { found_.push_back(std::move(mistake)); }
    std::size_t token() const { return error_.token; }
    bool is_at_end() const { return token() >= source_.size(); }
    static Mistake mistake_at(std::size_t token);
    static Edit instead(std::string_view text) { return {"", std::string(text), ""}; }

    // Of the token that comes so many after the one with the error.
    bool is_name(int offset) const;
    bool is_number(int offset) const;

    // The bracket that closes the one at `open`; the statement's end if there is none.
    std::size_t closing(std::size_t open) const;
    std::string text_of(std::size_t first, std::size_t end) const;
    Mistake at(TokenRange range, std::string message, std::string hint) const;
    std::string unexpected(int offset = 0) const {
        return "unexpected " + in_quotes(error_.word(offset));
    }
    // What the parser says, with a way out.
    void add_hint(std::string text);
    // Some tokens as a whole stand for a text.
    void rewrite(TokenRange range, std::string message, std::string hint, const std::string& text,
                 bool is_certain);

    void open_string();
    // Looks for a word or operator of another language at the token or before it: those that
    // neither PM nor calculations have, and those in `foreign`.
    void replaced_words(std::span<const Foreign> foreign);
    void missing_semicolon();
    void surplus_semicolon();
    void chained_comparison();
    // The token was certainly meant to be `mark`. An empty `mark` removes the token.
    void other_mark(std::string_view mark, std::string hint);
    // One mark or word that is missing before the token.
    void missing_marks(std::span<const std::string_view> marks);

    const SyntaxError& error_;
    const SourceText& source_;
    std::vector<Mistake> found_;

  private:
    void replaced_word(std::size_t at, std::span<const Foreign> foreign);
    void add_foreign(std::size_t at, const Foreign& foreign);
};

} // namespace norvane::driver

#endif
