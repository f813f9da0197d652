// Trees with what printing does not show: operators told apart, types and lines.
#ifndef NORVANE_TESTS_MODEL_SHAPE_H
#define NORVANE_TESTS_MODEL_SHAPE_H

#include <string>

#include "norvane/base/items.hpp"
#include "support.h"

namespace norvane::test {

inline std::string at(unsigned line) {
    return line == UNDEF_LINENO ? "" : "@" + std::to_string(line);
}

std::string shape(const Expr* expr);

inline std::string shapes(const PolyList* exprs) {
    std::string text;
    for (const Expr* expr : items<Expr>(exprs))
        text += (text.empty() ? "" : ", ") + shape(expr);
    return text;
}

inline std::string shape(const IdCon* idcon) {
    if (idcon->contype == IDCON_COMPOSIT)
        return shape(idcon->args.compositid.hier) + "." + shape(idcon->args.compositid.nested) +
               at(idcon->linenumber);
    std::string text = idcon->args.id.idname;
    if (idcon->contype == IDCON_ARRAY) text += "[" + shapes(idcon->args.array.exprlist) + "]";
    return text + at(idcon->linenumber);
}

inline std::string content(const Expr* expr) {
    const auto& args = expr->args;
    const std::string opr = "op" + std::to_string(expr->opr) + " ";
    switch (expr->structure) {
    case EXPR_BINARY:
        return "(" + shape(args.binargs.leftarg) + " " + opr + shape(args.binargs.rightarg) + ")";
    case EXPR_UNARY: return "(" + opr + shape(args.arg) + ")";
    case EXPR_IDCONSTRUCTOR: return shape(args.idcon);
    case EXPR_INT_CONST:
        return (expr->opr == OPR_BOOLCONST ? "bool " : "") + std::to_string(args.intconst.value);
    case EXPR_STRING_CONST: return "'" + std::string(args.str) + "'";
    case EXPR_FLOAT_CONST: return util_double_to_str(args.floatconst.value);
    case EXPR_ITE:
        return "if(" + shape(args.ite.logictest) + ", " + shape(args.ite.trueexpr) + ", " +
               shape(args.ite.falseexpr) + ")";
    case EXPR_RANGE:
        return opr + args.range.lambdavar + "(" + shape(args.range.rangebegin) + ", " +
               shape(args.range.rangeend) + ", " + shape(args.range.lambdaexpr) + ")";
    default:
        return "case " + shape(args.caseexpr.casevar) + " of " +
               shapes(args.caseexpr.exprlist_condition) + " then " +
               shapes(args.caseexpr.exprlist_evaluation) + " default " +
               shape(args.caseexpr.default_expr);
    }
}

// "CONTENT:TYPE@LINE", without a type that is not known and a line that there is not.
inline std::string shape(const Expr* expr) {
    std::string text = content(expr);
    if (expr->type != ETYPE_UNDEF)
        text += std::string(":") + expr_type_to_string(const_cast<Expr*>(expr));
    return text + at(expr->linenumber);
}

} // namespace norvane::test

#endif
