// What the library makes of a checked model.
#ifndef NORVANE_PM_FINITE_H
#define NORVANE_PM_FINITE_H

#include "session.h"

namespace norvane::driver {

// Its finite form.
const Model& make_finite(Session& session, const CheckedModel& model);

// Its flat rules.
const FlatRules& expand_rules(Session& session, const CheckedModel& model, RuleForm form,
                              RuleOrigins origins);

} // namespace norvane::driver

#endif
