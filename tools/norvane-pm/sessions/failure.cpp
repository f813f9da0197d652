// The library leaves its mark (norvane/base/work.h) at the declaration that it was working on when
// it threw.
#include "failure.h"

#include <memory>
#include <new>
#include <string>

#include "culprit.h"
#include "status.h"

namespace norvane::driver {
namespace {

// What may help the user.
std::string hint(const Session& session, const InternalFailure& failure) {
    if (failure.is_out_of_memory()) return "The process ran out of memory.";
    if (session.step == Step::write && !session.calculation)
        return "XML has no form for it: neither for a division nor for a shift, for example. "
               "Another way to write the same may avoid it.";
    if (session.step == Step::check_functions)
        return "This is a defect of the program, met by each call that does not name its "
               "namespace, among others. Another way to write the same may avoid it.";
    return "This is a defect of the program. Another way to write the same may avoid it.";
}

// The place that begins with what was met there: "model.pm (3): ".
Finding at(const Session& session, const Culprit& found, const std::string& text) {
    Report report;
    report.set_title(found.position + text);
    return session.diagnostics.finding_of(report);
}

Finding finding_of(const Session& session, const InternalFailure& failure, const Culprit& found) {
    Finding finding = at(session, found, std::string("internal failure: ") + failure.what());
    const auto add_note = [&finding](const std::string& text) {
        finding.notes.emplace_back().text = text;
    };
    add_note("while " + std::string(step_text(session.step)) + " " + session.subject);
    if (*found.kind != '\0') add_note("at the " + std::string(found.kind) + " " + found.text);
    add_note("thrown by " + std::string(failure.file()) + " (" + std::to_string(failure.line()) +
             ")");
    finding.hint = hint(session, failure);
    return finding;
}

// Reports that a step exceeded --max-nodes.
int report_outgrown(Session& session, const InternalFailure& failure) {
    const Culprit found = find_culprit(session);
    const std::string what = *found.kind == '\0'
                                 ? std::string(step_text(session.step)) + " " + session.subject
                                 : std::string("the ") + found.kind + " " + found.text;
    session.diagnostics.report(
        at(session, found, what + " takes " + failure.what() + ": see --max-nodes"));
    return STATUS_INPUT_AT_FAULT;
}

// Memory for the report of a failure, taken before there is any lack of it.
std::unique_ptr<char[]> reserve;

} // namespace

void reserve_memory_for_reports() {
    constexpr std::size_t size = std::size_t{1} << 20;
    reserve.reset(new (std::nothrow) char[size]);
}

int report_failure(Session& session, const InternalFailure& failure) {
    reserve.reset();
    if (failure.kind() == EXCEPT_STOPPED) return report_outgrown(session, failure);
    try {
        session.diagnostics.report(finding_of(session, failure, find_culprit(session)));
    } catch (const std::bad_alloc&) { // the search for the place needs memory, too
        session.diagnostics.report(finding_of(session, failure, {}));
    }
    return STATUS_INTERNAL_FAILURE;
}

int report_out_of_memory(Session& session) {
    ExceptionState state{EXCEPT_ASSERTION, __FILE__, __LINE__, "Out of memory"};
    return report_failure(session, InternalFailure(state));
}

int report_refusal(Session& session, const std::system_error& refusal) {
    reserve.reset();
    Finding finding;
    finding.message = std::string("internal failure: ") + refusal.what();
    finding.notes.push_back(
        {{}, "while " + std::string(step_text(session.step)) + " " + session.subject});
    session.diagnostics.report(finding);
    return STATUS_INTERNAL_FAILURE;
}

} // namespace norvane::driver
