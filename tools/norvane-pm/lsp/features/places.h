// Places of names as the client counts them, and the name at a position.
#ifndef NORVANE_PM_LSP_PLACES_H
#define NORVANE_PM_LSP_PLACES_H

#include <string>
#include <vector>

#include "context.h"
#include "name_index.h"

namespace norvane::driver::lsp {

Range range_of(const Spot& spot, const Documents& documents);
// From the start of one to the end of the other; both must be known.
Range range_of(const Spot& first, const Spot& last, const Documents& documents);
Json location_of(const Spot& spot, const Documents& documents);

// The name at the position that the request gives; null where there is none.
const Occurrence* name_at(const Context& context);

// The text of a declaration as it is written, and the comment above it; empty where they are not
// known.
std::string declaration_text(const Symbol& symbol, const Documents& documents);
std::string comment_above(const Symbol& symbol, const Documents& documents);

// "constant", "label", ...
const char* kind_name(SymbolKind kind);

// What cuts the values of a declaration into classes; empty where nothing does.
std::vector<std::string> cuts_of(const Context& context, std::size_t symbol);

// The position of a label in its enumeration, from 0; none for another symbol.
std::size_t order_of(const NameIndex& names, std::size_t label);

} // namespace norvane::driver::lsp

#endif
