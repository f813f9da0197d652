// The children of a node, for walks that differ only in what they do at a node.
//
// A walk recurses by itself, so that it can guard its own depth (norvane/base/deep.hpp). It passes
// the text of the failure for an impossible tag, because callers match these texts, and each walk
// has its own.
#ifndef NORVANE_PROJ_WALK_H
#define NORVANE_PROJ_WALK_H

#include "norvane/base/except.h"
#include "norvane/base/items.hpp"
#include "norvane/proj/decl.h"
#include "tags.h"

namespace norvane::model {

inline constexpr char invalid_structure[] = "Invalid expression structure '%d'";

// Calls visit(element) until it returns false; returns whether every call returned true.
template <typename Element, typename Visit>
bool every_item(const PolyList* list, Visit visit) {
    for (Element* element : items<Element>(list))
        if (!visit(element)) return false;
    return true;
}

// Calls visit(Expr*) for each expression directly below this one, in source order, until it returns
// false; returns whether every call returned true. The conditions of a case come before its
// evaluations. Identifiers are not entered: neither indices nor the selector of a case are visited.
template <typename Visit>
bool every_child(const Expr* expr, Visit visit, const char* failure = invalid_structure) {
    const auto& args = expr->args;
    switch (structure_of(expr)) {
    case EXPR_BINARY: return visit(args.binargs.leftarg) && visit(args.binargs.rightarg);
    case EXPR_UNARY: return visit(args.arg);
    case EXPR_IDCONSTRUCTOR:
    case EXPR_INT_CONST:
    case EXPR_STRING_CONST:
    case EXPR_FLOAT_CONST: return true;
    case EXPR_ITE:
        return visit(args.ite.logictest) && visit(args.ite.trueexpr) && visit(args.ite.falseexpr);
    case EXPR_RANGE:
        return visit(args.range.rangebegin) && visit(args.range.rangeend) &&
               visit(args.range.lambdaexpr);
    case EXPR_CASE:
        return every_item<Expr>(args.caseexpr.exprlist_condition, visit) &&
               every_item<Expr>(args.caseexpr.exprlist_evaluation, visit) &&
               visit(args.caseexpr.default_expr);
    }
    NORVANE_FAIL(failure, expr->structure);
}

// The same for the types directly inside a type: those of a record's fields, of an array's
// elements, of an optional. A named type has none: what it names belongs to its declaration.
template <typename Visit>
bool every_child(const TypeCon* typecon, Visit visit, const char* failure) {
    switch (kind_of(typecon)) {
    case TC_PROD:
        return every_item<VarDecl>(typecon->values.prod.fields,
                                   [&](VarDecl* field) { return visit(field->typecon); });
    case TC_ARRAY: return visit(typecon->values.array.element);
    case TC_OPTIONAL: return visit(typecon->values.base);
    case TC_BOOL:
    case TC_INT:
    case TC_UBOUND_FLOAT:
    case TC_UBOUND_INTEGER:
    case TC_STRING:
    case TC_SUM:
    case TC_NAMED: return true;
    }
    NORVANE_FAIL(failure, typecon->contype);
}

// Calls visit(child) for every child of an Expr or a TypeCon, in the same order. The optional last
// argument is the text of the failure.
template <typename Node, typename Visit, typename... Failure>
void for_each_child(const Node* node, Visit visit, Failure... failure) {
    const auto visit_on = [&](auto* child) {
        visit(child);
        return true;
    };
    every_child(node, visit_on, failure...);
}

} // namespace norvane::model

#endif
