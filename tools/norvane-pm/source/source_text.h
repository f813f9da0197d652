// A source as the parser sees it, that of a model after the preprocessor, and where each token of
// it stands in the user's files.
#ifndef NORVANE_PM_SOURCE_TEXT_H
#define NORVANE_PM_SOURCE_TEXT_H

#include <cstddef>
#include <map>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "expansion.h"
#include "finding.h"
#include "macros.h"
#include "source_files.h"
#include "tokens.h"

namespace norvane::driver {

// Tokens from `first` to `last`, both included.
struct TokenRange {
    std::size_t first;
    std::size_t last;
};

class SourceText {
  public:
    // `text` is what the preprocessor wrote, `file` the model's file, which the lines before the
    // first directive belong to.
    SourceText(std::string text, std::string file, SourceFiles files = {},
               Language language = Language::model);
    SourceText(const SourceText&) = delete;
    SourceText& operator=(const SourceText&) = delete;

    const std::string& file() const { return file_; }
    // The files that the source consists of, in their order.
    std::vector<std::string> files() const;
    Language language() const { return language_; }
    const std::vector<Token>& tokens() const { return scan_.tokens; }
    std::size_t size() const { return scan_.tokens.size(); }
    std::string_view word(std::size_t token) const {
        return std::string_view(text_).substr(scan_.tokens[token].offset,
                                              scan_.tokens[token].length);
    }
    // Whether a comment is open at the end.
    bool ends_in_comment() const { return scan_.comment_depth > 0; }

    // Whether a macro has put the token there: what stands at its place is something else.
    bool is_from_macro(std::size_t token) const { return origin(token).use != Expansion::no_use; }
    // The macro that has put the token there, as the user has written it; empty for none.
    const std::string& macro_of(std::size_t token) const;

    // Whether nothing stands between the token and the one before it.
    bool touches_the_one_before(std::size_t token) const {
        return token > 0 && scan_.tokens[token].offset == end_of(token - 1);
    }
    // Whether nothing but space stands between the tokens: no comment.
    bool is_free_of_comments(TokenRange range) const;

    // Whether the token is the first one on its line of the preprocessor's text.
    bool begins_line(std::size_t token) const;

    // The place in the user's files. It has no column where the preprocessor has changed the line
    // in a way that leaves a doubt, and where the file cannot be read.
    Place place(TokenRange range) const;
    Place place(std::size_t token) const { return place({token, token}); }
    // Just after a token, where something is missing.
    Place place_after(std::size_t token) const;

    // How the token came there: "expanded from macro NEEDS", from the macro that the user has
    // written down to the innermost; and "included from here", innermost first.
    std::vector<Note> notes(std::size_t token) const;

  private:
    // Lines from `offset` on, up to the next segment, are those of a file.
    struct Segment {
        std::size_t offset;
        std::size_t row; // of the text, counted from 0
        std::string file;
        unsigned line;
        std::size_t includer; // the segment that the file was included from, or none
        unsigned includer_line;
    };
    // Where a token of a line comes from.
    struct Origin {
        unsigned line = 0; // 0: not known
        unsigned column = 0;
        unsigned end_column = 0;
        std::uint32_t use = Expansion::no_use; // of a macro
    };
    struct Row {
        std::size_t first_token;
        std::vector<Origin> origins;
        std::vector<Expansion::Use> uses;
    };

    std::size_t end_of(std::size_t token) const {
        return scan_.tokens[token].offset + scan_.tokens[token].length;
    }
    void find_segments();
    void add_segment(std::size_t offset, std::string file, unsigned line);
    void add_macro(std::size_t offset, Macro macro);
    std::size_t row_of(std::size_t offset) const;
    const Segment& segment_of(std::size_t offset) const;
    std::string_view row_text(std::size_t row) const;
    const Row& aligned(std::size_t token) const;
    Row align(std::size_t row) const;
    std::size_t first_row(std::size_t row, const Segment& segment) const;
    void expand(std::size_t row, std::span<const Token> here, Row& result) const;
    void add_macros(std::size_t token, std::vector<Note>& notes) const;
    const Origin& origin(std::size_t token) const;

    std::string text_;
    std::string file_;
    Language language_;
    mutable SourceFiles files_;
    Scan scan_;
    std::vector<std::size_t> rows_; // offsets of the lines of the text
    std::vector<Segment> segments_;
    Macros macros_;
    mutable std::map<std::size_t, Row> aligned_;
};

} // namespace norvane::driver

#endif
