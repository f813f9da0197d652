// Makes, frees, copies and orders expressions and identifiers. All modules build their trees with
// these constructors, which assert their arguments, so that no tree lacks an operand.
#include "norvane/proj/expr.h"

#include <cstdlib>
#include <cstring>
#include <new>

#include "allocation.h"
#include "norvane/base/deep.hpp"
#include "norvane/base/except.h"
#include "norvane/base/strings.h"
#include "poly_adaptors.h"
#include "tags.h"

namespace norvane::model {
namespace {

Expr* new_expr(ExprStructure structure, OprTypes opr, ExprType type, unsigned linenumber) {
    auto* expr = new (new_memory(sizeof(Expr))) Expr{};
    expr->structure = static_cast<unsigned char>(structure);
    expr->opr = static_cast<unsigned char>(opr);
    expr->type = static_cast<unsigned char>(type);
    expr->linenumber = linenumber;
    return expr;
}

IdCon* new_idcon(IdConType contype, unsigned linenumber) {
    auto* idcon = new (new_memory(sizeof(IdCon))) IdCon{};
    idcon->contype = static_cast<unsigned char>(contype);
    idcon->linenumber = linenumber;
    return idcon;
}

void delete_parts(IdCon* idcon) {
    switch (kind_of(idcon)) {
    case IDCON_SIMPLE: return str_delete(idcon->args.id.idname);
    case IDCON_ARRAY:
        str_delete(idcon->args.array.idname);
        return plist_delete(idcon->args.array.exprlist);
    case IDCON_COMPOSIT:
        expr_delete_idcon(idcon->args.compositid.hier);
        return expr_delete_idcon(idcon->args.compositid.nested);
    }
    NORVANE_FAIL("Invalid id constructor type '%d'", idcon->contype);
}

void delete_parts(Expr* expr) {
    switch (structure_of(expr)) {
    case EXPR_BINARY:
        expr_delete(expr->args.binargs.leftarg);
        return expr_delete(expr->args.binargs.rightarg);
    case EXPR_UNARY: return expr_delete(expr->args.arg);
    case EXPR_IDCONSTRUCTOR: return expr_delete_idcon(expr->args.idcon);
    case EXPR_INT_CONST:
    case EXPR_FLOAT_CONST: return;
    case EXPR_STRING_CONST: return str_delete(expr->args.str);
    case EXPR_ITE:
        expr_delete(expr->args.ite.logictest);
        expr_delete(expr->args.ite.trueexpr);
        return expr_delete(expr->args.ite.falseexpr);
    case EXPR_RANGE:
        str_delete(expr->args.range.lambdavar);
        expr_delete(expr->args.range.rangebegin);
        expr_delete(expr->args.range.rangeend);
        return expr_delete(expr->args.range.lambdaexpr);
    case EXPR_CASE:
        expr_delete_idcon(expr->args.caseexpr.casevar);
        plist_delete(expr->args.caseexpr.exprlist_condition);
        plist_delete(expr->args.caseexpr.exprlist_evaluation);
        return expr_delete(expr->args.caseexpr.default_expr);
    }
    NORVANE_FAIL("Invalid expression structure '%d'", expr->structure);
}

PolyList* copy_exprs(const PolyList* list) {
    return plist_copy_with_copycon(list, poly<expr_copy_expr>);
}

Expr* copy_range(const Expr* expr) {
    const auto& range = expr->args.range;
    char* lambdavar = str_copy(range.lambdavar);
    Expr* rangebegin = expr_copy_expr(range.rangebegin);
    Expr* rangeend = expr_copy_expr(range.rangeend);
    Expr* lambdaexpr = expr_copy_expr(range.lambdaexpr);
    return expr_new_range(operator_of(expr), lambdavar, rangebegin, rangeend, lambdaexpr,
                          expr->linenumber);
}

Expr* copy_case(const Expr* expr) {
    const auto& caseexpr = expr->args.caseexpr;
    IdCon* casevar = expr_copy_idcon(caseexpr.casevar);
    PolyList* conditions = copy_exprs(caseexpr.exprlist_condition);
    PolyList* evaluations = copy_exprs(caseexpr.exprlist_evaluation);
    Expr* default_expr = expr_copy_expr(caseexpr.default_expr);
    return expr_new_case(casevar, conditions, evaluations, default_expr, expr->linenumber);
}

Expr* copy_untyped(const Expr* expr) {
    const auto opr = operator_of(expr);
    const unsigned line = expr->linenumber;
    switch (structure_of(expr)) {
    case EXPR_BINARY: {
        Expr* leftarg = expr_copy_expr(expr->args.binargs.leftarg);
        return expr_new_binary(opr, leftarg, expr_copy_expr(expr->args.binargs.rightarg), line);
    }
    case EXPR_UNARY: return expr_new_unary(opr, expr_copy_expr(expr->args.arg), line);
    case EXPR_IDCONSTRUCTOR: return expr_new_idcon(expr_copy_idcon(expr->args.idcon), line);
    case EXPR_INT_CONST: return expr_new_intconst(opr, expr->args.intconst.value, line);
    case EXPR_STRING_CONST: return expr_new_stringconst(expr->args.str, line);
    case EXPR_FLOAT_CONST: return expr_new_floatconst(expr->args.floatconst.value, line);
    case EXPR_ITE: {
        Expr* logictest = expr_copy_expr(expr->args.ite.logictest);
        Expr* trueexpr = expr_copy_expr(expr->args.ite.trueexpr);
        return expr_new_ite(logictest, trueexpr, expr_copy_expr(expr->args.ite.falseexpr), line);
    }
    case EXPR_RANGE: return copy_range(expr);
    case EXPR_CASE: return copy_case(expr);
    }
    NORVANE_FAIL("Invalid expression structure '%d'", expr->structure);
}

int compare_exprs(const Expr* a, const Expr* b);
int compare_idcons(const IdCon* a, const IdCon* b);

int compare_ints(int a, int b) {
    return (a > b) - (a < b);
}

int compare_texts(const char* a, const char* b) {
    return compare_ints(std::strcmp(a, b), 0);
}

// The first differing element decides, else the shorter list is less.
int compare_lists(const PolyList* a, const PolyList* b) {
    const PolyListNode* left = a->first;
    const PolyListNode* right = b->first;
    for (; left && right; left = left->next, right = right->next) {
        const int order = compare_exprs(static_cast<const Expr*>(left->element),
                                        static_cast<const Expr*>(right->element));
        if (order != 0) return order;
    }
    return compare_ints(left != nullptr, right != nullptr);
}

int compare_ites(const Expr* a, const Expr* b) {
    if (int order = compare_exprs(a->args.ite.logictest, b->args.ite.logictest)) return order;
    if (int order = compare_exprs(a->args.ite.trueexpr, b->args.ite.trueexpr)) return order;
    return compare_exprs(a->args.ite.falseexpr, b->args.ite.falseexpr);
}

int compare_ranges(const Expr* a, const Expr* b) {
    const auto& left = a->args.range;
    const auto& right = b->args.range;
    if (int order = compare_texts(left.lambdavar, right.lambdavar)) return order;
    if (int order = compare_exprs(left.rangebegin, right.rangebegin)) return order;
    if (int order = compare_exprs(left.rangeend, right.rangeend)) return order;
    return compare_exprs(left.lambdaexpr, right.lambdaexpr);
}

int compare_cases(const Expr* a, const Expr* b) {
    const auto& left = a->args.caseexpr;
    const auto& right = b->args.caseexpr;
    if (int order = compare_idcons(left.casevar, right.casevar)) return order;
    if (int order = compare_lists(left.exprlist_condition, right.exprlist_condition)) return order;
    if (int order = compare_lists(left.exprlist_evaluation, right.exprlist_evaluation))
        return order;
    return compare_exprs(left.default_expr, right.default_expr);
}

int compare_exprs(const Expr* a, const Expr* b) {
    if (stack_is_low()) return on_fresh_stack([&] { return compare_exprs(a, b); });
    NORVANE_ASSERT(a);
    NORVANE_ASSERT(b);
    if (int order = compare_ints(a->structure, b->structure)) return order;
    if (int order = compare_ints(a->opr, b->opr)) return order;
    switch (structure_of(a)) {
    case EXPR_BINARY:
        if (int order = compare_exprs(a->args.binargs.leftarg, b->args.binargs.leftarg))
            return order;
        return compare_exprs(a->args.binargs.rightarg, b->args.binargs.rightarg);
    case EXPR_UNARY: return compare_exprs(a->args.arg, b->args.arg);
    case EXPR_IDCONSTRUCTOR: return compare_idcons(a->args.idcon, b->args.idcon);
    case EXPR_INT_CONST: return compare_ints(a->args.intconst.value, b->args.intconst.value);
    case EXPR_STRING_CONST: return compare_texts(a->args.str, b->args.str);
    case EXPR_ITE: return compare_ites(a, b);
    case EXPR_RANGE: return compare_ranges(a, b);
    case EXPR_CASE: return compare_cases(a, b);
    // Float constants have no order. Callers rely on the failure: they compare no trees with
    // floats.
    case EXPR_FLOAT_CONST: break;
    }
    NORVANE_FAIL("Invalid expression structure '%d'", a->structure);
}

int compare_idcons(const IdCon* a, const IdCon* b) {
    if (stack_is_low()) return on_fresh_stack([&] { return compare_idcons(a, b); });
    NORVANE_ASSERT(a);
    NORVANE_ASSERT(b);
    if (int order = compare_ints(a->contype, b->contype)) return order;
    switch (kind_of(a)) {
    case IDCON_SIMPLE: return compare_texts(a->args.id.idname, b->args.id.idname);
    case IDCON_ARRAY:
        if (int order = compare_texts(a->args.array.idname, b->args.array.idname)) return order;
        return compare_lists(a->args.array.exprlist, b->args.array.exprlist);
    case IDCON_COMPOSIT:
        if (int order = compare_idcons(a->args.compositid.hier, b->args.compositid.hier))
            return order;
        return compare_idcons(a->args.compositid.nested, b->args.compositid.nested);
    }
    NORVANE_FAIL("Invalid id constructor type '%d'", a->contype);
}

} // namespace
} // namespace norvane::model

