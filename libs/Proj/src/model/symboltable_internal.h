// What the symbol table offers to the rooms that push environments on its stack.
#ifndef NORVANE_PROJ_SYMBOLTABLE_INTERNAL_H
#define NORVANE_PROJ_SYMBOLTABLE_INTERNAL_H

#include "norvane/proj/symboltable.h"

namespace norvane::model {

// Removes this very environment from the table's stack, wherever it is in it; does nothing if it is
// not there.
void take_env_out(SymbolTable* symboltable, PolyHash* environment);

} // namespace norvane::model

#endif
