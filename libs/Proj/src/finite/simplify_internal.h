// What the modules of simplification share. Each function takes trees of the checked model, which
// it leaves as they are, and returns a new tree that the caller owns.
#ifndef NORVANE_PROJ_SIMPLIFY_INTERNAL_H
#define NORVANE_PROJ_SIMPLIFY_INTERNAL_H

#include "norvane/proj/expr.h"
#include "norvane/proj/project.h"
#include "norvane/proj/symboltable.h"

namespace norvane {

// What all steps of one simplification share.
struct Simplification {
    Project* project;
    SymbolTable* symboltable;
    // Unary nodes, borrowed, that are known not to be static, the next one to be met first.
    // (simplify_expr.cpp)
    PolyList not_static;
    // Whether values that are compared become positions: not while a loop is closed, whose turns
    // have had theirs encoded. (simplify_loop.cpp)
    bool encode_values;
};

// simplify_expr, for its parts. (simplify_expr.cpp)
Expr* simplify(Simplification& in, Expr* expr);

// Nodes that live on the stack for the length of a call of simplify, and borrow what they hold.
inline Expr stack_node(ExprStructure structure, OprTypes opr, unsigned char type) {
    return {static_cast<unsigned char>(structure),
            static_cast<unsigned char>(opr),
            type,
            UNDEF_LINENO,
            {}};
}
Expr stack_idcon(IdCon* idcon, unsigned char type);
Expr stack_equation(Expr* left, Expr* right, ExprType type);

// A comparison of an unbounded variable becomes one of positions. Null for any other binary
// expression. (simplify_compare.cpp)
Expr* simplify_comparison(Simplification& in, Expr* expr);

// A loop becomes a chain of its turns. (simplify_loop.cpp)
Expr* simplify_range(Simplification& in, Expr* expr);

// A binary node over two simplified operands, which it takes over, or the constant that they make.
// (simplify_loop.cpp)
Expr* join(Simplification& in, unsigned char opr, Expr* left, Expr* right, unsigned char type);

} // namespace norvane

#endif
