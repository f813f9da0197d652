// The tokens of a source with changes.
//
// A parser gets each token on a line of its own. So the lines that it reports, and those of the
// records that it makes, are numbers of tokens.
#ifndef NORVANE_PM_EDITED_TOKENS_H
#define NORVANE_PM_EDITED_TOKENS_H

#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "norvane/proj.hpp"

#include "record_places.h"
#include "source_text.h"

namespace norvane::driver {

// A report of the library, and the token that it names: the size of the source at its end.
struct TokenReport {
    Report report;
    std::size_t token;
};

// What stands in the place of a token: itself, with texts before or after it, another text, or
// nothing.
struct Edit {
    std::string before;
    std::optional<std::string> instead;
    std::string after;
};
using Edits = std::unordered_map<std::size_t, Edit>;

class EditedTokens {
  public:
    explicit EditedTokens(const SourceText& source) : source_(source), dropped_(source.size()) {}

    const SourceText& source() const { return source_; }

    void edit(std::size_t token, Edit what) { edits_[token] = std::move(what); }
    const Edits& edits() const { return edits_; }
    void add(const Edits& edits);
    // Takes out the tokens from `first`, before `end`.
    void drop(std::size_t first, std::size_t end);

    // All tokens as edited.
    std::vector<ParsedToken> parsed() const;

  protected:
    // Adds a token as edited, or by further edits, as a line.
    void append_token(std::string& text, std::size_t token, const Edits* more) const;

  private:
    const SourceText& source_;
    Edits edits_;
    std::vector<bool> dropped_;
};

} // namespace norvane::driver

#endif
