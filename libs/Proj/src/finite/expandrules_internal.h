// The two halves of rule expansion: the walk down the types (expandrules.cpp), and the path to the
// instance that the walk is at, with what it does to a rule (expandrules_prefix.cpp).
#ifndef NORVANE_PROJ_EXPANDRULES_INTERNAL_H
#define NORVANE_PROJ_EXPANDRULES_INTERNAL_H

#include "norvane/proj/expr.h"
#include "norvane/proj/symboltable.h"

namespace norvane {

// One step of a path: a name and its indices, which lie one behind the other in Prefix::indices.
struct PrefixPart {
    char* name; // borrowed from the project
    unsigned first_index;
    unsigned index_count;
};

// The path to an instance. A throw leaves its memory behind.
struct Prefix {
    PrefixPart* parts;
    unsigned part_count, part_capacity;
    int* indices;
    unsigned index_count, index_capacity;
};

void delete_prefix(Prefix* prefix);

void push_part(Prefix* prefix, char* name);
void pop_part(Prefix* prefix);

// The index of one more dimension, 0 at first, behind those that the last part has.
void push_index(Prefix* prefix);
void set_index(Prefix* prefix, int value);
void pop_index(Prefix* prefix);

// For the identifiers of a rule, in the order of the walk: how many parts go in front of each.
struct Depths {
    unsigned* values;
    unsigned count, capacity;
};

// Puts the path in front of the identifiers of a rule, in place: of each as many parts as the depth
// of the environment that holds its first name. If `depths` is not null it keeps what the stack of
// environments said, and a copy of the rule that is given later finds it there.
void put_in_front(SymbolTable* symboltable, const Prefix& prefix, Depths* depths, Expr* rule);

} // namespace norvane

#endif
