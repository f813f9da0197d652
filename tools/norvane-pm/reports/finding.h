// What the driver tells about the user's sources: the library's reports and its own, with places,
// notes and ways out. Programs get them too, so they are declared for those.
#ifndef NORVANE_PM_FINDING_H
#define NORVANE_PM_FINDING_H

#include <functional>

#include "norvane/faults.hpp"

namespace norvane::driver {

using Place = FaultPlace;
using Severity = FaultSeverity;
using Note = FaultNote;
using Replacement = FaultReplacement;
using Finding = Fault;

// Takes each finding as it comes.
using OnFinding = std::function<void(const Finding&)>;

} // namespace norvane::driver

#endif
