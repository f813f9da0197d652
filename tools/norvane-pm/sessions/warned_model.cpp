#include "warned_model.h"

#include <algorithm>
#include <memory>
#include <new>

#include "explain_stop.h"
#include "faults.h"
#include "find_warnings.h"
#include "refused_model.h"

namespace norvane::driver {
namespace {

bool concerns(const Warned& warned, Made made) {
    switch (made) {
    case Made::nothing: return false;
    case Made::rules: return warned.on_rules;
    case Made::finite_form: return warned.on_simplify;
    }
    return false;
}

// Gives the warnings their places, in the order of these. One that has none stays after the one
// before it.
void place_all(const CheckedModel& model, const SourceText& source, std::vector<Warned>& all) {
    NodePlaces places(model.get(), source);
    std::size_t last = 0;
    for (Warned& warned : all)
        last = warned.token = places.place(warned.finding, warned.node).value_or(last);
    std::ranges::stable_sort(all, {}, &Warned::token);
}

} // namespace

// What has no result at all is reported when the step fails, since a loop may never come to it.
std::vector<Finding> show_warnings(Session& session, const CheckedModel& model, Made made) {
    const Selection& selection = session.options.warnings;
    std::vector<Warned> all = find_warnings(model, selection);
    if (made != Made::nothing)
        std::erase_if(all, [](const Warned& w) { return w.warning == Warning::unsupported; });
    if (all.empty()) return {};
    // Only now, as it takes another run of the preprocessor.
    const std::unique_ptr<SourceText> source = read_source(session);
    if (source) place_all(model, *source, all);
    bool is_at_fault = false;
    std::vector<Finding> shown;
    for (Warned& warned : all) {
        if (selection.is_error(warned.warning, concerns(warned, made))) {
            warned.finding.severity = Severity::error;
            is_at_fault = true;
        }
        session.diagnostics.report(warned.finding);
        shown.push_back(std::move(warned.finding));
    }
    if (is_at_fault) throw InputAtFault();
    return shown;
}

bool report_stop(Session& session, const InternalFailure& failure) try {
    if (!session.project || failure.kind() != EXCEPT_ASSERTION) return false;
    if (session.step != Step::check && session.step != Step::simplify &&
        session.step != Step::expand)
        return false;
    std::optional<Stop> stop = explain_stop(session.project, failure.what(), work_mark);
    if (!stop) return false;
    if (const std::unique_ptr<SourceText> source = read_source(session)) {
        NodePlaces(session.project, *source).place(stop->finding, stop->node);
        if (session.step == Step::check && !session.options.first)
            for (const Finding& fault : find_faults(*source))
                session.diagnostics.report(fault);
    }
    session.diagnostics.report(stop->finding);
    return true;
} catch (const InternalFailure&) {
    return false; // the first failure is the one to report
} catch (const std::bad_alloc&) {
    return false;
}

} // namespace norvane::driver
