// The commands on models, and what other commands do with a model.
#ifndef NORVANE_PM_MODELS_H
#define NORVANE_PM_MODELS_H

#include "session.h"

namespace norvane::driver {

void check(Session& session);
void print(Session& session);
void simplify(Session& session);
void rules(Session& session);
void convert(Session& session);
void info(Session& session); // of a calculation too

// The form of a model's file, by its extension, if the options do not say it.
ModelForm model_form(ModelForm said, const std::string& file);

// The model that the options name.
Model& load_model(Session& session);
CheckedModel& load_and_check_model(Session& session);
// Its flat rules.
const FlatRules& expand_rules(Session& session, const CheckedModel& model, RuleForm form,
                              RuleOrigins origins);

// Refuses inputs of which more than one is standard input: it can be read only once.
void check_standard_input(const Session& session);

} // namespace norvane::driver

#endif
