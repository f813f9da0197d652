// What is usually meant where a statement does not parse.
#ifndef NORVANE_PM_USUAL_MISTAKES_H
#define NORVANE_PM_USUAL_MISTAKES_H

#include <optional>
#include <string>
#include <vector>

#include "edited_source.h"
#include "statements.h"

namespace norvane::pm {

// A statement in which the parser met a token that it did not expect.
struct SyntaxError {
    const SourceText& source;
    const Statement& statement;
    std::size_t token;

    // Around that token; empty outside of the source.
    std::string_view word(int offset = 0) const;
};

struct Mistake {
    std::string message;                // empty: the parser's
    std::string hint;                   // empty: what to write says it
    Edits edits;                        // that may correct it; none: only the hint is known
    TokenRange range{};                 // what it is about
    std::optional<std::string> instead; // of the range as a whole, where that says it best
    bool is_certain = false;
    bool is_guess = false;       // the statement may mean something else
    bool ends_statement = false; // the edit ends the statement before the token
    bool has_to_parse = false;   // the edit is right only if all of the statement parses then
};

// In the order in which to try them.
std::vector<Mistake> possible_mistakes(const SyntaxError& error);

// The section word that begins at a token in a misspelt form; empty for none.
std::string_view misspelt_section(const SourceText& source, std::size_t token);

} // namespace norvane::pm

#endif
