#include "held_reports.h"

#include <algorithm>

namespace norvane::driver {
namespace {

// Nesting that the parser has no room for: no correction helps, and to look for more takes long.
bool is_about_depth(const Report& report) {
    return report.message.find("stack overflow") != std::string::npos;
}

} // namespace

bool is_about_syntax(const Report& report) {
    const std::string_view name = report.name;
    return name == "ERR_PARSER" || name.starts_with("ERR_GRAM_") ||
           name.starts_with("ERR_INVALID_");
}

OnReport HeldReports::sink() {
    return [this](const Report& report) {
        if (report.is_error())
            reports_.push_back(report);
        else if (warnings_ == Warnings::shown)
            session_.diagnostics.report(report);
    };
}

bool HeldReports::are_faults() const {
    return std::ranges::none_of(reports_, is_about_depth) && is_input_at_fault();
}

std::vector<Finding> HeldReports::findings() const {
    if (session_.options.first || !are_faults()) return {};
    return all_faults();
}

void HeldReports::show() const {
    const std::vector<Finding> all = findings();
    if (all.empty())
        for (const Report& report : are_faults() ? with_true_lines(reports_) : reports_)
            session_.diagnostics.report(report);
    show_errors(session_, all);
}

void show_errors(Session& session, const std::vector<Finding>& errors) {
    const std::size_t most = session.options.max_errors;
    const std::size_t shown = most == 0 ? errors.size() : std::min(most, errors.size());
    for (std::size_t i = 0; i < shown; ++i)
        session.diagnostics.report(errors[i]);
    if (shown < errors.size())
        session.diagnostics.say(std::to_string(errors.size() - shown) +
                                " more errors: --max-errors=0 shows all of them");
}

} // namespace norvane::driver
