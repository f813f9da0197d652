// Rewrites identifiers in expressions: hashes them, collects the free ones, prefixes them with a
// path, replaces them by expressions. A rewrite returns a new tree, made by the constructors of
// expr.cpp, and leaves its input unchanged.
#include <cstdlib>

#include "norvane/base/deep.hpp"
#include "norvane/base/except.h"
#include "norvane/base/strings.h"
#include "norvane/proj/expr.h"
#include "norvane/proj/printpmfile.h"
#include "poly_adaptors.h"
#include "walk.h"

namespace norvane::model {
namespace {

unsigned hash_idcon(const void* element, unsigned size) {
    UtilString* text = ustr_new();
    ppm_print_idcon_str(static_cast<IdCon*>(const_cast<void*>(element)), text);
    const unsigned hash = poly_hash_string(text->text, size);
    ustr_delete(text);
    return hash;
}

void collect_free(const Expr* expr, PolySet* found) {
    if (stack_is_low()) return on_fresh_stack([&] { collect_free(expr, found); });
    NORVANE_ASSERT(expr);
    if (expr->structure == EXPR_IDCONSTRUCTOR) pset_insert(found, expr->args.idcon);
    if (expr->structure == EXPR_CASE) pset_insert(found, expr->args.caseexpr.casevar);
    for_each_child(expr, [&](const Expr* child) { collect_free(child, found); });
    if (expr->structure != EXPR_RANGE) return;
    // Only after the walk, so a variable of this name that was found before, in the bounds or to
    // the left of the loop, is removed as well: callers rely on this set.
    IdCon bound{};
    bound.contype = IDCON_SIMPLE;
    bound.args.id.idname = expr->args.range.lambdavar;
    pset_remove(found, &bound);
}

// A new identifier that takes over the name and the indices of `last`, which is not a composite.
IdCon* taken_step(const IdCon* last) {
    const unsigned line = last->linenumber;
    switch (kind_of(last)) {
    case IDCON_SIMPLE: return expr_new_simpleid(last->args.id.idname, line);
    case IDCON_ARRAY:
        return expr_new_arrayid(last->args.array.idname, last->args.array.exprlist, line);
    case IDCON_COMPOSIT: break;
    }
    NORVANE_FAIL("Invalid id constructor type '%d'", last->contype);
}

// How a rewrite treats leaves (identifiers and constants), the selector of a case, and loops. All
// other nodes are rebuilt in the same way.
struct Rewrite {
    Expr* (*leaf)(const Expr* expr, const Rewrite& rewrite);
    IdCon* (*selector)(IdCon* casevar, const Rewrite& rewrite);
    Expr* (*range)(const Expr* expr, const Rewrite& rewrite);
    IdCon* idcon;
    Expr* replacement;
};

Expr* rewrite_expr(const Expr* expr, const Rewrite& rewrite);

Expr* rewrite_case(const Expr* expr, const Rewrite& rewrite) {
    const auto& from = expr->args.caseexpr;
    IdCon* casevar = rewrite.selector(from.casevar, rewrite);
    PolyList* conditions = plist_new(nullptr, nullptr, poly<expr_delete>);
    PolyList* evaluations = plist_new(nullptr, nullptr, poly<expr_delete>);
    const PolyListNode* condition = from.exprlist_condition->first;
    const PolyListNode* evaluation = from.exprlist_evaluation->first;
    while (condition && evaluation) {
        plist_append(conditions, rewrite_expr(static_cast<Expr*>(condition->element), rewrite));
        plist_append(evaluations, rewrite_expr(static_cast<Expr*>(evaluation->element), rewrite));
        condition = condition->next;
        evaluation = evaluation->next;
    }
    Expr* default_expr = rewrite_expr(from.default_expr, rewrite);
    return expr_new_case(casevar, conditions, evaluations, default_expr, expr->linenumber);
}

Expr* rewrite_expr(const Expr* expr, const Rewrite& rewrite) {
    if (stack_is_low()) return on_fresh_stack([&] { return rewrite_expr(expr, rewrite); });
    NORVANE_ASSERT(expr);
    const auto opr = operator_of(expr);
    const unsigned line = expr->linenumber;
    switch (structure_of(expr)) {
    case EXPR_BINARY: {
        Expr* leftarg = rewrite_expr(expr->args.binargs.leftarg, rewrite);
        return expr_new_binary(opr, leftarg, rewrite_expr(expr->args.binargs.rightarg, rewrite),
                               line);
    }
    case EXPR_UNARY: return expr_new_unary(opr, rewrite_expr(expr->args.arg, rewrite), line);
    case EXPR_IDCONSTRUCTOR:
    case EXPR_INT_CONST:
    case EXPR_STRING_CONST:
    case EXPR_FLOAT_CONST: return rewrite.leaf(expr, rewrite);
    case EXPR_ITE: {
        Expr* logictest = rewrite_expr(expr->args.ite.logictest, rewrite);
        Expr* trueexpr = rewrite_expr(expr->args.ite.trueexpr, rewrite);
        return expr_new_ite(logictest, trueexpr, rewrite_expr(expr->args.ite.falseexpr, rewrite),
                            line);
    }
    case EXPR_RANGE: return rewrite.range(expr, rewrite);
    case EXPR_CASE: return rewrite_case(expr, rewrite);
    }
    NORVANE_FAIL("Invalid expression structure '%d'", expr->structure);
}

IdCon* prefixed(IdCon* idcon, const Rewrite& rewrite) {
    IdCon* path = expr_copy_idcon(rewrite.idcon);
    expr_expand_composit_idcon(path, idcon);
    return path;
}

// A copy of a constant with the type that its constructor sets, not the one that the checker set.
Expr* new_constant(const Expr* expr) {
    const unsigned line = expr->linenumber;
    if (expr->structure == EXPR_STRING_CONST) return expr_new_stringconst(expr->args.str, line);
    if (expr->structure == EXPR_FLOAT_CONST)
        return expr_new_floatconst(expr->args.floatconst.value, line);
    return expr_new_intconst(operator_of(expr), expr->args.intconst.value, line);
}

Expr* prefixed_leaf(const Expr* expr, const Rewrite& rewrite) {
    if (expr->structure != EXPR_IDCONSTRUCTOR) return new_constant(expr);
    return expr_new_idcon(prefixed(expr->args.idcon, rewrite), expr->linenumber);
}

Expr* no_range(const Expr*, const Rewrite&) {
    NORVANE_FAIL("Range expressions should have been removed before expand");
}

Expr* replaced_leaf(const Expr* expr, const Rewrite& rewrite) {
    if (expr->structure != EXPR_IDCONSTRUCTOR) return expr_copy_expr(expr);
    IdCon* own = expr->args.idcon;
    IdCon* wanted = rewrite.idcon;
    return expr_copy_expr(expr_compare_idcon(&own, &wanted) == 0 ? rewrite.replacement : expr);
}

IdCon* same_selector(IdCon* casevar, const Rewrite&) {
    return expr_copy_idcon(casevar);
}

Expr* replaced_range(const Expr* expr, const Rewrite& rewrite) {
    const auto& range = expr->args.range;
    char* lambdavar = str_copy(range.lambdavar);
    Expr* rangebegin = rewrite_expr(range.rangebegin, rewrite);
    Expr* rangeend = rewrite_expr(range.rangeend, rewrite);
    Expr* lambdaexpr = rewrite_expr(range.lambdaexpr, rewrite);
    return expr_new_range(operator_of(expr), lambdavar, rangebegin, rangeend, lambdaexpr,
                          expr->linenumber);
}

} // namespace
} // namespace norvane::model

