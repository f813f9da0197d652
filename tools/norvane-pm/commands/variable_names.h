// Names of variables in files beside the model.
#ifndef NORVANE_PM_VARIABLE_NAMES_H
#define NORVANE_PM_VARIABLE_NAMES_H

#include "norvane/proj.hpp"

namespace norvane::driver {

// True if the checked model has this variable, or this part of one, spelled as the rules are
// printed: "shelves[0].slots[1].card". Reports nothing.
bool is_variable(const CheckedModel& model, const char* name);

} // namespace norvane::driver

#endif
