// What the modules of simplification share. Each function leaves the trees of the checked model as
// they are, and returns a new tree that the caller owns.
#ifndef NORVANE_PROJ_SIMPLIFY_INTERNAL_H
#define NORVANE_PROJ_SIMPLIFY_INTERNAL_H

#include "context.h"
#include "norvane/base/list.h"

namespace norvane::finite {

using check::Context;

// What all steps of one simplification share.
struct Simplification : Context {
    // Unary nodes (borrowed) already found not to be static, in the order in which the walk meets
    // them.
    PolyList not_static;
    // Whether a value that is compared becomes a position: not while a loop is closed, whose turns
    // have been encoded already. (simplify_loop.cpp)
    bool encode_values;
    // Whether what has been made is already as closing the loop around it would leave it. Whatever
    // makes another node clears it. (simplify_loop.cpp)
    bool is_closed;
};

// Clears is_closed for a node of an unbounded type: its comparisons are made anew.
inline void note_type(Simplification& in, unsigned char type) {
    if (type == ETYPE_ENUM_FLOAT || type == ETYPE_ENUM_INTEGER || type == ETYPE_STRING)
        in.is_closed = false;
}

// simplify_expr, for its parts. (simplify_expr.cpp)
Expr* simplify(Simplification& in, Expr* expr);

// Starts a simplification of its own. (simplify_expr.cpp)
Expr* simplify(const Context& in, Expr* expr);

// Nodes that are on the stack, like check::stack_node. (simplify_nodes.cpp)
Expr stack_idcon(IdCon* idcon, unsigned char type);
Expr stack_equation(Expr* left, Expr* right, ExprType type);

// Turns a leaf into a constant, in place. (simplify_nodes.cpp)
void become_int(Expr* expr, OprTypes opr, int value);

// Two constants under an operator: the first one becomes the result, and the second one is deleted.
// Null, with both left alone, where there are no two constants of one kind. (simplify_nodes.cpp)
Expr* fold(const Simplification& in, unsigned char opr, Expr* left, Expr* right,
           unsigned char type);

// A binary node over two simplified operands, which it takes over, or the constant that they make.
// (simplify_nodes.cpp)
Expr* join(Simplification& in, unsigned char opr, Expr* left, Expr* right, unsigned char type);

// A comparison of an unbounded variable becomes one of positions. Null for any other binary
// expression. (simplify_compare.cpp)
Expr* simplify_comparison(Simplification& in, Expr* expr);

// A loop becomes a chain of its turns. (simplify_loop.cpp)
Expr* simplify_range(Simplification& in, Expr* expr);

} // namespace norvane::finite

#endif
