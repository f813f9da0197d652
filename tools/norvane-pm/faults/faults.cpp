#include "faults.h"

#include <algorithm>

#include "model_faults.h"
#include "syntax_faults.h"

namespace norvane::driver {

std::vector<Finding> find_faults(const SourceText& text, NamesKnown known) {
    EditedSource source(text);
    SyntaxFaults syntax = find_syntax_faults(source, known);
    const ProjectOwner project = source.load();
    std::vector<PlacedFinding> all = std::move(syntax.findings);
    if (project) {
        const std::vector<ParsedToken> tokens = source.parsed();
        RecordPlaces places(project.get(), tokens);
        std::ranges::move(find_model_faults(project.get(), places, text, syntax),
                          std::back_inserter(all));
    }
    return in_order(std::move(all));
}

} // namespace norvane::driver
