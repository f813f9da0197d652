// The commands on the flat model: its variables, and its rules in other languages.
#ifndef NORVANE_PM_FLAT_RULES_H
#define NORVANE_PM_FLAT_RULES_H

#include "session.h"

namespace norvane::driver {

void variables(Session& session);

// Writes the flat rules where the options ask for more than the library's own text.
bool wants_written_rules(const Options& options);
void write_flat_rules(Session& session);

} // namespace norvane::driver

#endif
