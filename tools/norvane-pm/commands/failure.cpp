// The library leaves its mark (norvane/base/work.h) at the declaration that it was working on when
// it threw.
#include "failure.h"

#include <string>

#include <nlohmann/json.hpp>

#include "norvane/base/work.h"

#include "json_report.h"
#include "status.h"
#include "text.h"

namespace norvane::pm {
namespace {

// A declaration for a person: "rule", "variable", ..., where it stands, and its text. Without a
// kind where there is none.
struct Culprit {
    const char* kind = "";
    std::string position;
    std::string text;
};

// The expression, cut at some depth; empty if it cannot be printed either.
std::string expr_text(Expr* expr) try {
    constexpr int depth = 6;
    UtilString* printed = call([] { return ustr_new(); });
    call([=] { ppm_printn_expr_str(expr, printed, depth); });
    std::string text(printed->text, printed->length);
    for (char& c : text)
        if (c == '\n') c = ' ';
    call([=] { ustr_delete(printed); });
    return text;
} catch (const InternalFailure&) {
    return "";
}

std::string position_of(const Session& session, unsigned linenumber) {
    if (!session.project) return "";
    char text[MESSAGE_BUFFER_SIZE];
    call([&] { proj_line_information(session.project->line_info, linenumber, text); });
    return text;
}

template <typename Declaration>
Culprit culprit(const Session& session, const char* kind, const Declaration* declaration) {
    return {kind, position_of(session, declaration->linenumber), declaration->name};
}

Culprit culprit(const Session& session, const RuleDecl* rule) {
    return {"rule", position_of(session, rule->linenumber), expr_text(rule->rule)};
}

Culprit culprit(const Session& session, const ConstantDecl* constant) {
    Culprit found = culprit(session, "constant", constant);
    found.text += " : " + expr_text(constant->value);
    return found;
}

Culprit culprit(const Session& session, const CFunc* func) {
    Culprit found{"function", "", func->name};
    if (func->filename && func->line_no != CALC_UNDEF_LINENO)
        found.position = std::string(func->filename) + " (" + std::to_string(func->line_no) + "): ";
    if (!session.calculation) return found;
    for (const CalculationFunction& function : session.calculation->functions())
        if (function.func == func) found.text = std::string(function.ns->name) + "." + func->name;
    return found;
}

Culprit find_culprit(const Session& session) try {
    const WorkMark& mark = work_mark;
    switch (mark.kind) {
    case WORK_RULE: return culprit(session, static_cast<const RuleDecl*>(mark.subject));
    case WORK_VARIABLE:
        return culprit(session, "variable", static_cast<const VarDecl*>(mark.subject));
    case WORK_TYPE: return culprit(session, "type", static_cast<const TypeDecl*>(mark.subject));
    case WORK_CONSTANT: return culprit(session, static_cast<const ConstantDecl*>(mark.subject));
    case WORK_FUNCTION: return culprit(session, static_cast<const CFunc*>(mark.subject));
    case WORK_NOTHING: break;
    }
    return {};
} catch (const InternalFailure&) {
    return {};
}

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

} // namespace

int report_failure(Session& session, const InternalFailure& failure) {
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
