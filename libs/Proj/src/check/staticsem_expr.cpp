// Checking of expressions: a walk from the leaves up that writes the type of every node and tells,
// on the way, whether the node is static. Identifiers are in staticsem_idcon.cpp, the rules of
// binary operators in staticsem_binary.cpp.

#include <cstdint>
#include <cstring>

#include "labels.h"
#include "norvane/base/deep.hpp"
#include "norvane/base/except.h"
#include "norvane/base/items.hpp"
#include "norvane/base/strings.h"
#include "norvane/proj/printpmfile.h"
#include "norvane/proj/proj_errors.h"
#include "norvane/proj/staticsem.h"
#include "report.h"
#include "staticsem_internal.h"

namespace norvane {

namespace {

// Shared by all diagnostics: a report copies what it is given, so one of each will do.
char position_buffer[MESSAGE_BUFFER_SIZE];
char expression_buffer[8192];

// Levels of an expression that a diagnostic shows; what is below prints as "...".
constexpr int shown_depth = 3;

Checked typed(Expr* expr, ExprType type, bool is_static) {
    expr->type = static_cast<unsigned char>(type);
    return {STATUS_SUCCESS, is_static};
}

Checked check_int_const(const CheckContext& check, Expr* expr) {
    switch (expr->opr) {
    case OPR_BOOLCONST: return typed(expr, ETYPE_BOOL, true);
    case OPR_INTCONST: return typed(expr, ETYPE_INT, true);
    default: {
        const ExprContext context = ssem_expr_context(check.project, expr);
        report_error(ERR_CONSTANT_EXPR(context.position, context.text));
        return check_failed;
    }
    }
}

Checked check_identifier(const CheckContext& check, Expr* expr) {
    ExprType type = ETYPE_UNDEF;
    const Checked checked = ssem_check_idcon(check, expr->args.idcon, false, &type);
    if (checked.status != STATUS_SUCCESS) return checked;
    return typed(expr, type, checked.is_static);
}

// A literal stands for the label, or the variable, that it spells.
bool names_something_typed(const CheckContext& check, Expr* literal) {
    if (literal->structure != EXPR_STRING_CONST) return false;
    IdCon name = ssem_literal_as_idcon(literal);
    TypeCon* typecon = nullptr;
    return symtbl_typecon_for_idcon(check.project->line_info, check.symboltable, &name, false,
                                    &typecon, literal->linenumber) == STATUS_SUCCESS;
}

ExprType type_of_unary(const CheckContext& check, const Expr* expr) {
    Expr* arg = expr->args.arg;
    switch (expr->opr) {
    case OPR_NOT: return arg->type == ETYPE_BOOL ? ETYPE_BOOL : ETYPE_UNDEF;
    case OPR_MINUS:
        return arg->type == ETYPE_INT || arg->type == ETYPE_ENUM_FLOAT
                   ? static_cast<ExprType>(arg->type)
                   : ETYPE_UNDEF;
    case OPR_ORDER:
        if (arg->structure == EXPR_IDCONSTRUCTOR) return ETYPE_INT;
        return arg->type == ETYPE_STRING && names_something_typed(check, arg) ? ETYPE_INT
                                                                              : ETYPE_UNDEF;
    default: return ETYPE_UNDEF;
    }
}

[[gnu::noinline]] Checked finish_unary(const CheckContext& check, Expr* expr, Checked arg) {
    const ExprType type = type_of_unary(check, expr);
    if (type == ETYPE_UNDEF) {
        const ExprContext context = ssem_expr_context(check.project, expr);
        report_error(
            ERR_OP_TYPES_UN(context.position, expr_type_to_string(expr->args.arg), context.text));
        return check_failed;
    }
    // The position of a label is known though the label itself is not static.
    const bool of_name = expr->opr == OPR_ORDER && expr->args.arg->structure == EXPR_IDCONSTRUCTOR;
    return typed(expr, type,
                 of_name ? ssem_is_static_expr(check.project, check.symboltable, expr) != 0
                         : arg.is_static);
}

[[gnu::noinline]] int type_conditional(const CheckContext& check, Expr* expr) {
    const auto& ite = expr->args.ite;
    if (ite.logictest->type != ETYPE_BOOL) {
        const ExprContext context = ssem_expr_context(check.project, expr);
        report_error(
            ERR_IF_TYPE(context.position, expr_type_to_string(ite.logictest), context.text));
        return STATUS_FAILURE;
    }
    const unsigned char type = ite.trueexpr->type;
    if (type != ite.falseexpr->type ||
        (type != ETYPE_BOOL && type != ETYPE_INT && type != ETYPE_ENUM_FLOAT)) {
        const ExprContext context = ssem_expr_context(check.project, expr);
        report_error(ERR_THEN_TYPE(context.position, expr_type_to_string(ite.trueexpr),
                                   expr_type_to_string(ite.falseexpr), context.text));
        return STATUS_FAILURE;
    }
    expr->type = type;
    return STATUS_SUCCESS;
}

Checked check_conditional(const CheckContext& check, Expr* expr) {
    const Checked test = ssem_check(check, expr->args.ite.logictest);
    if (test.status != STATUS_SUCCESS) return test;
    const Checked yes = ssem_check(check, expr->args.ite.trueexpr);
    if (yes.status != STATUS_SUCCESS) return yes;
    const Checked no = ssem_check(check, expr->args.ite.falseexpr);
    if (no.status != STATUS_SUCCESS) return no;
    return {type_conditional(check, expr), test.is_static && yes.is_static && no.is_static};
}

struct Bounds {
    int lower;
    int upper;
};

// Checks the bounds of a loop and evaluates them.
[[gnu::noinline]] int check_bounds(const CheckContext& check, Expr* expr, Bounds* bounds) {
    Expr* lower = expr->args.range.rangebegin;
    Expr* upper = expr->args.range.rangeend;
    const Checked lower_checked = ssem_check(check, lower);
    if (lower_checked.status != STATUS_SUCCESS) return lower_checked.status;
    const Checked upper_checked = ssem_check(check, upper);
    if (upper_checked.status != STATUS_SUCCESS) return upper_checked.status;

    if (lower->type != ETYPE_INT || upper->type != ETYPE_INT) {
        const ExprContext context = ssem_expr_context(check.project, expr);
        report_error(ERR_RANGES_NOT_INTEGER(context.position, context.text));
        return STATUS_FAILURE;
    }
    if (!lower_checked.is_static) {
        const ExprContext context = ssem_expr_context(check.project, lower);
        report_error(ERR_RANGES_BEGIN(context.position, context.text));
        return STATUS_FAILURE;
    }
    if (!upper_checked.is_static) {
        const ExprContext context = ssem_expr_context(check.project, upper);
        report_error(ERR_RANGES_END(context.position, context.text));
        return STATUS_FAILURE;
    }
    bounds->lower = ssem_static_evaluate_intexpr(check.project, check.symboltable, lower);
    bounds->upper = ssem_static_evaluate_intexpr(check.project, check.symboltable, upper);
    if (bounds->upper < bounds->lower) {
        const ExprContext context = ssem_expr_context(check.project, expr);
        report_error(ERR_RANGES_LT(context.position, bounds->lower, bounds->upper, context.text));
        return STATUS_FAILURE;
    }
    return STATUS_SUCCESS;
}

// Checks the body once for every value of the variable, which it sees as a constant: so `a[i]` is
// held against the bounds of `a`, and `x = i` makes every value of `i` one that `x` is compared
// with.
[[gnu::noinline]] Checked check_body(const CheckContext& check, Expr* expr, const Bounds& bounds) {
    Expr* body = expr->args.range.lambdaexpr;
    const bool is_logical = expr->opr == OPR_FORALL || expr->opr == OPR_EXIST;
    const ExprType type = is_logical ? ETYPE_BOOL : ETYPE_INT;

    LoopVariable variable(check.project, check.symboltable, expr, bounds.lower);
    if (!variable.inserted()) return check_failed;
    Checked checked = check_failed;
    // A loop may end at the largest integer: the count goes beyond it.
    for (std::int64_t value = bounds.lower; value <= bounds.upper; ++value) {
        variable.set(static_cast<int>(value));
        checked = ssem_check(check, body);
        if (checked.status != STATUS_SUCCESS) break;
        if (body->type != type) {
            const ExprContext context = ssem_expr_context(check.project, expr);
            report_error(ERR_RANGE_TYPE(context.position, expr_type_to_string(body), context.text));
            // Callers rely on the depth of the table's stack behind this fault.
            variable.leave_pushed();
            return check_failed;
        }
    }
    expr->type = static_cast<unsigned char>(type);
    return checked;
}

Checked check_loop(const CheckContext& check, Expr* expr) {
    Bounds bounds{};
    const int status = check_bounds(check, expr, &bounds);
    if (status != STATUS_SUCCESS) return {status, false};
    return check_body(check, expr, bounds);
}

// Checks one arm of a case: its condition against the selector, the left operand of `comparison`,
// then its evaluation against the default.
Checked check_arm(const CheckContext& check, Expr* comparison, bool selector_static,
                  Expr* condition, Expr* evaluation, Expr* default_expr) {
    const Checked condition_checked = ssem_check(check, condition);
    if (condition_checked.status != STATUS_SUCCESS) return check_failed;
    comparison->args.binargs.rightarg = condition;
    if (ssem_type_binary(check, comparison, selector_static, condition_checked.is_static) !=
        STATUS_SUCCESS)
        return check_failed;
    NORVANE_ASSERT(comparison->type == ETYPE_BOOL);

    const Checked evaluation_checked = ssem_check(check, evaluation);
    if (evaluation_checked.status != STATUS_SUCCESS) return check_failed;
    if (evaluation->type != default_expr->type) {
        const ExprContext context = ssem_expr_context(check.project, evaluation);
        report_error(ERR_CASE_DEFAULT_TYPE(context.position, expr_type_to_string(default_expr),
                                           expr_type_to_string(evaluation), context.text));
        return check_failed;
    }
    return {STATUS_SUCCESS, condition_checked.is_static && evaluation_checked.is_static};
}

// The comparison of the selector with each condition in turn lies on the stack and borrows both:
// there is nothing to take apart again on any way out. The selector is checked once for all arms,
// since nothing that an arm does changes what it stands for.
[[gnu::noinline]] Checked check_case(const CheckContext& check, Expr* expr) {
    NORVANE_ASSERT(plist_length(expr->args.caseexpr.exprlist_condition) ==
                   plist_length(expr->args.caseexpr.exprlist_evaluation));
    Expr* default_expr = expr->args.caseexpr.default_expr;
    const Checked fallback = ssem_check(check, default_expr);
    if (fallback.status != STATUS_SUCCESS) return fallback;
    ExprType type = ETYPE_UNDEF;
    const Checked chosen = ssem_check_idcon(check, expr->args.caseexpr.casevar, false, &type);
    if (chosen.status != STATUS_SUCCESS) return chosen;

    Expr selector{};
    selector.structure = EXPR_IDCONSTRUCTOR;
    selector.opr = OPR_NONE;
    selector.type = static_cast<unsigned char>(type);
    selector.linenumber = UNDEF_LINENO;
    selector.args.idcon = expr->args.caseexpr.casevar;
    Expr comparison{};
    comparison.structure = EXPR_BINARY;
    comparison.opr = OPR_EQ;
    comparison.linenumber = UNDEF_LINENO;
    comparison.args.binargs.leftarg = &selector;

    bool is_static = fallback.is_static && chosen.is_static;
    const PolyListNode* evaluation = expr->args.caseexpr.exprlist_evaluation->first;
    for (Expr* condition : items<Expr>(expr->args.caseexpr.exprlist_condition)) {
        const Checked arm = check_arm(check, &comparison, chosen.is_static, condition,
                                      static_cast<Expr*>(evaluation->element), default_expr);
        if (arm.status != STATUS_SUCCESS) return arm;
        is_static = is_static && arm.is_static;
        evaluation = evaluation->next;
    }
    expr->type = default_expr->type;
    return {STATUS_SUCCESS, is_static};
}

bool is_open(ExprType type) {
    return type == ETYPE_ENUM_FLOAT || type == ETYPE_ENUM_INTEGER || type == ETYPE_STRING;
}

} // namespace

const char* ssem_position(Project* project, unsigned linenumber) {
    proj_line_information(project->line_info, linenumber, position_buffer);
    return position_buffer;
}

ExprContext ssem_expr_context(Project* project, Expr* expr) {
    UtilString* text = ustr_new();
    ppm_printn_expr_str(expr, text, shown_depth);
    str_snprintf(expression_buffer, sizeof expression_buffer, "%s", text->text);
    ustr_delete(text);
    return {ssem_position(project, expr->linenumber), expression_buffer};
}

// Sums and conjunctions are chains of any length, and a level of one costs this frame: what
// finishes a node, and what the other structures need, is kept out of line.
Checked ssem_check(const CheckContext& check, Expr* expr) {
    if (stack_is_low()) return on_fresh_stack([&] { return ssem_check(check, expr); });
    switch (expr->structure) {
    case EXPR_BINARY: {
        const Checked left = ssem_check(check, expr->args.binargs.leftarg);
        if (left.status != STATUS_SUCCESS) return left;
        const Checked right = ssem_check(check, expr->args.binargs.rightarg);
        if (right.status != STATUS_SUCCESS) return right;
        return {ssem_type_binary(check, expr, left.is_static, right.is_static),
                left.is_static && right.is_static};
    }
    case EXPR_UNARY: {
        const Checked arg = ssem_check(check, expr->args.arg);
        if (arg.status != STATUS_SUCCESS) return arg;
        return finish_unary(check, expr, arg);
    }
    case EXPR_IDCONSTRUCTOR: return check_identifier(check, expr);
    case EXPR_INT_CONST: return check_int_const(check, expr);
    case EXPR_STRING_CONST: return typed(expr, ETYPE_STRING, true);
    case EXPR_FLOAT_CONST: return typed(expr, ETYPE_ENUM_FLOAT, true);
    case EXPR_ITE: return check_conditional(check, expr);
    case EXPR_RANGE: return check_loop(check, expr);
    case EXPR_CASE: return check_case(check, expr);
    default: NORVANE_FAIL("Encountered invalid expression structure : %d", expr->structure);
    }
}

void ssem_mark_ubound_eq(const CheckContext& check, Expr* expr) {
    if (stack_is_low()) return on_fresh_stack([&] { ssem_mark_ubound_eq(check, expr); });
    if (expr->structure != EXPR_BINARY) return;
    Expr* left = expr->args.binargs.leftarg;
    Expr* right = expr->args.binargs.rightarg;
    if (expr->opr == OPR_AND) {
        ssem_mark_ubound_eq(check, left);
        ssem_mark_ubound_eq(check, right);
        return;
    }
    if (expr->opr != OPR_EQ || left->structure != EXPR_IDCONSTRUCTOR ||
        right->structure != EXPR_IDCONSTRUCTOR)
        return;
    // A fault that is reported here is reported once more by the check that follows.
    ExprType left_type = ETYPE_UNDEF;
    ExprType right_type = ETYPE_UNDEF;
    ssem_check_idcon(check, left->args.idcon, false, &left_type);
    ssem_check_idcon(check, right->args.idcon, false, &right_type);
    if (is_open(left_type) && is_open(right_type)) expr->opr = OPR_UBOUND_EQ;
}

int ssem_check_rule(const CheckContext& check, Expr* rule) {
    ssem_mark_ubound_eq(check, rule);
    const int status = ssem_check(check, rule).status;
    if (status != STATUS_SUCCESS) return status;
    if (rule->type == ETYPE_BOOL) return STATUS_SUCCESS;
    const ExprContext context = ssem_expr_context(check.project, rule);
    report_error(ERR_RULE_NOT_BOOLEAN(context.position, context.text));
    return STATUS_FAILURE;
}

} // namespace norvane

int ssem_check_expr(Project* project, SymbolTable* symboltable, Expr* expr) {
    NORVANE_ASSERT(project);
    NORVANE_ASSERT(symboltable);
    NORVANE_ASSERT(expr);
    return norvane::ssem_check({project, symboltable}, expr).status;
}

char* ssem_remove_braces(char* str) {
    NORVANE_ASSERT(str);
    return norvane::model::shown_label(str);
}
