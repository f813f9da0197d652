// The model that a command works on.
#ifndef NORVANE_PM_LOAD_MODEL_H
#define NORVANE_PM_LOAD_MODEL_H

#include <string>
#include <vector>

#include "session.h"

namespace norvane::driver {

// The model that the options name.
Model& load_model(Session& session);
CheckedModel& check_model(Session& session, Model& model);
CheckedModel& load_and_check_model(Session& session);

// Its parts: checks what the command line says of the model, before anything is read, and reads it.
void check_model_usage(const Session& session);
Result<Model> read_model(Session& session, const std::string& name, const OnReport& on_report);

// Refuses inputs of which more than one is standard input: it can be read only once.
void check_standard_input(const Session& session);

// Each file once, however often the preprocessor came back to it. A model in XML is one file, and
// lists none.
std::vector<std::string> source_files(const Project* project);

} // namespace norvane::driver

#endif
