// The source of a calculation with changes to its tokens, and what the library's parser says of it.
#ifndef NORVANE_PM_EDITED_CALCULATION_H
#define NORVANE_PM_EDITED_CALCULATION_H

#include <optional>
#include <string>
#include <vector>

#include "edited_tokens.h"

namespace norvane::driver {

struct LoadedCalculation {
    std::optional<Calculation> calculation; // none if it does not parse
    std::vector<Report> reports;
};

class EditedCalculation : public EditedTokens {
  public:
    explicit EditedCalculation(const SourceText& source);

    // Parses tokens as edited, and by further edits, between `head` and `tail`. The first error, if
    // there is one.
    std::optional<TokenReport> parse(TokenRange tokens, const std::string& head,
                                     const std::string& tail, const Edits& more = {}) const;

    // Parses all tokens as edited. In the result each line number is the index of a token plus 1.
    LoadedCalculation load() const;

    // The token that a line of that calculation stands for.
    static std::size_t token_of_line(int line) { return static_cast<std::size_t>(line) - 1; }
};

} // namespace norvane::driver

#endif
