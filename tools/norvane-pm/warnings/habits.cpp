// What is written but can hardly be meant, whatever the finite form makes of it.
#include <cstdio>
#include <unordered_set>

#include "finder.h"

namespace norvane::driver {
namespace {

// A comparison with the variable on its left.
unsigned char turned(unsigned char opr) {
    switch (opr) {
    case OPR_LT: return OPR_GT;
    case OPR_LE: return OPR_GE;
    case OPR_GT: return OPR_LT;
    case OPR_GE: return OPR_LE;
    default: return opr;
    }
}

// What a comparison of a number from 0 to `upper` with a value always gives. An order is the same
// for all numbers if it is so for the first and the last.
std::optional<bool> always(unsigned char opr, double upper, double value) {
    if (opr == OPR_EQ || opr == OPR_NEQ) {
        const bool is_outside = value < 0 || value > upper;
        return is_outside ? std::optional(opr == OPR_NEQ) : std::nullopt;
    }
    const auto lowest = combined(opr, 0, value);
    return lowest == combined(opr, upper, value) ? std::optional(lowest != 0) : std::nullopt;
}

void check_range(Finder& finder, unsigned char opr, const Expr* variable, const Expr* value,
                 const About& about) {
    if (!is_name(variable) || value->structure == EXPR_BINARY) return;
    const auto known = known_value(finder.names, value);
    if (!known || (known->value > 0 && known->value < finder.smallest_bound)) return;
    const IdCon* idcon = variable->args.idcon;
    const TypeCon* typecon = finder.names.type_of(idcon);
    if (!typecon || typecon->contype != TC_INT) return;
    const auto upper = known_value(finder.names, typecon->values.upper);
    if (!upper) return;
    // The ends of a range that a constant gives vary with it, so that they may be meant.
    const bool is_fixed = known->is_literal && upper->is_literal;
    if (!is_fixed && opr != OPR_EQ && opr != OPR_NEQ) return;
    const auto result = always(opr, upper->value, known->value);
    if (!result) return;
    finder.add(Warning::constant_comparison, about,
               "this comparison is always " + std::string(*result ? "true" : "false") + ": '" +
                   text_of(idcon) + "' is from 0 to " +
                   std::to_string(static_cast<long>(upper->value)),
               "");
}

// The value that an arm is for, where two arms can be seen to have the same: a literal or a name.
std::string key_of(const Expr* condition) {
    switch (structure_of(condition)) {
    case EXPR_INT_CONST:
    case EXPR_FLOAT_CONST: {
        char text[32];
        const bool is_int = condition->structure == EXPR_INT_CONST;
        std::snprintf(text, sizeof text, "%.17g",
                      is_int ? condition->args.intconst.value : condition->args.floatconst.value);
        return text;
    }
    case EXPR_STRING_CONST: return std::string("\"") + condition->args.str;
    case EXPR_IDCONSTRUCTOR:
        if (condition->type == ETYPE_SUM && condition->args.idcon->contype == IDCON_SIMPLE)
            return std::string("\"") + condition->args.idcon->args.id.idname;
        return text_of(condition->args.idcon);
    case EXPR_BINARY:
    case EXPR_UNARY:
    case EXPR_ITE:
    case EXPR_RANGE:
    case EXPR_CASE: break;
    }
    return "";
}

} // namespace

void check_ranges(Finder& finder, const Expr* expr) {
    const Expr* left = expr->args.binargs.leftarg;
    const Expr* right = expr->args.binargs.rightarg;
    if (left->type != ETYPE_INT || right->type != ETYPE_INT || finder.at.is_evaluated) return;
    check_range(finder, expr->opr, left, right, expr);
    check_range(finder, turned(expr->opr), right, left, expr);
}

void check_arms(Finder& finder, const Expr* expr) {
    std::unordered_set<std::string> values;
    for (const Expr* condition : items<Expr>(expr->args.caseexpr.exprlist_condition)) {
        const std::string key = key_of(condition);
        if (key.empty() || values.insert(key).second) continue;
        finder.add(Warning::duplicate_arm, condition,
                   "the case over '" + text_of(expr->args.caseexpr.casevar) +
                       "' has an arm for this value already: " + key.substr(key[0] == '"'),
                   "remove one of the two arms");
    }
}

} // namespace norvane::driver
