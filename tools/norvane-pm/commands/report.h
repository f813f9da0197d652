// The commands that show a model: a page of HTML, and a graph.
#ifndef NORVANE_PM_COMMANDS_REPORT_H
#define NORVANE_PM_COMMANDS_REPORT_H

#include "session.h"

namespace norvane::driver {

void write_report(Session& session);
void write_graph(Session& session);

} // namespace norvane::driver

#endif
