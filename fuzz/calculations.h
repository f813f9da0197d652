// What every target does with a calculation that it has read.
#ifndef NORVANE_FUZZ_CALCULATIONS_H
#define NORVANE_FUZZ_CALCULATIONS_H

#include <memory>

#include "norvane/proj/calc.h"

namespace norvane::fuzz {

struct CalculationDeleter {
    void operator()(PolyHash* calc) const { calc_delete(calc); }
};
using CalculationPtr = std::unique_ptr<PolyHash, CalculationDeleter>;

// What is written as XML reads back as the same XML. False where it has no name for a part.
bool check_xml_round_trip(PolyHash& calc);

// Checked against a model: ends in a result or a defined failure, and changes nothing.
void check_types(PolyHash& calc);

} // namespace norvane::fuzz

#endif
