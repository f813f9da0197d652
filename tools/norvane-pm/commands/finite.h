// What the library makes of a checked model.
#ifndef NORVANE_PM_FINITE_H
#define NORVANE_PM_FINITE_H

#include "norvane/proj.hpp"

#include "session.h"

namespace norvane::driver {

// Its finite form.
const Model& make_finite(Session& session, const CheckedModel& model);

// Its flat rules.
const FlatRules& expand_rules(Session& session, const CheckedModel& model, RuleForm form,
                              RuleOrigins origins);

// Reports a model with more variables than --max-nodes and throws InputAtFault. Called before any
// step that visits every variable, since such a step might run for hours.
void check_size(Session& session, const FlatModel& flat);

} // namespace norvane::driver

#endif
