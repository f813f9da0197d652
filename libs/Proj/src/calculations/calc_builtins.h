// The functions that every calculation can call. A type check adds them to the calculation, so that
// calls of them are resolved like all others.
#ifndef NORVANE_PROJ_CALC_BUILTINS_H
#define NORVANE_PROJ_CALC_BUILTINS_H

#include "norvane/proj/calc_typecheck.h"

namespace norvane::calculations {

// Ordered by namespace; ends with a row whose `ns_name` is null.
extern const CFuncSignature catalogue[];

// Adds the functions of the catalogue to the set. A function whose name the set has already is
// reported and not added.
void enter_builtins(PolyHash* calc);

// Removes the namespaces of the catalogue with all functions in them.
void remove_builtins(PolyHash* calc);

} // namespace norvane::calculations

#endif
