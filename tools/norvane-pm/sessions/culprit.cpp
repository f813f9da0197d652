#include "culprit.h"

#include <algorithm>

#include "norvane/base/work.h"

namespace norvane::driver {
namespace {

// The expression, cut at some depth; empty if it cannot be printed either.
std::string expr_text(Expr* expr) try {
    constexpr int depth = 6;
    std::string text = printed([=](UtilString* to) { ppm_printn_expr_str(expr, to, depth); });
    std::ranges::replace(text, '\n', ' ');
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
Culprit place(const Session& session, const char* kind, const Declaration* declaration) {
    return {kind, position_of(session, declaration->linenumber), ""};
}

Culprit place(const CFunc* func) {
    if (!func->filename || func->line_no == CALC_UNDEF_LINENO) return {"function", "", ""};
    return {"function",
            std::string(func->filename) + " (" + std::to_string(func->line_no) + "): ", ""};
}

// With its namespace, where the calculation is known.
std::string name_of(const Session& session, const CFunc* func) {
    if (!session.calculation) return func->name;
    for (const CalculationFunction& function : session.calculation->functions())
        if (function.func == func) return std::string(function.ns->name) + "." + func->name;
    return func->name;
}

std::string text_of_mark(const Session& session) {
    const void* subject = work_mark.subject;
    switch (work_mark.kind) {
    case WORK_RULE: return expr_text(static_cast<const RuleDecl*>(subject)->rule);
    case WORK_VARIABLE: return static_cast<const VarDecl*>(subject)->name;
    case WORK_TYPE: return static_cast<const TypeDecl*>(subject)->name;
    case WORK_CONSTANT: {
        const auto* constant = static_cast<const ConstantDecl*>(subject);
        return std::string(constant->name) + " : " + expr_text(constant->value);
    }
    case WORK_FUNCTION: return name_of(session, static_cast<const CFunc*>(subject));
    case WORK_NOTHING: break;
    }
    return "";
}

} // namespace

Culprit find_place(const Session& session) try {
    const void* subject = work_mark.subject;
    switch (work_mark.kind) {
    case WORK_RULE: return place(session, "rule", static_cast<const RuleDecl*>(subject));
    case WORK_VARIABLE: return place(session, "variable", static_cast<const VarDecl*>(subject));
    case WORK_TYPE: return place(session, "type", static_cast<const TypeDecl*>(subject));
    case WORK_CONSTANT:
        return place(session, "constant", static_cast<const ConstantDecl*>(subject));
    case WORK_FUNCTION: return place(static_cast<const CFunc*>(subject));
    case WORK_NOTHING: break;
    }
    return {};
} catch (const InternalFailure&) {
    return {};
}

Culprit find_culprit(const Session& session) try {
    Culprit found = find_place(session);
    found.text = text_of_mark(session);
    return found;
} catch (const InternalFailure&) {
    return {};
}

} // namespace norvane::driver
