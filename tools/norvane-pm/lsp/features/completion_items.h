// What completion offers, in the order in which editors show it.
#ifndef NORVANE_PM_LSP_COMPLETION_ITEMS_H
#define NORVANE_PM_LSP_COMPLETION_ITEMS_H

#include <set>
#include <string>

#include "completion_place.h"
#include "context.h"
#include "name_index.h"

namespace norvane::driver::lsp {

// The protocol's numbers.
enum class ItemKind {
    function = 3,
    field = 5,
    variable = 6,
    module = 9,
    keyword = 14,
    snippet = 15,
    label = 20,
    constant = 21,
    structure = 22
};

// Editors sort by this first, and then by name; what fits keeps the order of its declarations.
enum class Rank : char { fitting = '0', name, word, pattern, other };

struct Snippet {
    const char* name;
    const char* text; // in the protocol's syntax: ${1:text} is filled in, $0 is the last place
};

class CompletionItems {
  public:
    explicit CompletionItems(const Context& context) : context_(context) {}

    // The first item of a name counts. `text` is inserted instead of the name if there is one.
    void add(const std::string& name, ItemKind kind, Rank rank, const std::string& detail = {},
             const std::string& text = {});
    void add_symbol(const Symbol& symbol, ItemKind kind, Rank rank);
    template <typename Table>
    void add_words(const Table& table) {
        for (const char* word : table)
            add(word, ItemKind::keyword, Rank::word);
    }
    template <typename Table>
    void add_snippets(const Table& table) {
        for (const Snippet& row : table)
            add(row.name, ItemKind::snippet, Rank::pattern, "", row.text);
    }
    // The labels of an enumeration, as texts in a calculation; SOME and NONE of an optional.
    void add_labels(const TypeNode& type, const NameIndex& names);
    // The labels alone, in the place of what the quotes of a text hold.
    void add_quoted_labels(const TypeNode& type, const NameIndex& names,
                           const CompletionPlace& place);
    void add_members(const TypeNode& type, const NameIndex& names);

    Json take() { return std::move(items_); }

  private:
    const Context& context_;
    Json items_ = Json::array();
    std::set<std::string> known_;
};

} // namespace norvane::driver::lsp

#endif
