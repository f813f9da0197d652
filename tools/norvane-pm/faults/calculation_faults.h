// All faults of a calculation, in the order of the source.
//
// The library's check ends at the first one in each function, and its parser at the first of all.
#ifndef NORVANE_PM_CALCULATION_FAULTS_H
#define NORVANE_PM_CALCULATION_FAULTS_H

#include <vector>

#include "norvane/proj.hpp"

#include "finding.h"
#include "source_text.h"

namespace norvane::driver {

// Judges what parses against the names of a checked model; without a model, null, only the syntax.
// Empty for a calculation that has no fault.
std::vector<Finding> find_calculation_faults(const SourceText& text, const CheckedModel* model);

// Whether a call names no namespace, which the library's check stops at.
bool has_bare_call(const Calculation& calculation);

} // namespace norvane::driver

#endif
