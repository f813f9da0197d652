// The graph of a model as a picture, if Graphviz is installed.
#ifndef NORVANE_PM_DRAWING_H
#define NORVANE_PM_DRAWING_H

#include "page.h"

namespace norvane::driver {

Drawing draw_graph(const Terms& terms, const FlatRules& rules);

} // namespace norvane::driver

#endif
