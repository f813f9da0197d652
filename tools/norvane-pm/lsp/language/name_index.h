// All names of a model, or of a calculation and its model: where each is declared and used.
#ifndef NORVANE_PM_LSP_NAME_INDEX_H
#define NORVANE_PM_LSP_NAME_INDEX_H

#include <cstddef>
#include <deque>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "definitions.h"
#include "words.h"

namespace norvane::driver::lsp {

enum class SymbolKind : unsigned char {
    constant,
    type,
    variable,
    field,
    label,
    loop_variable,
    macro,
    name_space,
    function,
    argument,
    local
};

constexpr std::size_t none = static_cast<std::size_t>(-1);

// A type, as it is written; numbers are indices of the tables below.
struct TypeNode {
    enum class Kind : unsigned char {
        other,
        unbounded,
        enumeration,
        record,
        array,
        optional,
        named
    };
    Kind kind = Kind::other;
    std::size_t base = none;         // of an array or an optional
    std::vector<std::size_t> fields; // of a record; of an enumeration, its labels
    std::string_view name;           // of a named type
};

struct Symbol {
    SymbolKind kind;
    std::string_view name; // of a label without quotes
    Spot spot;             // of the name; not known where a macro has declared it
    Spot first;            // the first and last word of the whole declaration
    Spot last;
    std::size_t container = none; // the declaration that it is within
    std::size_t type = none;
    bool is_private = false;
    bool is_open = false;     // its end is not written yet: it reaches to the end of the text
    bool is_left_out = false; // by a condition of the preprocessor
    std::string detail = {};  // its text, if it is not a declaration of a model
};

struct Occurrence {
    Spot spot;
    std::size_t symbol;
    bool is_declaration;
};

struct Call {
    std::size_t symbol = none; // the function, or none for a built-in one
    std::string name;          // "Namespace.function"
    Spot name_spot;            // of the last word of the name
    Spot open;
    Spot close; // not known where it is not closed
    std::vector<Spot> commas;
};

class NameIndex {
  public:
    std::vector<Symbol> symbols;
    std::vector<TypeNode> types;
    std::vector<Call> calls;
    // Names of constants, labels, types and variables.
    std::unordered_map<std::string_view, std::size_t> globals;
    std::unordered_map<std::string_view, std::vector<std::size_t>> macros; // their definitions
    // Symbols whose names come out of macros somewhere.
    std::unordered_set<std::size_t> in_macros;

    void add(const Spot& spot, std::size_t symbol, bool is_declaration);
    void hold(std::unique_ptr<Words> words) { words_.push_back(std::move(words)); }
    void hold(std::unique_ptr<SourceText> source) { source_ = std::move(source); }
    const std::string* hold_name(std::string name) {
        names_.push_back(std::move(name));
        return &names_.back();
    }
    const Words* words() const { return words_.empty() ? nullptr : words_.front().get(); }

    // What stands at a place, its end included; null where nothing does.
    const Occurrence* at(const std::string& file, unsigned line, unsigned column) const;
    // Those of a file, in the order of the text.
    const std::vector<Occurrence>& of_file(const std::string& file) const;
    const std::map<std::string, std::vector<Occurrence>>& all() const { return by_file_; }
    std::vector<Occurrence> of_symbol(std::size_t symbol) const;

    // The type that a named one stands for; none where it is not known.
    const TypeNode* real(std::size_t type) const;
    std::size_t field_of(const TypeNode& record, std::string_view name) const;

    void sort();

  private:
    std::map<std::string, std::vector<Occurrence>> by_file_;
    std::deque<std::string> names_;
    std::unique_ptr<SourceText> source_; // before the words that borrow from it
    std::vector<std::unique_ptr<Words>> words_;
};

// Reads the names of a model's words into the index, which must be empty.
void read_model_names(NameIndex& index, const Words& words);
// The words and texts of a file as it is, before the preprocessor: those of directives too, without
// those in comments.
std::vector<Word> words_in_file(const std::string* file, std::string_view text);
// Adds a macro that no file defines: "NAME" or "NAME=TEXT".
void add_macro(NameIndex& index, const std::string& definition);
// Adds the macros that a file defines, and their uses in it. All definitions come first.
void read_macro_definitions(NameIndex& index, const std::string& file, std::string_view text,
                            const Definitions& definitions);
void read_macro_uses(NameIndex& index, const std::string& file, std::string_view text,
                     const Definitions& definitions);
// Adds a calculation to the names of its model.
void read_calculation_names(NameIndex& index, const Words& words);

} // namespace norvane::driver::lsp

#endif
