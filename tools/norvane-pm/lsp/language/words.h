// The words of a source with their places in the user's files.
#ifndef NORVANE_PM_LSP_WORDS_H
#define NORVANE_PM_LSP_WORDS_H

#include <deque>
#include <string>
#include <string_view>
#include <vector>

#include "source_text.h"

namespace norvane::driver::lsp {

// A place on one line. Lines and columns count from 1, columns in bytes; without a file it is not
// known.
struct Spot {
    const std::string* file = nullptr;
    unsigned line = 0;
    unsigned column = 0;
    unsigned end_column = 0;
    bool is_known() const { return file != nullptr; }
    bool operator==(const Spot&) const = default;
};

struct Word {
    std::string_view text;
    TokenKind kind;
    Spot spot; // not known where something else stands there, such as a macro
};

// The words of a text, and the names of files that their places borrow.
class Words {
  public:
    // Of a model after the preprocessor, and the files that it was made from.
    Words(const SourceText& source, SourceFiles& files);
    // The words of a calculation, which has no preprocessor.
    Words(const std::string& file, std::string text);
    Words(const Words&) = delete;
    Words& operator=(const Words&) = delete;

    std::size_t size() const { return words_.size(); }
    // Beyond the end: an empty word.
    const Word& operator[](std::size_t i) const { return i < size() ? words_[i] : none_; }

  private:
    const std::string* name(const std::string& file);

    std::string text_;
    std::deque<std::string> files_;
    std::vector<Word> words_;
    Word none_{{}, TokenKind::unknown, {}};
};

} // namespace norvane::driver::lsp

#endif
