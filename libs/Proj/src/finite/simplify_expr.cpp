// Simplification of expressions: constants, labels, loops, cases and order() are replaced by
// boolean and integer operators, `if` and integer constants over variables with finite domains.
// Comparisons of unbounded variables are in simplify_compare.cpp, loops in simplify_loop.cpp.
//
// The tree must have been checked: types and value sets steer the rewrite. Every node of the result
// is new, so that callers may delete the model's tree and the result in any order.
#include "norvane/proj/simplify.h"

#include <cstdlib>

#include "norvane/base/call_guard.hpp"
#include "norvane/base/deep.hpp"
#include "norvane/base/except.h"
#include "norvane/base/items.hpp"
#include "norvane/base/memory.h"
#include "norvane/base/strings.h"
#include "norvane/base/work.h"
#include "poly_adaptors.h"
#include "simplify_internal.h"
#include "tags.h"

namespace norvane::finite {

namespace {

Expr* typed(Expr* expr, unsigned char type) {
    expr->type = type;
    return expr;
}

Expr* new_int(int value) {
    return expr_new_intconst(OPR_INTCONST, value, UNDEF_LINENO);
}

// The new indices are constants, since a loop variable that they name is not visible later.
PolyList* evaluated_indices(const Simplification& in, const PolyList* indices) {
    PolyList* result = plist_new(nullptr, nullptr, poly<expr_delete>);
    for (const Expr* index : items<Expr>(indices))
        plist_append(result, new_int(check::evaluate_int(in, index)));
    return result;
}

IdCon* simplify_idcon(const Simplification& in, const IdCon* idcon) {
    if (stack_is_low()) return on_fresh_stack([&] { return simplify_idcon(in, idcon); });
    switch (model::kind_of(idcon)) {
    case IDCON_SIMPLE: return expr_new_simpleid(str_copy(idcon->args.id.idname), idcon->linenumber);
    case IDCON_ARRAY: {
        PolyList* indices = evaluated_indices(in, idcon->args.array.exprlist);
        return expr_new_arrayid(str_copy(idcon->args.array.idname), indices, UNDEF_LINENO);
    }
    case IDCON_COMPOSIT: {
        IdCon* hier = simplify_idcon(in, idcon->args.compositid.hier);
        IdCon* nested = simplify_idcon(in, idcon->args.compositid.nested);
        return expr_new_compositid(hier, nested, UNDEF_LINENO);
    }
    }
    NORVANE_FAIL("Invalid id constructor type '%d'", idcon->contype);
}

// A simple name: a constant or a label becomes its value, a variable stays.
Expr* simplify_name(Simplification& in, const IdCon* idcon, unsigned char type) {
    char* name = idcon->args.id.idname;
    if (check::is_word_none(name)) return new_int(0);
    if (check::is_word_some(name)) return new_int(1);
    const NameData* namedata = check::find_name(in, name);
    NORVANE_ASSERT_TEXT(namedata,
                        "symtbl_lookup(in.symboltable, name, 0, &namedata) == STATUS_SUCCESS");
    switch (model::kind_of(namedata)) {
    case ND_BOOL: return expr_new_intconst(OPR_BOOLCONST, namedata->int_value, UNDEF_LINENO);
    case ND_INT: return new_int(namedata->int_value);
    case ND_LABEL: return new_int(namedata->label_index);
    case ND_FLOAT:
    case ND_STRING:
    case ND_TYPE:
    case ND_VARIABLE: break;
    }
    note_type(in, type);
    return typed(expr_new_idcon(simplify_idcon(in, idcon), UNDEF_LINENO), type);
}

Expr* simplify_identifier(Simplification& in, const Expr* expr) {
    const IdCon* idcon = expr->args.idcon;
    if (idcon->contype == IDCON_SIMPLE) return simplify_name(in, idcon, expr->type);
    note_type(in, expr->type);
    return typed(expr_new_idcon(simplify_idcon(in, idcon), UNDEF_LINENO), expr->type);
}

// A literal that spells a declared name stands for it: a label may be written as a string.
Expr* simplify_string(Simplification& in, const Expr* expr) {
    in.is_closed = false;
    if (!check::find_name(in, expr->args.str))
        return expr_new_stringconst(expr->args.str, UNDEF_LINENO);
    const IdCon idcon = check::spelled_name(expr);
    return simplify_name(in, &idcon, expr->type);
}

Expr* simplify_int(const Expr* expr) {
    const OprTypes opr = expr->type == ETYPE_BOOL ? OPR_BOOLCONST : OPR_INTCONST;
    return expr_new_intconst(opr, expr->args.intconst.value, UNDEF_LINENO);
}

bool is_negation(const Expr* expr) {
    return expr->structure == EXPR_UNARY && expr->opr != OPR_ORDER && expr->type == ETYPE_INT;
}

// check::is_static, which also notes the negations around the first operand that is not static.
// The walk meets them next, outermost first, and asking again at each would take time quadratic in
// their number. Negations in loops and cases are not noted.
bool is_static_noting(Simplification& in, Expr* expr) {
    if (stack_is_low()) return on_fresh_stack([&] { return is_static_noting(in, expr); });
    switch (model::structure_of(expr)) {
    case EXPR_BINARY:
        return is_static_noting(in, expr->args.binargs.leftarg) &&
               is_static_noting(in, expr->args.binargs.rightarg);
    case EXPR_UNARY:
        if (expr->opr == OPR_ORDER) break;
        if (is_static_noting(in, expr->args.arg)) return true;
        if (is_negation(expr)) plist_prepend(&in.not_static, expr);
        return false;
    case EXPR_ITE:
        return is_static_noting(in, expr->args.ite.logictest) &&
               is_static_noting(in, expr->args.ite.trueexpr) &&
               is_static_noting(in, expr->args.ite.falseexpr);
    case EXPR_IDCONSTRUCTOR:
    case EXPR_INT_CONST:
    case EXPR_STRING_CONST:
    case EXPR_FLOAT_CONST:
    case EXPR_RANGE:
    case EXPR_CASE: break;
    }
    return check::is_static(in, expr);
}

bool is_noted(Simplification& in, const Expr* expr) {
    if (in.not_static.len == 0 || plist_hd(&in.not_static) != expr) return false;
    plist_delete_nth(&in.not_static, 0);
    return true;
}

// Drops the notes of a branch that was not visited.
void forget_notes(Simplification& in, unsigned len) {
    while (in.not_static.len > len)
        plist_delete_nth(&in.not_static, 0);
}

Expr* simplify_operand(Simplification& in, Expr* expr) {
    Expr* arg = simplify(in, expr->args.arg);
    return typed(expr_new_unary(static_cast<OprTypes>(expr->opr), arg, UNDEF_LINENO), expr->type);
}

// Simplifies a negation. Its static value keeps the line; all other new nodes have none. (Kept for
// compatibility.)
Expr* simplify_negation(Simplification& in, Expr* expr) {
    const bool noted = is_noted(in, expr);
    const unsigned notes = in.not_static.len;
    if (!noted && is_static_noting(in, expr->args.arg)) {
        return expr_new_intconst(OPR_INTCONST, check::evaluate_int(in, expr), expr->linenumber);
    }
    Expr* result = simplify_operand(in, expr);
    forget_notes(in, notes);
    return result;
}

Expr* simplify_unary(Simplification& in, Expr* expr) {
    if (expr->opr == OPR_ORDER) return simplify(in, expr->args.arg);
    // A negation may be static by now, and its value has a line.
    if (expr->opr != OPR_NOT || expr->type != ETYPE_BOOL) in.is_closed = false;
    return is_negation(expr) ? simplify_negation(in, expr) : simplify_operand(in, expr);
}

Expr* simplify_binary(Simplification& in, Expr* expr) {
    if (Expr* comparison = simplify_comparison(in, expr)) {
        in.is_closed = false;
        return comparison;
    }
    note_type(in, expr->type);
    Expr* left = simplify(in, expr->args.binargs.leftarg);
    Expr* right = simplify(in, expr->args.binargs.rightarg);
    return join(in, expr->opr, left, right, expr->type);
}

// A branch that is never taken is not simplified: callers rely on a fault in it not stopping.
Expr* simplify_conditional(Simplification& in, Expr* expr) {
    Expr* test = simplify(in, expr->args.ite.logictest);
    if (test->structure == EXPR_INT_CONST) {
        const bool is_true = test->args.intconst.value != 0;
        expr_delete(test);
        return simplify(in, is_true ? expr->args.ite.trueexpr : expr->args.ite.falseexpr);
    }
    Expr* trueexpr = simplify(in, expr->args.ite.trueexpr);
    Expr* falseexpr = simplify(in, expr->args.ite.falseexpr);
    note_type(in, expr->type);
    return typed(expr_new_ite(test, trueexpr, falseexpr, UNDEF_LINENO), expr->type);
}

struct Arm {
    Expr* condition;
    Expr* evaluation;
};

// The arms in an array, since a chain is built from its last one and lists lead forward only.
Arm* arms_of(const Expr* expr) {
    const auto& caseexpr = expr->args.caseexpr;
    auto* arms = static_cast<Arm*>(
        util_malloc_throw(sizeof(Arm) * plist_length(caseexpr.exprlist_condition)));
    Arm* arm = arms;
    for (Expr* condition : items<Expr>(caseexpr.exprlist_condition))
        (arm++)->condition = condition;
    arm = arms;
    for (Expr* evaluation : items<Expr>(caseexpr.exprlist_evaluation))
        (arm++)->evaluation = evaluation;
    return arms;
}

// The type under which a selector is compared: an unbounded type says how values are encoded.
unsigned char selector_type(const TypeCon* typecon, const Expr* condition) {
    switch (model::kind_of(typecon)) {
    case TC_UBOUND_FLOAT: return ETYPE_ENUM_FLOAT;
    case TC_UBOUND_INTEGER: return ETYPE_ENUM_INTEGER;
    case TC_STRING: return ETYPE_STRING;
    case TC_SUM:
        if (condition->type == ETYPE_STRING) return ETYPE_SUM;
        break;
    case TC_BOOL:
    case TC_INT:
    case TC_PROD:
    case TC_ARRAY:
    case TC_NAMED:
    case TC_OPTIONAL: break;
    }
    return condition->type;
}

// One `if` with the chain so far as its else branch. Callers rely on its types: all of it but the
// test is typed like the evaluation in the source.
Expr* simplify_arm(Simplification& in, IdCon* casevar, const Arm& arm, Expr* chain) {
    const TypeCon* typecon = check::type_of_idcon(in, casevar, UNDEF_LINENO);
    NORVANE_ASSERT_TEXT(typecon,
                        "symtbl_typecon_for_idcon(in.project->line_info, in.symboltable, casevar, "
                        "0, &typecon, UNDEF_LINENO) == STATUS_SUCCESS");
    Expr selector = stack_idcon(casevar, selector_type(typecon, arm.condition));
    Expr comparison = stack_equation(&selector, arm.condition, ETYPE_BOOL);
    Expr* test = simplify(in, &comparison);
    Expr* evaluation = simplify(in, arm.evaluation);
    const unsigned char type = arm.evaluation->type;
    evaluation->type = type;
    chain->type = type;
    return typed(expr_new_ite(test, evaluation, chain, UNDEF_LINENO), type);
}

// Unlike a conditional, an arm whose test is constant stays: callers find one `if` for each arm.
[[gnu::noinline]] Expr* simplify_arms(Simplification& in, IdCon* casevar, const Expr* expr,
                                      Expr* chain) {
    Arm* arms = arms_of(expr);
    Expr* result = nullptr;
    for (unsigned i = plist_length(expr->args.caseexpr.exprlist_condition); i > 0; --i) {
        result = simplify_arm(in, casevar, arms[i - 1], chain);
        chain = result;
    }
    std::free(arms);
    // A case without arms has no chain.
    NORVANE_ASSERT(result);
    return result;
}

Expr* simplify_case(Simplification& in, const Expr* expr) {
    NORVANE_ASSERT(plist_length(expr->args.caseexpr.exprlist_condition) ==
                   plist_length(expr->args.caseexpr.exprlist_evaluation));
    in.is_closed = false;
    IdCon* casevar = simplify_idcon(in, expr->args.caseexpr.casevar);
    Expr* chain = simplify(in, expr->args.caseexpr.default_expr);
    Expr* result = simplify_arms(in, casevar, expr, chain);
    expr_delete_idcon(casevar);
    return typed(result, expr->type);
}

} // namespace

Expr* simplify(Simplification& in, Expr* expr) {
    if (stack_is_low()) return on_fresh_stack([&] { return simplify(in, expr); });
    work_units(1);
    NORVANE_ASSERT(expr);
    switch (model::structure_of(expr)) {
    case EXPR_BINARY: return simplify_binary(in, expr);
    case EXPR_UNARY: return simplify_unary(in, expr);
    case EXPR_IDCONSTRUCTOR: return simplify_identifier(in, expr);
    case EXPR_INT_CONST: return simplify_int(expr);
    case EXPR_STRING_CONST: return simplify_string(in, expr);
    case EXPR_FLOAT_CONST:
        in.is_closed = false;
        return expr_new_floatconst(expr->args.floatconst.value, UNDEF_LINENO);
    case EXPR_ITE: return simplify_conditional(in, expr);
    case EXPR_RANGE: return simplify_range(in, expr);
    case EXPR_CASE: return simplify_case(in, expr);
    }
    NORVANE_FAIL("Invalid expression structure '%d'", expr->structure);
}

Expr* simplify(const Context& in, Expr* expr) {
    Simplification simplification{in, {}, true, true};
    return simplify(simplification, expr);
}

} // namespace norvane::finite

using namespace norvane::finite;

Expr* simplify_expr(Project* project, SymbolTable* symboltable, Expr* expr) {
    const norvane::CallGuard guard(__func__);
    NORVANE_ASSERT(project);
    NORVANE_ASSERT(symboltable);
    NORVANE_ASSERT(expr);
    return simplify(Context{project, symboltable}, expr);
}
