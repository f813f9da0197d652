// Simplification of loops: a loop becomes a chain of its body, once for each value of its variable.
// A second pass over the chain, with the variable at its last value, folds what has become
// constant.
//
// The second pass works in place, since it owns the tree, and knows only the few kinds of nodes
// that simplification makes. It makes a comparison anew where it turns out to be of unbounded
// types.
#include <cstdlib>

#include "norvane/base/array.hpp"
#include "norvane/base/deep.hpp"
#include "norvane/base/except.h"
#include "norvane/base/work.h"
#include "operators.h"
#include "simplify_internal.h"
#include "tags.h"

namespace norvane::finite {

using check::LoopVariable;

namespace {

// A simplified tree, and whether it was static before it was closed.
struct Closed {
    Expr* expr;
    bool was_static;
};

Closed close_expr(Simplification& in, Expr* expr);

// Evaluates an index that was copied unsimplified, since it may name the loop variable.
void close_index(const Simplification& in, PolyListNode* node) {
    auto* index = static_cast<Expr*>(node->element);
    const int value = check::evaluate_int(in, index);
    if (index->structure == EXPR_INT_CONST) return become_int(index, OPR_INTCONST, value);
    expr_delete(index);
    node->element = expr_new_intconst(OPR_INTCONST, value, UNDEF_LINENO);
}

void close_idcon(const Simplification& in, IdCon* idcon) {
    if (stack_is_low()) return on_fresh_stack([&] { close_idcon(in, idcon); });
    if (idcon->contype == IDCON_SIMPLE) return;
    idcon->linenumber = UNDEF_LINENO;
    if (idcon->contype == IDCON_COMPOSIT) {
        close_idcon(in, idcon->args.compositid.hier);
        return close_idcon(in, idcon->args.compositid.nested);
    }
    PolyListNode* node = idcon->args.array.exprlist->first;
    for (; node; node = node->next)
        close_index(in, node);
}

// order() and literals that spell names become bare identifiers, which have the types of what they
// name. The chain is simplified like any other tree, so that now they compare by these types:
// callers rely on a loop that compares two unbounded variables by order() stopping. Null for all
// other expressions, and for a comparison with a number, which has been encoded.
[[gnu::noinline]] Expr* close_comparison(Simplification& in, Expr* expr) {
    if (expr->args.binargs.leftarg->structure == EXPR_INT_CONST ||
        expr->args.binargs.rightarg->structure == EXPR_INT_CONST) {
        return nullptr;
    }
    in.encode_values = false;
    Expr* result = simplify_comparison(in, expr);
    in.encode_values = true;
    return result;
}

Closed close_binary(Simplification& in, Expr* expr) {
    if (Expr* comparison = close_comparison(in, expr)) {
        const bool was_static = check::is_static(in, expr);
        expr_delete(expr);
        return {comparison, was_static};
    }
    const Closed left = close_expr(in, expr->args.binargs.leftarg);
    const Closed right = close_expr(in, expr->args.binargs.rightarg);
    const bool was_static = left.was_static && right.was_static;
    if (Expr* constant = fold(in, expr->opr, left.expr, right.expr, expr->type)) {
        std::free(expr);
        return {constant, was_static};
    }
    expr->args.binargs = {left.expr, right.expr};
    return {expr, was_static};
}

// A negation that was not static in the source may be static now.
Closed close_unary(Simplification& in, Expr* expr) {
    const Closed arg = close_expr(in, expr->args.arg);
    expr->args.arg = arg.expr;
    if (expr->type == ETYPE_INT && arg.was_static) {
        const int value = check::evaluate_int(in, expr);
        expr_delete(arg.expr);
        become_int(expr, OPR_INTCONST, value);
    } else if (expr->opr == OPR_MINUS &&
               (arg.expr->structure == EXPR_INT_CONST || arg.expr->structure == EXPR_FLOAT_CONST)) {
        Expr* constant = expr_new_unary(OPR_MINUS, arg.expr, UNDEF_LINENO);
        constant->type = expr->type;
        std::free(expr);
        return {constant, arg.was_static};
    }
    return {expr, arg.was_static};
}

Closed close_conditional(Simplification& in, Expr* expr) {
    const Closed test = close_expr(in, expr->args.ite.logictest);
    Expr* trueexpr = expr->args.ite.trueexpr;
    Expr* falseexpr = expr->args.ite.falseexpr;
    if (test.expr->structure == EXPR_INT_CONST) {
        const bool is_true = test.expr->args.intconst.value != 0;
        Expr* other = is_true ? falseexpr : trueexpr;
        const bool was_static = test.was_static && check::is_static(in, other);
        expr_delete(test.expr);
        expr_delete(other);
        std::free(expr);
        const Closed chosen = close_expr(in, is_true ? trueexpr : falseexpr);
        return {chosen.expr, was_static && chosen.was_static};
    }
    const Closed yes = close_expr(in, trueexpr);
    const Closed no = close_expr(in, falseexpr);
    expr->args.ite = {test.expr, yes.expr, no.expr};
    return {expr, test.was_static && yes.was_static && no.was_static};
}

// Only constants of floats and strings have kept their names; other identifiers are variables.
bool names_constant(const Simplification& in, Expr* expr) {
    return (expr->type == ETYPE_ENUM_FLOAT || expr->type == ETYPE_STRING) &&
           check::is_static(in, expr);
}

// Simplifies a simplified tree, which it takes over, without encoding anything a second time.
Closed close_expr(Simplification& in, Expr* expr) {
    if (stack_is_low()) return on_fresh_stack([&] { return close_expr(in, expr); });
    expr->linenumber = UNDEF_LINENO;
    switch (model::structure_of(expr)) {
    case EXPR_BINARY: return close_binary(in, expr);
    case EXPR_UNARY: return close_unary(in, expr);
    case EXPR_IDCONSTRUCTOR:
        close_idcon(in, expr->args.idcon);
        return {expr, names_constant(in, expr)};
    case EXPR_INT_CONST:
        become_int(expr, expr->type == ETYPE_BOOL ? OPR_BOOLCONST : OPR_INTCONST,
                   expr->args.intconst.value);
        return {expr, true};
    case EXPR_STRING_CONST:
    case EXPR_FLOAT_CONST: return {expr, true};
    case EXPR_ITE: return close_conditional(in, expr);
    case EXPR_RANGE:       // has been unfolded
    case EXPR_CASE: break; // has become a chain of conditionals
    }
    NORVANE_FAIL("Invalid expression structure '%d'", expr->structure);
}

// The simplified turns of a loop. The array grows with them, so that a host that watches can stop
// a loop that would never fit into memory.
using Turns = Array<Expr*>;

// Returns whether all turns are made as closing would leave them. Most are: constants are folded
// as they are made, and indices are evaluated.
bool simplify_turns(Simplification& in, Expr* range, int lower, int upper, LoopVariable* variable,
                    Turns* turns) {
    const bool outer_closed = in.is_closed;
    LoopVariable* const outer_loop = in.loop;
    in.is_closed = true;
    in.loop = variable;
    WorkTurns marked(check::turn_count(lower, upper));
    // Counted in 64 bits, since a loop may end at the largest integer.
    for (std::int64_t value = lower; value <= upper; ++value) {
        variable->set(static_cast<int>(value));
        turns->push(simplify(in, range->args.range.lambdaexpr));
        marked.next();
    }
    const bool all_closed = in.is_closed;
    in.is_closed = outer_closed && all_closed;
    in.loop = outer_loop;
    return all_closed;
}

} // namespace

// All turns are made before the first one is closed, and the chain is closed as it is built, from
// the first turn on: that is the order of a pass over the finished chain, whose left operands come
// first.
Expr* simplify_range(Simplification& in, Expr* expr) {
    const int lower = check::evaluate_int(in, expr->args.range.rangebegin);
    const int upper = check::evaluate_int(in, expr->args.range.rangeend);
    if (lower > upper) {
        NORVANE_FAIL("Range begin (%d) must be less than range end (%d) in expression", lower,
                     upper);
    }
    const OprTypes opr = check::meaning_of(expr->opr).joins;
    if (opr == OPR_NONE) NORVANE_FAIL("Invalid operator in range expression '%d'", expr->opr);
    LoopVariable variable(in, expr, lower);
    NORVANE_ASSERT(variable.inserted());

    Turns turns;
    const bool all_closed = simplify_turns(in, expr, lower, upper, &variable, &turns);
    const auto closed = [&](Expr* turn) { return all_closed ? turn : close_expr(in, turn).expr; };
    Expr* chain = closed(turns[0]);
    for (std::size_t turn = 1; turn < turns.size(); ++turn) {
        chain = join(in, static_cast<unsigned char>(opr), chain, closed(turns[turn]), expr->type);
        work_units(1);
    }
    return chain;
}

} // namespace norvane::finite
