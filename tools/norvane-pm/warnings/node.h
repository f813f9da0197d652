// The node of a model that a finding is about, and its place in the source.
#ifndef NORVANE_PM_NODE_H
#define NORVANE_PM_NODE_H

#include <optional>
#include <vector>

#include "norvane/proj.hpp"

#include "finding.h"
#include "record_places.h"
#include "source_text.h"

namespace norvane::driver {

struct Node {
    unsigned linenumber = UNDEF_LINENO; // as the model keeps it (LineInfo)
    const void* declaration = nullptr;  // ConstantDecl, TypeDecl, VarDecl or RuleDecl
    const Expr* root = nullptr;         // the whole expression; null for what is in none
    const void* part = nullptr;         // Expr or IdCon below the root, or a TypeCon
};

// The file and line that the model keeps for a node.
Place line_of(const Project* project, unsigned linenumber);

// Gives findings about a project their columns, and notes of the macros and includes by which the
// nodes came into the source.
class NodePlaces {
  public:
    NodePlaces(const Project* project, const SourceText& source)
        : source_(source), tokens_(parsed_tokens(source)), places_(project, tokens_) {}
    NodePlaces(const NodePlaces&) = delete;
    NodePlaces& operator=(const NodePlaces&) = delete;

    // The token that the node begins with; nothing where it is not known.
    std::optional<std::size_t> place(Finding& finding, const Node& node);

  private:
    std::optional<TokenRange> find(const Node& node);

    const SourceText& source_;
    std::vector<ParsedToken> tokens_;
    RecordPlaces places_;
};

} // namespace norvane::driver

#endif
