// Checks that every target applies to a calculation that it has read.
#ifndef NORVANE_FUZZ_CALCULATIONS_H
#define NORVANE_FUZZ_CALCULATIONS_H

#include <memory>

#include "norvane/proj/calc.h"

namespace norvane::fuzz {

struct CalculationDeleter {
    void operator()(PolyHash* calc) const { calc_delete(calc); }
};
using CalculationPtr = std::unique_ptr<PolyHash, CalculationDeleter>;

// Checks that the XML of the calculation reads back as the same XML. Returns false if the format
// cannot express the calculation.
bool check_xml_round_trip(PolyHash& calc);

// Checks that the type check against a model ends in a result or a defined failure, and that it
// changes nothing.
void check_types(PolyHash& calc);

} // namespace norvane::fuzz

#endif
