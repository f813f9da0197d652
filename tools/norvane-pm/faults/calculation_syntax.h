// All syntax errors of a calculation, and the source without them.
#ifndef NORVANE_PM_CALCULATION_SYNTAX_H
#define NORVANE_PM_CALCULATION_SYNTAX_H

#include "edited_calculation.h"
#include "syntax_faults.h"

namespace norvane::driver {

// Edits the source so that it parses, as find_syntax_faults does that of a model.
SyntaxFaults find_syntax_faults(EditedCalculation& source);

} // namespace norvane::driver

#endif
