// Checks that every target applies to a model or a calculation that it has read.
#ifndef NORVANE_FUZZ_CHECKS_H
#define NORVANE_FUZZ_CHECKS_H

#include <memory>
#include <string>

#include "norvane/proj/calc.h"
#include "norvane/proj/project.h"

namespace norvane::fuzz {

struct Deleter {
    void operator()(Project* project) const { proj_delete(project); }
    void operator()(PolyHash* calc) const { calc_delete(calc); }
};
using ProjectPtr = std::unique_ptr<Project, Deleter>;
using CalculationPtr = std::unique_ptr<PolyHash, Deleter>;

std::string print(Project& project);

// Checks that the XML of the model reads back as the same XML.
void check_xml_round_trip(Project& project);

// Runs check, finite form and flat rules: each ends in a result, a report or a defined failure.
void check_pipeline(Project& project);

// Checks that the XML of the calculation reads back as the same XML. Returns false if the format
// cannot express the calculation.
bool check_xml_round_trip(PolyHash& calc);

// Checks that the type check against a model ends in a result or a defined failure, and that it
// changes nothing.
void check_types(PolyHash& calc);

} // namespace norvane::fuzz

#endif
