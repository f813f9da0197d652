// Calculations as text that shows each node: operators stand before their operands, names of the
// product model have a "$", and lines can be shown.
#ifndef NORVANE_TESTS_CALC_DUMP_H
#define NORVANE_TESTS_CALC_DUMP_H

#include <string>

#include "norvane/proj/calc.h"

namespace norvane::test {

std::string dump(const CExpr* expr, bool lines = false);
std::string dump(const PolyHash* calc, bool lines = false);

// The names alone, "ns: f g; ns2: h", the containers of each namespace being compared on the way.
std::string functions(const PolyHash* calc);

} // namespace norvane::test

#endif
