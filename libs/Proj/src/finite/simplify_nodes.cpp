// Nodes that several modules of simplification make: nodes on the stack, and folded constants.
#include "norvane/base/except.h"
#include "simplify_internal.h"

namespace norvane::finite {

Expr stack_idcon(IdCon* idcon, unsigned char type) {
    Expr node = check::stack_node(EXPR_IDCONSTRUCTOR, OPR_NONE, type);
    node.args.idcon = idcon;
    return node;
}

Expr stack_equation(Expr* left, Expr* right, ExprType type) {
    Expr node = check::stack_node(EXPR_BINARY, OPR_EQ, type);
    node.args.binargs = {left, right};
    return node;
}

void become_int(Expr* expr, OprTypes opr, int value) {
    expr->structure = EXPR_INT_CONST;
    expr->opr = static_cast<unsigned char>(opr);
    expr->type = opr == OPR_BOOLCONST ? ETYPE_BOOL : ETYPE_INT;
    expr->linenumber = UNDEF_LINENO;
    expr->args = {};
    expr->args.intconst.value = value;
}

Expr* fold(const Simplification& in, unsigned char opr, Expr* left, Expr* right,
           unsigned char type) {
    if (left->structure != right->structure) return nullptr;
    if (left->structure != EXPR_INT_CONST && left->structure != EXPR_FLOAT_CONST) return nullptr;
    Expr expr = check::stack_node(EXPR_BINARY, static_cast<OprTypes>(opr), type);
    expr.args.binargs = {left, right};
    if (left->structure == EXPR_INT_CONST || type == ETYPE_BOOL) {
        become_int(left, type == ETYPE_INT ? OPR_INTCONST : OPR_BOOLCONST,
                   check::evaluate_int(in, &expr));
    } else {
        NORVANE_ASSERT(type == ETYPE_ENUM_FLOAT);
        left->args.floatconst.value = check::evaluate_float(in, &expr);
    }
    expr_delete(right);
    return left;
}

Expr* join(Simplification& in, unsigned char opr, Expr* left, Expr* right, unsigned char type) {
    if (Expr* constant = fold(in, opr, left, right, type)) return constant;
    Expr* result = expr_new_binary(static_cast<OprTypes>(opr), left, right, UNDEF_LINENO);
    result->type = type;
    return result;
}

} // namespace norvane::finite
