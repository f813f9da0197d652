// The warnings about a checked model.
#ifndef NORVANE_PM_FIND_WARNINGS_H
#define NORVANE_PM_FIND_WARNINGS_H

#include <vector>

#include "norvane/proj.hpp"

#include "finding.h"
#include "node.h"
#include "selection.h"

namespace norvane::driver {

// A warning about a model, and which results it is about.
struct Warned {
    Warning warning;
    Node node; // that it is about
    Finding finding;
    bool on_rules;    // concerns the flat rules
    bool on_simplify; // concerns the finite form
    // That it begins with, once it is known. The lines of a model have 16 bits, so they do not give
    // the order of a longer source.
    std::size_t token = 0;
};

// Finds what `selection` turns on, in the order of the source. The places are lines, as the model
// keeps them (node.h finds columns). The model stays as it is, and nothing is printed.
std::vector<Warned> find_warnings(const CheckedModel& model, const Selection& selection);

} // namespace norvane::driver

#endif
