// `norvane-pm lsp`: the language server, on standard input and output.
#ifndef NORVANE_PM_LSP_SERVE_H
#define NORVANE_PM_LSP_SERVE_H

#include "session.h"

namespace norvane::driver {

void serve_editor(Session& session);

} // namespace norvane::driver

#endif
