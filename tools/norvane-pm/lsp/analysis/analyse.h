// What a run does: it checks a model or a calculation, and tells of a model what only its check
// finds out.
#ifndef NORVANE_PM_LSP_ANALYSE_H
#define NORVANE_PM_LSP_ANALYSE_H

#include "session.h"

namespace norvane::driver::lsp {

// Commands. Their reports are those of `norvane-pm check` and `calc check`. Of a model that passes,
// the first one writes the values of its constants and the classes of its unbounded variables too.
void analyse_model(Session& session);
void analyse_calculation(Session& session);
// Parses a calculation whose model is not known.
void parse_calculation(Session& session);

} // namespace norvane::driver::lsp

#endif
