// The library leaves its mark (norvane/base/work.h) at the declaration that it was working on when
// it threw.
#include "failure.h"

#include <memory>
#include <new>
#include <string>

#include <nlohmann/json.hpp>

#include "culprit.h"
#include "json_report.h"
#include "status.h"
#include "text.h"

namespace norvane::pm {
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

std::string place_of(const InternalFailure& failure) {
    return std::string(failure.file()) + " (" + std::to_string(failure.line()) + ")";
}

std::string text_report(const Session& session, const InternalFailure& failure,
                        const Culprit& found) {
    std::string text = "norvane-pm: internal failure: " + std::string(failure.what()) + "\n";
    text += "  while " + std::string(step_text(session.step)) + " " + session.subject + "\n";
    if (*found.kind != '\0')
        text += "  at the " + std::string(found.kind) + " " + found.position + found.text + "\n";
    text += "  thrown by " + place_of(failure) + "\n";
    return text + hint(session, failure) + "\n";
}

std::string json_report(const Session& session, const InternalFailure& failure,
                        const Culprit& found) {
    Report report;
    report.set_title(found.position + failure.what());
    auto json = to_json({"failure", "", report.title, {report.file, report.line, report.message}});
    json["step"] = step_text(session.step);
    json["kind"] = found.kind;
    json["text"] = to_utf8(found.text);
    json["thrown_by"] = place_of(failure);
    return json.dump() + "\n";
}

// A step that took more than the command line allows.
int report_outgrown(Session& session, const InternalFailure& failure) {
    const Culprit found = find_culprit(session);
    const std::string what = *found.kind == '\0'
                                 ? std::string(step_text(session.step)) + " " + session.subject
                                 : std::string("the ") + found.kind + " " + found.text;
    Report report;
    report.set_title(found.position + what + " takes " + failure.what() + ": see --max-nodes");
    session.diagnostics.report(report);
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
    const Culprit found = find_culprit(session);
    const bool is_text = session.diagnostics.format() == Format::text;
    session.diagnostics.end_with(is_text ? text_report(session, failure, found)
                                         : json_report(session, failure, found));
    return STATUS_INTERNAL_FAILURE;
}

int report_out_of_memory(Session& session) {
    ExceptionState state{EXCEPT_ASSERTION, __FILE__, __LINE__, "Out of memory"};
    return report_failure(session, InternalFailure(state));
}

} // namespace norvane::pm
