// The graph of rules and the variables that they name, in the language of Graphviz.
#ifndef NORVANE_PM_GRAPH_H
#define NORVANE_PM_GRAPH_H

#include <string>
#include <string_view>

#include "terms.h"
#include "writer.h"

namespace norvane::driver {

// "text", in UTF-8, which Graphviz shows as it is: all text of a model goes through this.
std::string dot_string(std::string_view bytes);

// Each rule is a node between the variables that it names. Variables that no rule names are left
// out.
enum class NodeLinks { none, to_page }; // to the places of a page about the model
void write_dot(const Terms& terms, const FlatRules& rules, Writer& out,
               NodeLinks links = NodeLinks::none);

} // namespace norvane::driver

#endif
