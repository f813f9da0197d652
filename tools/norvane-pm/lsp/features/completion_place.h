// Where a name is being written: the words before it, and what the paths among them lead to.
#ifndef NORVANE_PM_LSP_COMPLETION_PLACE_H
#define NORVANE_PM_LSP_COMPLETION_PLACE_H

#include <string>
#include <string_view>
#include <vector>

#include "context.h"
#include "name_index.h"
#include "tokens.h"

namespace norvane::driver::lsp {

class CompletionPlace {
  public:
    explicit CompletionPlace(const Context& context);

    // False within a comment or a text.
    bool is_code() const { return part_ == Part::code; }
    // Whether a text has begun here that has no end; words() are those before it.
    bool is_text() const { return part_ == Part::text; }
    // What the quotes of that text hold, and whether they are closed on the line.
    const Range& text_range() const { return text_range_; }
    bool is_text_closed() const { return is_text_closed_; }
    // Those before the name.
    const std::vector<std::string>& words() const { return words_; }
    std::string_view back(std::size_t i = 1) const {
        return i <= words_.size() ? std::string_view(words_[words_.size() - i]) : "";
    }
    // Whether an operand has ended, so that only an operator can follow.
    bool follows_operand() const;
    bool follows_comparison() const { return back() == "=" || back() == "<>"; }

    // Whether the place is on the lines of the symbol's declaration.
    bool is_around(const Symbol& symbol) const;
    // The type of the path that ends before the word of that number; null where it is not known.
    const TypeNode* type_before(std::size_t word) const;
    const TypeNode* type_before_last() const {
        return words_.empty() ? nullptr : type_before(words_.size() - 1);
    }

  private:
    enum class Part : unsigned char { code, text, comment };
    Part read_words(const std::string& before);
    void find_text(std::size_t quote);
    bool ends_in_line_comment(std::string_view text) const;
    std::size_t symbol_of(std::string_view name) const;
    std::vector<std::string_view> path_steps(std::size_t end) const;
    std::size_t take_indices(std::size_t i, std::vector<std::string_view>& steps) const;
    std::size_t type_of_step(std::size_t type, std::string_view step) const;

    const Context& context_;
    const NameIndex& names_;
    Language language_;
    Position position_;
    std::vector<std::string> words_;
    Part part_;
    Range text_range_;
    bool is_text_closed_ = false;
};

} // namespace norvane::driver::lsp

#endif
