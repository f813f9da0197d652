// The files of a model: in, and out again.
#ifndef NORVANE_PM_MODELS_H
#define NORVANE_PM_MODELS_H

#include <string>

#include "options.h"
#include "work.h"

namespace norvane::pm {

// What a file holds, by its extension.
ModelForm form_of(const std::string& file);

// Steps: false after a report.

// Reads the model, in the form that the options say; unknown is source.
bool load_model(Work& work);
bool check_model(Work& work);
// Writes the model to the options' output. Nothing is checked before.
bool write_model(Work& work);

} // namespace norvane::pm

#endif