using namespace norvane;
using namespace norvane::model;

Expr* expr_new_binary(OprTypes opr, Expr* leftarg, Expr* rightarg, unsigned linenumber) {
    NORVANE_ASSERT(leftarg);
    NORVANE_ASSERT(rightarg);
    Expr* expr = new_expr(EXPR_BINARY, opr, ETYPE_UNDEF, linenumber);
    expr->args.binargs.leftarg = leftarg;
    expr->args.binargs.rightarg = rightarg;
    return expr;
}

Expr* expr_new_unary(OprTypes opr, Expr* arg, unsigned linenumber) {
    NORVANE_ASSERT(arg);
    // A negative literal becomes a constant, because every check for constants tests the structure
    // alone. Boolean constants fold too: the later checks expect this form, and so do callers.
    if (opr == OPR_MINUS && arg->structure == EXPR_INT_CONST) {
        // Unsigned, so that the smallest integer stays as it is.
        arg->args.intconst.value =
            static_cast<int>(0u - static_cast<unsigned>(arg->args.intconst.value));
        return arg;
    }
    if (opr == OPR_MINUS && arg->structure == EXPR_FLOAT_CONST) {
        arg->args.floatconst.value = -arg->args.floatconst.value;
        return arg;
    }
    Expr* expr = new_expr(EXPR_UNARY, opr, ETYPE_UNDEF, linenumber);
    expr->args.arg = arg;
    return expr;
}

