// All faults of a model that parses.
#ifndef NORVANE_PM_MODEL_FAULTS_H
#define NORVANE_PM_MODEL_FAULTS_H

#include "edited_source.h"
#include "record_places.h"
#include "syntax_faults.h"

namespace norvane::driver {

// Checks each declaration and each rule by itself. The project is that of EditedSource::load; what
// cannot be used of it is changed. The faults that the syntax errors hide are not found.
std::vector<PlacedFinding> find_model_faults(Project* project, RecordPlaces& places,
                                             const SourceText& text, const SyntaxFaults& syntax);

} // namespace norvane::driver

#endif
