// All syntax errors of a source, and the source without them.
#ifndef NORVANE_PM_SYNTAX_FAULTS_H
#define NORVANE_PM_SYNTAX_FAULTS_H

#include <string>
#include <unordered_set>
#include <vector>

#include "edited_source.h"
#include "faults.h"
#include "placed_finding.h"

namespace norvane::driver {

struct SyntaxFaults {
    std::vector<PlacedFinding> findings;
    // Names in declarations that do not parse, or that the source does not have: what is said of
    // them cannot be judged.
    std::unordered_set<std::string> lost_names;
    // Statements that parse after a change which may not be what was meant.
    std::vector<TokenRange> guessed;
};

// Edits the source so that it parses: usual mistakes are corrected, and other statements that do
// not parse taken out.
SyntaxFaults find_syntax_faults(EditedSource& source, NamesKnown known);

} // namespace norvane::driver

#endif