Expr* expr_new_idcon(IdCon* idcon, unsigned linenumber) {
    NORVANE_ASSERT(idcon);
    Expr* expr = new_expr(EXPR_IDCONSTRUCTOR, OPR_NONE, ETYPE_UNDEF, linenumber);
    expr->args.idcon = idcon;
    return expr;
}

Expr* expr_new_intconst(OprTypes opr, int value, unsigned linenumber) {
    NORVANE_ASSERT(((opr == OPR_INTCONST) || (opr == OPR_BOOLCONST)));
    NORVANE_ASSERT(((opr != OPR_BOOLCONST) || (value <= 1)));
    const ExprType type = opr == OPR_INTCONST ? ETYPE_INT : ETYPE_BOOL;
    Expr* expr = new_expr(EXPR_INT_CONST, opr, type, linenumber);
    expr->args.intconst.value = value;
    return expr;
}

Expr* expr_new_stringconst(const char* str, unsigned linenumber) {
    NORVANE_ASSERT(str);
    char* copy = str_copy(str);
    Expr* expr = new_expr(EXPR_STRING_CONST, OPR_NONE, ETYPE_STRING, linenumber);
    expr->args.str = copy;
    return expr;
}

Expr* expr_new_floatconst(double value, unsigned linenumber) {
    Expr* expr = new_expr(EXPR_FLOAT_CONST, OPR_FLOATCONST, ETYPE_ENUM_FLOAT, linenumber);
    expr->args.floatconst.value = value;
    return expr;
}

