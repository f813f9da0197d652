// Forms that pass the parser, or even the check, and for which the library stops.
#ifndef NORVANE_PM_EXPLAIN_STOP_H
#define NORVANE_PM_EXPLAIN_STOP_H

#include <optional>
#include <string_view>

#include "norvane/base/work.h"
#include "norvane/proj.hpp"

#include "node.h"

namespace norvane::driver {

struct Stop {
    Finding finding;
    Node node; // that it is about
};

// The form of the model for which the library stopped, as an error with its place and what to write
// instead: `thrown` is the text of the failure, and `mark` the declaration that was being worked
// on. Nothing if the failure is none of those that a form of the model causes.
std::optional<Stop> explain_stop(const Project* project, std::string_view thrown,
                                 const WorkMark& mark);

} // namespace norvane::driver

#endif
