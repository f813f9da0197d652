// All faults of a model, in the order of the source.
//
// The driver asks for them when the library has refused a model, since the library ends at the
// first error. Nothing is printed.
#ifndef NORVANE_PM_FAULTS_H
#define NORVANE_PM_FAULTS_H

#include <string>
#include <vector>

#include "finding.h"
#include "source_text.h"

namespace norvane::driver {

// Whether the source declares all names that it has. Otherwise nothing is said of a name that is
// not declared, nor of a statement that does not parse and has such a name, which may be a macro.
enum class NamesKnown { all, some };

// Empty for a model that has none, and for faults that only the library finds, such as a model
// without public variables.
std::vector<Finding> find_faults(const SourceText& text, NamesKnown known = NamesKnown::all);

} // namespace norvane::driver

#endif
