// Assumptions on the command line: rules of PM that are added to a model for one question.
#ifndef NORVANE_PM_ASSUMPTIONS_H
#define NORVANE_PM_ASSUMPTIONS_H

#include "session.h"

namespace norvane::driver {

// Adds each of the texts as a rule, with the place "--assume (1)" for the first one. Reports what
// is no rule.
void add_assumptions(Session& session, Model& model, const std::vector<std::string>& texts);

} // namespace norvane::driver

#endif