using namespace norvane;
using namespace norvane::model;

int expr_hash_idcon(IdCon* idcon, int size) {
    NORVANE_ASSERT(idcon);
    NORVANE_ASSERT(size >= 1);
    return static_cast<int>(hash_idcon(idcon, static_cast<unsigned>(size)));
}

void expr_expand_composit_idcon(IdCon* composit, IdCon* expansion) {
    NORVANE_ASSERT(composit);
    NORVANE_ASSERT(expansion);
    IdCon* last = composit;
    while (last->contype == IDCON_COMPOSIT)
        last = last->args.compositid.nested;
    IdCon* nested = expr_copy_idcon(expansion);
    IdCon* hier = taken_step(last);
    last->contype = IDCON_COMPOSIT;
    last->args.compositid.hier = hier;
    last->args.compositid.nested = nested;
}

void expr_collaps_composit_idcon(IdCon* composit) {
    NORVANE_ASSERT(composit);
    NORVANE_ASSERT(composit->contype == IDCON_COMPOSIT);
    while (composit->args.compositid.nested->contype == IDCON_COMPOSIT)
        composit = composit->args.compositid.nested;
    IdCon* hier = composit->args.compositid.hier;
    if (hier->contype != IDCON_SIMPLE && hier->contype != IDCON_ARRAY)
        NORVANE_FAIL("Invalid id constructor type '%d'", hier->contype);
    expr_delete_idcon(composit->args.compositid.nested);
    composit->contype = hier->contype;
    composit->args = hier->args;
    std::free(hier);
}

PolySet* expr_get_free_idconstructors(Expr* expr) {
    PolySet* found = pset_new(16, poly<expr_compare_idcon>, poly<expr_copy_idcon>, hash_idcon,
                              poly<expr_delete_idcon>);
    collect_free(expr, found);
    return found;
}

Expr* expr_expand_expr_with_idcon(Expr* expr, IdCon* idcon) {
    NORVANE_ASSERT(idcon);
    return rewrite_expr(expr, {prefixed_leaf, prefixed, no_range, idcon, nullptr});
}

Expr* expr_replace_idcon_with_expr(Expr* expr, IdCon* idcon, Expr* replacement) {
    NORVANE_ASSERT(idcon);
    NORVANE_ASSERT(replacement);
    return rewrite_expr(expr, {replaced_leaf, same_selector, replaced_range, idcon, replacement});
}
