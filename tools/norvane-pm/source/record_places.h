// Which tokens the records of a project were made from.
//
// The tree of a declaration has its parts in the order of the source, so walking it along the
// tokens of the declaration finds those of each part.
#ifndef NORVANE_PM_RECORD_PLACES_H
#define NORVANE_PM_RECORD_PLACES_H

#include <optional>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "norvane/proj.hpp"

#include "source_text.h"

namespace norvane::driver {

// A token as the parser got it: one of the source, or a word that was put in its place.
struct ParsedToken {
    TokenKind kind;
    std::string_view word;
    std::size_t token; // of the source
};

// All tokens of a source.
std::vector<ParsedToken> parsed_tokens(const SourceText& source);

// A declaration or a rule, as indices of tokens of the source.
struct Declared {
    TokenRange range; // the statement, without its semicolon
    std::size_t name; // of a rule, its first token
};

class RecordPlaces {
  public:
    // The project must have been made from these tokens. What they do not fit has no place.
    RecordPlaces(const Project* project, const std::vector<ParsedToken>& tokens);

    // The tokens of a ConstantDecl, TypeDecl, VarDecl or RuleDecl; null if they are not known.
    const Declared* find(const void* declaration) const;

    // The tokens of a type (TypeCon).
    std::optional<TokenRange> find_type(const TypeCon* typecon) const;

    // The tokens of an expression or an identifier (Expr, IdCon) that is below `root`: a rule, the
    // value of a constant, the bound of a range or the size of an array. Without parentheses.
    std::optional<TokenRange> find_part(const Expr* root, const void* part);
    // The operator of a binary expression below `root`.
    std::optional<std::size_t> find_operator(const Expr* root, const Expr* binary);

  private:
    friend class DeclarationWalk;
    friend class ExpressionWalk;
    using Ranges = std::unordered_map<const void*, TokenRange>;

    const TokenRange* part_at(const Expr* root, const void* part);

    const std::vector<ParsedToken>& tokens_;
    std::unordered_map<const void*, Declared> declared_;
    Ranges types_;
    std::unordered_map<const Expr*, std::size_t> roots_; // where expressions of their own begin
    const Expr* walked_ = nullptr;                       // the root whose parts are known
    Ranges parts_;                                       // in `tokens_`
};

} // namespace norvane::driver

#endif
