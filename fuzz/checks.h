// Checks that every target applies to a model or a calculation that it has read.
#ifndef NORVANE_FUZZ_CHECKS_H
#define NORVANE_FUZZ_CHECKS_H

#include "harness.h"

namespace norvane::fuzz {

// Checks that the XML of the model reads back as the same XML.
void check_xml_round_trip(Project* project);

// Runs check, finite form and flat rules: each ends in a result, a report or a defined failure.
void check_pipeline(Project* project);

// Checks that the XML of the calculation reads back as the same XML. Returns false if the format
// cannot express the calculation.
bool check_xml_round_trip(PolyHash* calc);

// Checks that the type check against a model ends in a result or a defined failure, and that it
// changes nothing.
void check_types(PolyHash* calc);

} // namespace norvane::fuzz

#endif
