// For the rooms that push environments onto the stack of a symbol table.
#ifndef NORVANE_PROJ_SYMBOLTABLE_INTERNAL_H
#define NORVANE_PROJ_SYMBOLTABLE_INTERNAL_H

#include "norvane/proj/symboltable.h"

namespace norvane::model {

// Removes this environment from the table's stack, at whatever depth it is, and does nothing if it
// is not on the stack. The environment itself is not freed.
void take_env_out(SymbolTable* symboltable, PolyHash* environment);

} // namespace norvane::model

#endif
