// The source of a model with changes to its tokens, and what the library's parser says of it.
//
// The parser gets each token on a line of its own. So the lines that it reports, and those of the
// records that it makes, are numbers of tokens.
#ifndef NORVANE_PM_EDITED_SOURCE_H
#define NORVANE_PM_EDITED_SOURCE_H

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "norvane/proj.hpp"

#include "edited_tokens.h"
#include "record_places.h"

namespace norvane::driver {

struct DeleteProject {
    void operator()(Project* project) const { detail::Release<proj_delete>()(project); }
};
using ProjectOwner = std::unique_ptr<Project, DeleteProject>;

// The token that a report about a project of EditedSource names; nothing where it names none.
std::optional<std::size_t> token_of(const Report& report);
// The same for a record, which has the number of a file and a line.
std::size_t token_of_line(unsigned linenumber);

class EditedSource : public EditedTokens {
  public:
    explicit EditedSource(const SourceText& source);

    // Ends the edits that parse() is to know from the start.
    void begin_parsing();

    // Parses the tokens from `first` on, after `head`, which is what opens the declarations that
    // they are in. The first error, which the last report is about; none if all of them parse.
    // Tokens up to `edited_end` are parsed as they were edited, those after it as they are.
    std::vector<TokenReport> parse(std::size_t first, std::size_t edited_end,
                                   const std::string& head) const;

    // The same of the tokens before `end` alone, as edited and with further edits, before `tail`.
    std::vector<TokenReport> parse_part(std::size_t first, std::size_t end, const std::string& head,
                                        const std::string& tail, const Edits& more) const;

    // Parses all tokens as edited. Null if they do not parse.
    ProjectOwner load() const;

  private:
    void append(std::string& text, std::size_t token, const Edits* more) const;

    std::string text_;                // all tokens, as parse() takes them
    std::vector<std::size_t> begins_; // where each token begins in it, and the end
};

} // namespace norvane::driver

#endif
