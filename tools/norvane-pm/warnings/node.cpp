#include "node.h"

#include <string>
#include <utility>

namespace norvane::driver {

Place line_of(const Project* project, unsigned linenumber) {
    char text[MESSAGE_BUFFER_SIZE];
    call([=, buffer = text] { proj_line_information(project->line_info, linenumber, buffer); });
    Report report;
    report.set_title(std::string(text) + ".");
    return {report.file, report.line, 0, 0, 0};
}

// Where a part is not found, the declaration stands for it; by its name, except for a rule.
std::optional<TokenRange> NodePlaces::find(const Node& node) {
    if (node.root && node.part)
        if (const auto range = places_.find_part(node.root, node.part)) return range;
    if (!node.root && node.part)
        if (const auto range = places_.find_type(static_cast<const TypeCon*>(node.part)))
            return range;
    const Declared* declared = places_.find(node.declaration);
    if (!declared) return {};
    const bool is_rule = declared->name == declared->range.first;
    return is_rule || node.root ? declared->range : TokenRange{declared->name, declared->name};
}

std::optional<std::size_t> NodePlaces::place(Finding& finding, const Node& node) {
    const auto range = find(node);
    if (!range) return {};
    finding.place = source_.place(*range);
    for (Note& note : source_.notes(range->first))
        finding.notes.push_back(std::move(note));
    return range->first;
}

} // namespace norvane::driver
