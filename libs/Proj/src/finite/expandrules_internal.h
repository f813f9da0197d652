// The two halves of rule expansion: the walk down the types (expandrules.cpp), and the path to the
// instance that the walk has reached, with the rewrite of a rule for it (expandrules_prefix.cpp).
#ifndef NORVANE_PROJ_EXPANDRULES_INTERNAL_H
#define NORVANE_PROJ_EXPANDRULES_INTERNAL_H

#include "norvane/base/array.hpp"
#include "norvane/proj/expr.h"
#include "norvane/proj/symboltable.h"

namespace norvane::finite {

// One step of a path: a name and its indices, which are consecutive in Prefix::indices.
struct PrefixPart {
    char* name;         // borrowed from the project
    std::size_t length; // of the name
    std::size_t first_index;
    std::size_t index_count;
};

// The path to an instance.
struct Prefix {
    Array<PrefixPart> parts;
    Array<int> indices;
};

void push_part(Prefix* prefix, char* name);
void pop_part(Prefix* prefix);

// Adds the index of one more dimension, 0 at first, to the last part.
void push_index(Prefix* prefix);
void set_index(Prefix* prefix, int value);
void pop_index(Prefix* prefix);

// For the identifiers of a rule, in the order of the walk: how many parts of the path each gets.
using Depths = Array<std::size_t>;

// Prepends the path to each identifier of a rule, in place: as many parts as the depth of the
// environment that declares its first name. If `depths` is not null, the depths are recorded there
// or, if recorded before, taken from there.
void add_prefix(SymbolTable* symboltable, const Prefix& prefix, Depths* depths, Expr* rule);

} // namespace norvane::finite

#endif
