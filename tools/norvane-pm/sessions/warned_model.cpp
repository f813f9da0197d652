#include "warned_model.h"

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
    std::unique_ptr<NodePlaces> places;
    if (source) places = std::make_unique<NodePlaces>(model.get(), *source);
    bool is_at_fault = false;
    std::vector<Finding> shown;
    for (Warned& warned : all) {
        if (places) places->place(warned.finding, warned.node);
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
