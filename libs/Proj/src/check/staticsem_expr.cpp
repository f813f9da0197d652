// Checking of expressions: a walk from the leaves up that writes the type of every node and finds
// out whether the node is static. Identifiers are in staticsem_idcon.cpp, binary operators in
// staticsem_binary.cpp.
#include "norvane/proj/staticsem.h"

#include <cstdint>

#include "labels.h"
#include "norvane/base/call_guard.hpp"
#include "norvane/base/deep.hpp"
#include "norvane/base/except.h"
#include "norvane/base/items.hpp"
#include "norvane/base/work.h"
#include "norvane/proj/proj_errors.h"
#include "operators.h"
#include "staticsem_internal.h"
#include "tags.h"

namespace norvane::check {

namespace {

Checked typed(Expr* expr, ExprType type, bool is_static) {
    expr->type = static_cast<unsigned char>(type);
    return {true, is_static};
}

Checked check_int_const(const Context& in, Expr* expr) {
    if (expr->opr == OPR_BOOLCONST) return typed(expr, ETYPE_BOOL, true);
    if (expr->opr == OPR_INTCONST) return typed(expr, ETYPE_INT, true);
    return {fault(in, expr, ERR_CONSTANT_EXPR), false};
}

Checked check_identifier(const Context& in, Expr* expr) {
    ExprType type = ETYPE_UNDEF;
    const Checked checked = check_idcon(in, expr->args.idcon, false, &type);
    if (checked.ok) expr->type = static_cast<unsigned char>(type);
    return checked;
}

// A literal stands for the label, or the variable, that it spells.
bool spells_typed_name(const Context& in, const Expr* literal) {
    if (literal->structure != EXPR_STRING_CONST) return false;
    IdCon name = spelled_name(literal);
    return type_of_idcon(in, &name, literal->linenumber);
}

ExprType type_of_order(const Context& in, const Expr* arg) {
    if (arg->structure == EXPR_IDCONSTRUCTOR) return ETYPE_INT;
    return arg->type == ETYPE_STRING && spells_typed_name(in, arg) ? ETYPE_INT : ETYPE_UNDEF;
}

ExprType type_of_unary(const Context& in, const Expr* expr) {
    const Expr* arg = expr->args.arg;
    if (expr->opr == OPR_ORDER) return type_of_order(in, arg);
    const bool fits = (meaning_of(expr->opr).operand_types & type_bit(arg->type)) != 0;
    return fits ? model::type_of(arg) : ETYPE_UNDEF;
}

[[gnu::noinline]] Checked finish_unary(const Context& in, Expr* expr, Checked arg) {
    const ExprType type = type_of_unary(in, expr);
    if (type == ETYPE_UNDEF)
        return {fault(in, expr, ERR_OP_TYPES_UN, expr_type_to_string(expr->args.arg)), false};
    // The position of a label is known though the label itself is not static.
    const bool of_name = expr->opr == OPR_ORDER && expr->args.arg->structure == EXPR_IDCONSTRUCTOR;
    return typed(expr, type, of_name ? is_static(in, expr) : arg.is_static);
}

[[gnu::noinline]] bool type_conditional(const Context& in, Expr* expr) {
    const auto& ite = expr->args.ite;
    if (ite.logictest->type != ETYPE_BOOL)
        return fault(in, expr, ERR_IF_TYPE, expr_type_to_string(ite.logictest));
    const unsigned char type = ite.trueexpr->type;
    if (type != ite.falseexpr->type ||
        (type != ETYPE_BOOL && type != ETYPE_INT && type != ETYPE_ENUM_FLOAT))
        return fault(in, expr, ERR_THEN_TYPE, expr_type_to_string(ite.trueexpr),
                     expr_type_to_string(ite.falseexpr));
    expr->type = type;
    return true;
}

Checked check_conditional(const Context& in, Expr* expr) {
    const Checked test = check_expr(in, expr->args.ite.logictest);
    if (!test.ok) return test;
    const Checked yes = check_expr(in, expr->args.ite.trueexpr);
    if (!yes.ok) return yes;
    const Checked no = check_expr(in, expr->args.ite.falseexpr);
    if (!no.ok) return no;
    return {type_conditional(in, expr), test.is_static && yes.is_static && no.is_static};
}

struct Bounds {
    int lower;
    int upper;
};

// Checks the bounds of a loop and evaluates them.
[[gnu::noinline]] bool check_bounds(const Context& in, Expr* expr, Bounds* bounds) {
    Expr* lower = expr->args.range.rangebegin;
    Expr* upper = expr->args.range.rangeend;
    const Checked lower_checked = check_expr(in, lower);
    if (!lower_checked.ok) return false;
    const Checked upper_checked = check_expr(in, upper);
    if (!upper_checked.ok) return false;

    if (lower->type != ETYPE_INT || upper->type != ETYPE_INT)
        return fault(in, expr, ERR_RANGES_NOT_INTEGER);
    if (!lower_checked.is_static) return fault(in, lower, ERR_RANGES_BEGIN);
    if (!upper_checked.is_static) return fault(in, upper, ERR_RANGES_END);
    *bounds = {evaluate_int(in, lower), evaluate_int(in, upper)};
    if (bounds->upper < bounds->lower)
        return fault(in, expr, ERR_RANGES_LT, bounds->lower, bounds->upper);
    return true;
}

// Checks the body once for every value of the variable, which it sees as a constant: so `a[i]` is
// checked against the bounds of `a`, and `x = i` makes every value of `i` one that `x` is compared
// with. The first turn also types it, unless the loop is inside another one that has had a turn.
[[gnu::noinline]] Checked check_body(const Context& in, Expr* expr, const Bounds& bounds,
                                     bool is_typed) {
    Expr* body = expr->args.range.lambdaexpr;
    const ExprType type = meaning_of(expr->opr).body == ETYPE_BOOL ? ETYPE_BOOL : ETYPE_INT;

    LoopVariable variable(in, expr, bounds.lower);
    if (!variable.inserted()) return {false, false};
    Checked checked{true, false};
    const Context inside = variable.inside(in);
    WorkTurns turns(turn_count(bounds.lower, bounds.upper));
    // Counted in 64 bits, since a loop may end at the largest integer.
    for (std::int64_t value = bounds.lower; value <= bounds.upper; ++value) {
        variable.set(static_cast<int>(value));
        if (is_typed)
            checked.ok = check_again(inside, body);
        else
            checked = check_expr(inside, body);
        if (!checked.ok) break;
        if (body->type != type) {
            fault(in, expr, ERR_RANGE_TYPE, expr_type_to_string(body));
            // Callers rely on the depth of the table's stack after this fault.
            variable.leave_pushed();
            return {false, false};
        }
        is_typed = true;
        turns.next();
    }
    expr->type = static_cast<unsigned char>(type);
    return checked;
}

Checked check_loop(const Context& in, Expr* expr) {
    Bounds bounds{};
    if (!check_bounds(in, expr, &bounds)) return {false, false};
    return check_body(in, expr, bounds, false);
}

bool check_loop_again(const Context& in, Expr* expr) {
    Bounds bounds{};
    return check_bounds(in, expr, &bounds) && check_body(in, expr, bounds, true).ok;
}

// Checks one arm of a case: its condition against the selector, the left operand of `comparison`,
// then its evaluation against the default.
Checked check_arm(const Context& in, Expr* comparison, const Checked& selector, Expr* condition,
                  Expr* evaluation, Expr* default_expr) {
    const Checked condition_checked = check_expr(in, condition);
    if (!condition_checked.ok) return condition_checked;
    comparison->args.binargs.rightarg = condition;
    if (!type_binary(in, comparison, selector, condition_checked)) return {false, false};
    NORVANE_ASSERT(comparison->type == ETYPE_BOOL);

    const Checked evaluation_checked = check_expr(in, evaluation);
    if (!evaluation_checked.ok) return evaluation_checked;
    if (evaluation->type != default_expr->type)
        return {fault(in, evaluation, ERR_CASE_DEFAULT_TYPE, expr_type_to_string(default_expr),
                      expr_type_to_string(evaluation)),
                false};
    return {true, condition_checked.is_static && evaluation_checked.is_static};
}

// The comparison of the selector with each condition is on the stack and borrows both, so that no
// exit has a tree to take apart. The selector is checked once for all arms, since no arm changes
// what it stands for.
[[gnu::noinline]] Checked check_case(const Context& in, Expr* expr) {
    NORVANE_ASSERT(plist_length(expr->args.caseexpr.exprlist_condition) ==
                   plist_length(expr->args.caseexpr.exprlist_evaluation));
    Expr* default_expr = expr->args.caseexpr.default_expr;
    const Checked fallback = check_expr(in, default_expr);
    if (!fallback.ok) return fallback;
    ExprType type = ETYPE_UNDEF;
    const Checked chosen = check_idcon(in, expr->args.caseexpr.casevar, false, &type);
    if (!chosen.ok) return chosen;

    Expr selector = stack_node(EXPR_IDCONSTRUCTOR, OPR_NONE, type);
    selector.args.idcon = expr->args.caseexpr.casevar;
    Expr comparison = stack_node(EXPR_BINARY, OPR_EQ, ETYPE_UNDEF);
    comparison.args.binargs.leftarg = &selector;

    bool is_static = fallback.is_static && chosen.is_static;
    const PolyListNode* evaluation = expr->args.caseexpr.exprlist_evaluation->first;
    for (Expr* condition : items<Expr>(expr->args.caseexpr.exprlist_condition)) {
        const Checked arm = check_arm(in, &comparison, chosen, condition,
                                      static_cast<Expr*>(evaluation->element), default_expr);
        if (!arm.ok) return arm;
        is_static = is_static && arm.is_static;
        evaluation = evaluation->next;
    }
    expr->type = default_expr->type;
    return {true, is_static};
}

bool is_unbounded(ExprType type) {
    return type == ETYPE_ENUM_FLOAT || type == ETYPE_ENUM_INTEGER || type == ETYPE_STRING;
}

// Gives OPR_UBOUND_EQ to the equations of two variables of unbounded types among the top-level
// conjuncts of a rule. A fault that is reported here is reported again by the check that follows:
// callers rely on both reports.
void mark_unbounded_equations(const Context& in, Expr* expr) {
    if (stack_is_low()) return on_fresh_stack([&] { mark_unbounded_equations(in, expr); });
    if (expr->structure != EXPR_BINARY) return;
    Expr* left = expr->args.binargs.leftarg;
    Expr* right = expr->args.binargs.rightarg;
    if (expr->opr == OPR_AND) {
        mark_unbounded_equations(in, left);
        mark_unbounded_equations(in, right);
        return;
    }
    if (expr->opr != OPR_EQ || left->structure != EXPR_IDCONSTRUCTOR ||
        right->structure != EXPR_IDCONSTRUCTOR)
        return;
    ExprType left_type = ETYPE_UNDEF;
    ExprType right_type = ETYPE_UNDEF;
    check_idcon(in, left->args.idcon, false, &left_type);
    check_idcon(in, right->args.idcon, false, &right_type);
    if (is_unbounded(left_type) && is_unbounded(right_type)) expr->opr = OPR_UBOUND_EQ;
}

// Operators over booleans and integers do nothing but write types; those over other types may enter
// values into sets.
bool is_plain(const Expr* operand) {
    return operand->type == ETYPE_BOOL || operand->type == ETYPE_INT;
}

} // namespace

// Sums and conjunctions are chains of any length, and each level of one costs this frame. So the
// other structures, and what finishes a node, are out of line.
Checked check_expr(const Context& in, Expr* expr) {
    if (stack_is_low()) return on_fresh_stack([&] { return check_expr(in, expr); });
    switch (model::structure_of(expr)) {
    case EXPR_BINARY: {
        const Checked left = check_expr(in, expr->args.binargs.leftarg);
        if (!left.ok) return left;
        const Checked right = check_expr(in, expr->args.binargs.rightarg);
        if (!right.ok) return right;
        return {type_binary(in, expr, left, right), left.is_static && right.is_static};
    }
    case EXPR_UNARY: {
        const Checked arg = check_expr(in, expr->args.arg);
        return arg.ok ? finish_unary(in, expr, arg) : arg;
    }
    case EXPR_IDCONSTRUCTOR: return check_identifier(in, expr);
    case EXPR_INT_CONST: return check_int_const(in, expr);
    case EXPR_STRING_CONST: return typed(expr, ETYPE_STRING, true);
    case EXPR_FLOAT_CONST: return typed(expr, ETYPE_ENUM_FLOAT, true);
    case EXPR_ITE: return check_conditional(in, expr);
    case EXPR_RANGE: return check_loop(in, expr);
    case EXPR_CASE: return check_case(in, expr);
    }
    NORVANE_FAIL("Encountered invalid expression structure : %d", expr->structure);
}

bool check_again(const Context& in, Expr* expr) {
    if (stack_is_low()) return on_fresh_stack([&] { return check_again(in, expr); });
    const auto& args = expr->args;
    switch (model::structure_of(expr)) {
    case EXPR_INT_CONST:
    case EXPR_STRING_CONST:
    case EXPR_FLOAT_CONST: return true;
    case EXPR_IDCONSTRUCTOR: return check_idcon_again(in, args.idcon);
    case EXPR_BINARY:
        if (!is_plain(args.binargs.leftarg) || !is_plain(args.binargs.rightarg)) break;
        return check_again(in, args.binargs.leftarg) && check_again(in, args.binargs.rightarg);
    case EXPR_UNARY:
        if (expr->opr == OPR_ORDER) break;
        return check_again(in, args.arg);
    case EXPR_ITE:
        return check_again(in, args.ite.logictest) && check_again(in, args.ite.trueexpr) &&
               check_again(in, args.ite.falseexpr);
    case EXPR_RANGE: return check_loop_again(in, expr);
    case EXPR_CASE: break;
    }
    return check_expr(in, expr).ok;
}

bool check_rule(const Context& in, const RuleDecl* decl) {
    const WorkingOn mark(WORK_RULE, decl);
    Expr* rule = decl->rule;
    mark_unbounded_equations(in, rule);
    if (!check_expr(in, rule).ok) return false;
    return rule->type == ETYPE_BOOL || fault(in, rule, ERR_RULE_NOT_BOOLEAN);
}

} // namespace norvane::check

using namespace norvane::check;

int ssem_check_expr(Project* project, SymbolTable* symboltable, Expr* expr) {
    const norvane::CallGuard guard(__func__);
    NORVANE_ASSERT(project);
    NORVANE_ASSERT(symboltable);
    NORVANE_ASSERT(expr);
    return check_expr({project, symboltable}, expr).ok ? STATUS_SUCCESS : STATUS_FAILURE;
}

char* ssem_remove_braces(char* str) {
    NORVANE_ASSERT(str);
    return norvane::model::shown_label(str);
}
