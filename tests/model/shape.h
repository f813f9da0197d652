// Prints trees with what the PM printer leaves out: the exact operator, the type and the line of
// each node.
#ifndef NORVANE_TESTS_MODEL_SHAPE_H
#define NORVANE_TESTS_MODEL_SHAPE_H

#include "test.h"
#include "walk.h"

namespace norvane::test {

inline std::string at(unsigned line) {
    return line == UNDEF_LINENO ? "" : "@" + std::to_string(line);
}

std::string nodes(const Expr* expr);

// The line of each step of a path, each with its indices.
inline std::string steps(const IdCon* path) {
    if (path->contype == IDCON_COMPOSIT)
        return at(path->linenumber) + steps(path->args.compositid.hier) +
               steps(path->args.compositid.nested);
    std::string text = "/" + at(path->linenumber);
    if (path->contype == IDCON_ARRAY)
        for (const Expr* index : items<Expr>(path->args.array.exprlist))
            text += "[" + nodes(index) + "]";
    return text;
}

// " OPERATOR:TYPE@LINE" for each node, parents first.
inline std::string nodes(const Expr* expr) {
    std::string text = " " + std::to_string(expr->opr);
    if (expr->type != ETYPE_UNDEF)
        text += std::string(":") + expr_type_to_string(const_cast<Expr*>(expr));
    text += at(expr->linenumber);
    if (expr->structure == EXPR_IDCONSTRUCTOR) text += steps(expr->args.idcon);
    if (expr->structure == EXPR_CASE) text += steps(expr->args.caseexpr.casevar);
    model::for_each_child(
        expr, [&](const Expr* child) { text += nodes(child); }, "structure %d");
    return text;
}

inline std::string shape(Expr* expr) {
    return print(expr) + " |" + nodes(expr);
}

} // namespace norvane::test

#endif
