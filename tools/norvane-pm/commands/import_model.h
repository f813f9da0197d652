// Models in other languages, which are converted from.
#ifndef NORVANE_PM_IMPORT_MODEL_H
#define NORVANE_PM_IMPORT_MODEL_H

#include "session.h"

namespace norvane::driver {

// Both write the display texts too, where they are asked for, and tell what was left out.
Model& import_model(Session& session, ModelForm from);
void import_as_source(Session& session, ModelForm from);

} // namespace norvane::driver

#endif
