// The catalogue of the functions that every calculation may call, and how a check makes them part
// of a calculation set: calls of them resolve as all others do.
#ifndef NORVANE_PROJ_CALC_BUILTINS_H
#define NORVANE_PROJ_CALC_BUILTINS_H

#include "norvane/proj/calc_typecheck.h"

namespace norvane {

// All of the catalogue, namespace by namespace, closed by a row with a null `ns_name`.
extern const CFuncSignature build_in_func_table[];

// Adds every function of the catalogue to the set. A name that is taken is reported, and the
// function in the set stays.
void calc_enter_builtins(PolyHash* calc);

// Removes the namespaces of the catalogue, with whatever they hold.
void calc_remove_builtins(PolyHash* calc);

} // namespace norvane

#endif