Expr* expr_new_ite(Expr* logictest, Expr* trueexpr, Expr* falseexpr, unsigned linenumber) {
    NORVANE_ASSERT(logictest);
    NORVANE_ASSERT(trueexpr);
    NORVANE_ASSERT(falseexpr);
    Expr* expr = new_expr(EXPR_ITE, OPR_NONE, ETYPE_UNDEF, linenumber);
    expr->args.ite.logictest = logictest;
    expr->args.ite.trueexpr = trueexpr;
    expr->args.ite.falseexpr = falseexpr;
    return expr;
}

Expr* expr_new_range(OprTypes opr, char* lambdavar, Expr* rangebegin, Expr* rangeend,
                     Expr* lambdaexpr, unsigned linenumber) {
    NORVANE_ASSERT(opr == OPR_FORALL || opr == OPR_EXIST || opr == OPR_SUM || opr == OPR_PROD);
    NORVANE_ASSERT(lambdavar);
    NORVANE_ASSERT(rangebegin);
    NORVANE_ASSERT(rangeend);
    NORVANE_ASSERT(lambdaexpr);
    Expr* expr = new_expr(EXPR_RANGE, opr, ETYPE_UNDEF, linenumber);
    expr->args.range.lambdavar = lambdavar;
    expr->args.range.rangebegin = rangebegin;
    expr->args.range.rangeend = rangeend;
    expr->args.range.lambdaexpr = lambdaexpr;
    return expr;
}

Expr* expr_new_case(IdCon* casevar, PolyList* exprlist_condition, PolyList* exprlist_evaluation,
                    Expr* default_expr, unsigned linenumber) {
    NORVANE_ASSERT(casevar);
    NORVANE_ASSERT(exprlist_condition);
    NORVANE_ASSERT(exprlist_evaluation);
    NORVANE_ASSERT(default_expr);
    Expr* expr = new_expr(EXPR_CASE, OPR_NONE, ETYPE_UNDEF, linenumber);
    expr->args.caseexpr.casevar = casevar;
    expr->args.caseexpr.exprlist_condition = exprlist_condition;
    expr->args.caseexpr.exprlist_evaluation = exprlist_evaluation;
    expr->args.caseexpr.default_expr = default_expr;
    return expr;
}

