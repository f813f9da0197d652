// Simplification of loops: a loop becomes a chain of its body, once for each value of its variable,
// and the chain is then passed over once more, with the variable at its last value, to fold what
// can now be folded.
//
// That pass is over a tree which is already simplified, and which nobody else holds: it works in
// place, on the few kinds of nodes that simplification leaves. Only comparisons that it finds to be
// of open types after all are made anew.
#include <cstdlib>

#include "norvane/base/deep.hpp"
#include "norvane/base/except.h"
#include "norvane/base/memory.h"
#include "norvane/proj/staticsem.h"
#include "simplify_internal.h"
#include "staticsem_internal.h"

namespace norvane {

namespace {

// A simplified tree, and whether it was static before it was closed.
struct Closed {
    Expr* expr;
    bool was_static;
};

Closed close_expr(Simplification& in, Expr* expr);

int evaluate(const Simplification& in, Expr* expr) {
    return ssem_static_evaluate_intexpr(in.project, in.symboltable, expr);
}

void become_int(Expr* expr, OprTypes opr, int value) {
    expr->structure = EXPR_INT_CONST;
    expr->opr = static_cast<unsigned char>(opr);
    expr->type = opr == OPR_BOOLCONST ? ETYPE_BOOL : ETYPE_INT;
    expr->linenumber = UNDEF_LINENO;
    expr->args = {};
    expr->args.intconst.value = value;
}

// Two constants under an operator: the first one takes the result, and the second one goes. Null,
// with both left alone, where there are no two constants of one kind.
Expr* fold(const Simplification& in, unsigned char opr, Expr* left, Expr* right,
           unsigned char type) {
    if (left->structure != right->structure) return nullptr;
    if (left->structure != EXPR_INT_CONST && left->structure != EXPR_FLOAT_CONST) return nullptr;
    Expr expr = stack_node(EXPR_BINARY, static_cast<OprTypes>(opr), type);
    expr.args.binargs = {left, right};
    if (left->structure == EXPR_INT_CONST || type == ETYPE_BOOL) {
        become_int(left, type == ETYPE_INT ? OPR_INTCONST : OPR_BOOLCONST, evaluate(in, &expr));
    } else {
        NORVANE_ASSERT(type == ETYPE_ENUM_FLOAT);
        left->args.floatconst.value =
            ssem_static_evaluate_floatexpr(in.project, in.symboltable, &expr);
    }
    expr_delete(right);
    return left;
}

// An index that was copied as it stood may name the variable of the loop.
void close_index(const Simplification& in, PolyListNode* node) {
    auto* index = static_cast<Expr*>(node->element);
    const int value = evaluate(in, index);
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
    for (; node != nullptr; node = node->next)
        close_index(in, node);
}

// order() and literals that spell names leave bare identifiers behind, which have the types of what
// they name. The chain is simplified like any other tree, so that now they compare by these types:
// callers rely on a loop that compares two open variables by order() stopping. Null for all other
// expressions; what is compared with a number has been encoded.
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
        const bool was_static = ssem_is_static_expr(in.project, in.symboltable, expr) != 0;
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

// A negation that was not static in the source may have lost what made it so.
Closed close_unary(Simplification& in, Expr* expr) {
    const Closed arg = close_expr(in, expr->args.arg);
    expr->args.arg = arg.expr;
    if (expr->type == ETYPE_INT && arg.was_static) {
        const int value = evaluate(in, expr);
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
        const bool was_static =
            test.was_static && ssem_is_static_expr(in.project, in.symboltable, other);
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

// Constants of floats and strings have kept their names; all other identifiers are variables.
bool names_constant(const Simplification& in, Expr* expr) {
    return (expr->type == ETYPE_ENUM_FLOAT || expr->type == ETYPE_STRING) &&
           ssem_is_static_expr(in.project, in.symboltable, expr) != 0;
}

// Simplifies a simplified tree, which it takes over, without encoding anything a second time.
Closed close_expr(Simplification& in, Expr* expr) {
    if (stack_is_low()) return on_fresh_stack([&] { return close_expr(in, expr); });
    expr->linenumber = UNDEF_LINENO;
    switch (expr->structure) {
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
    default: NORVANE_FAIL("Invalid expression structure '%d'", expr->structure);
    }
}

OprTypes joining_operator(const Expr* range) {
    switch (range->opr) {
    case OPR_FORALL: return OPR_AND;
    case OPR_EXIST: return OPR_OR;
    case OPR_SUM: return OPR_PLUS;
    case OPR_PROD: return OPR_TIMES;
    default: NORVANE_FAIL("Invalid operator in range expression '%d'", range->opr);
    }
}

} // namespace

Expr* join(Simplification& in, unsigned char opr, Expr* left, Expr* right, unsigned char type) {
    if (Expr* constant = fold(in, opr, left, right, type)) return constant;
    Expr* result = expr_new_binary(static_cast<OprTypes>(opr), left, right, UNDEF_LINENO);
    result->type = type;
    return result;
}

// Counted in 64 bits, since a loop may end at the largest integer. All turns are made before the
// first one is closed, and the chain is closed as it is built, from the first turn on: that is the
// order of a pass over the finished chain, whose left operands come first.
Expr* simplify_range(Simplification& in, Expr* expr) {
    const int lower = evaluate(in, expr->args.range.rangebegin);
    const int upper = evaluate(in, expr->args.range.rangeend);
    if (lower > upper) {
        NORVANE_FAIL("Range begin (%d) must be less than range end (%d) in expression", lower,
                     upper);
    }
    const OprTypes opr = joining_operator(expr);
    LoopVariable variable(in.project, in.symboltable, expr, lower);
    NORVANE_ASSERT(variable.inserted());

    const auto count = static_cast<std::size_t>(std::int64_t{upper} - lower + 1);
    auto** turns = static_cast<Expr**>(util_malloc_throw(sizeof(Expr*) * count));
    for (std::size_t turn = 0; turn < count; ++turn) {
        variable.set(static_cast<int>(lower + static_cast<std::int64_t>(turn)));
        turns[turn] = simplify(in, expr->args.range.lambdaexpr);
    }
    Expr* chain = close_expr(in, turns[0]).expr;
    for (std::size_t turn = 1; turn < count; ++turn)
        chain = join(in, static_cast<unsigned char>(opr), chain, close_expr(in, turns[turn]).expr,
                     expr->type);
    std::free(turns);
    return chain;
}

} // namespace norvane
