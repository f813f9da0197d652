// The warnings about a checked model, and the forms in it that the library does not support.
#ifndef NORVANE_PM_WARNED_MODEL_H
#define NORVANE_PM_WARNED_MODEL_H

#include <vector>

#include "session.h"

namespace norvane::driver {

// What a command makes of a checked model.
enum class Made { nothing, rules, finite_form };

// Shows the warnings, and returns them. Throws an InputAtFault if one of them is an error, as those
// about the meaning of what is to be made are.
std::vector<Finding> show_warnings(Session& session, const CheckedModel& model, Made made);

// Reports the form of the model for which the library stopped. False if it stopped for another
// reason.
bool report_stop(Session& session, const InternalFailure& failure);

} // namespace norvane::driver

#endif