IdCon* expr_new_simpleid(char* name, unsigned linenumber) {
    NORVANE_ASSERT(name);
    IdCon* idcon = new_idcon(IDCON_SIMPLE, linenumber);
    idcon->args.id.idname = name;
    return idcon;
}

IdCon* expr_new_arrayid(char* name, PolyList* exprlist, unsigned linenumber) {
    NORVANE_ASSERT(name);
    NORVANE_ASSERT(exprlist);
    IdCon* idcon = new_idcon(IDCON_ARRAY, linenumber);
    idcon->args.array.idname = name;
    idcon->args.array.exprlist = exprlist;
    return idcon;
}

IdCon* expr_new_compositid(IdCon* hier, IdCon* nested, unsigned linenumber) {
    NORVANE_ASSERT(hier);
    NORVANE_ASSERT(nested);
    IdCon* idcon = new_idcon(IDCON_COMPOSIT, linenumber);
    idcon->args.compositid.hier = hier;
    idcon->args.compositid.nested = nested;
    return idcon;
}

void expr_delete_idcon(IdCon* idcon) {
    if (stack_is_low()) return on_fresh_stack([&] { expr_delete_idcon(idcon); });
    NORVANE_ASSERT(idcon);
    delete_parts(idcon);
    std::free(idcon);
}

void expr_delete(Expr* expr) {
    if (stack_is_low()) return on_fresh_stack([&] { expr_delete(expr); });
    NORVANE_ASSERT(expr);
    delete_parts(expr);
    std::free(expr);
}

Expr* expr_copy_expr(const Expr* expr) {
    if (stack_is_low()) return on_fresh_stack([&] { return expr_copy_expr(expr); });
    NORVANE_ASSERT(expr);
    Expr* copy = copy_untyped(expr);
    copy->type = expr->type;
    return copy;
}

IdCon* expr_copy_idcon(IdCon* idcon) {
    if (stack_is_low()) return on_fresh_stack([&] { return expr_copy_idcon(idcon); });
    NORVANE_ASSERT(idcon);
    switch (kind_of(idcon)) {
    case IDCON_SIMPLE: return expr_new_simpleid(str_copy(idcon->args.id.idname), idcon->linenumber);
    case IDCON_ARRAY: {
        char* name = str_copy(idcon->args.array.idname);
        return expr_new_arrayid(name, copy_exprs(idcon->args.array.exprlist), idcon->linenumber);
    }
    case IDCON_COMPOSIT: {
        IdCon* hier = expr_copy_idcon(idcon->args.compositid.hier);
        IdCon* nested = expr_copy_idcon(idcon->args.compositid.nested);
        return expr_new_compositid(hier, nested, idcon->linenumber);
    }
    }
    NORVANE_FAIL("Invalid id constructor type '%d'", idcon->contype);
}

int expr_compare_expr(Expr** exprp1, Expr** exprp2) {
    NORVANE_ASSERT(exprp1);
    NORVANE_ASSERT(exprp2);
    return compare_exprs(*exprp1, *exprp2);
}

int expr_compare_idcon(IdCon** idconp1, IdCon** idconp2) {
    NORVANE_ASSERT(idconp1);
    NORVANE_ASSERT(idconp2);
    return compare_idcons(*idconp1, *idconp2);
}

const char* expr_type_to_string(Expr* expr) {
    NORVANE_ASSERT(expr);
    switch (type_of(expr)) {
    case ETYPE_UNDEF: return "undefined";
    case ETYPE_BOOL: return "boolean";
    case ETYPE_INT: return "range";
    case ETYPE_SUM: return "enumeration";
    case ETYPE_PROD: return "record";
    case ETYPE_ARRAY: return "array";
    case ETYPE_OPTIONAL: return "optional";
    case ETYPE_ENUM_FLOAT: return "float";
    case ETYPE_ENUM_INTEGER: return "integer";
    case ETYPE_STRING: return "string";
    }
    NORVANE_FAIL("Invalid expression type '%d'", expr->type);
}
