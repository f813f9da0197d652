// The names of the operators in the product-model XML, shared by the writer and the reader.
#ifndef NORVANE_PROJ_XML_NAMES_H
#define NORVANE_PROJ_XML_NAMES_H

#include <array>
#include <string_view>

#include "norvane/proj/expr.h"

namespace norvane::xml {

// Which element an operator belongs to.
enum class OperatorUse : unsigned char { binary, binary_and_unary, unary, range };

struct Operator {
    OprTypes opr;
    const char* name; // null for an operator that the format cannot hold
    OperatorUse use = OperatorUse::binary;
    bool flattened = false; // the writer gives one element to a whole tree of this operator
};

constexpr Operator make_operator(OprTypes opr) {
    switch (opr) {
    case OPR_AND: return {opr, "and", OperatorUse::binary, true};
    case OPR_OR: return {opr, "or", OperatorUse::binary, true};
    case OPR_XOR: return {opr, "xor", OperatorUse::binary, true};
    case OPR_NOT: return {opr, "not", OperatorUse::unary};
    case OPR_IMPLIES: return {opr, "imp", OperatorUse::binary};
    case OPR_BIIMPLIES: return {opr, "biimp", OperatorUse::binary};
    case OPR_PLUS: return {opr, "plus", OperatorUse::binary, true};
    case OPR_MINUS: return {opr, "minus", OperatorUse::binary_and_unary};
    case OPR_TIMES: return {opr, "mult", OperatorUse::binary, true};
    case OPR_LT: return {opr, "lt", OperatorUse::binary};
    case OPR_LE: return {opr, "lteq", OperatorUse::binary};
    case OPR_GT: return {opr, "gr", OperatorUse::binary};
    case OPR_GE: return {opr, "greq", OperatorUse::binary};
    case OPR_EQ: return {opr, "eq", OperatorUse::binary};
    case OPR_NEQ: return {opr, "neq", OperatorUse::binary};
    case OPR_FORALL: return {opr, "forall", OperatorUse::range};
    case OPR_EXIST: return {opr, "exist", OperatorUse::range};
    case OPR_SUM: return {opr, "sum", OperatorUse::range};
    case OPR_PROD: return {opr, "prod", OperatorUse::range};
    case OPR_ORDER: return {opr, "order", OperatorUse::unary};
    case OPR_DIV:
    case OPR_SHL:
    case OPR_SHR:
    case OPR_UBOUND_EQ: break; // the format has no name for these
    case OPR_BOOLCONST:
    case OPR_INTCONST:
    case OPR_FLOATCONST:
    case OPR_NONE: break; // constants have elements of their own
    }
    return {opr, nullptr};
}

// By OprTypes.
inline constexpr auto operators = [] {
    std::array<Operator, OPR_NONE + 1> rows{};
    for (unsigned opr = 0; opr < rows.size(); ++opr)
        rows[opr] = make_operator(static_cast<OprTypes>(opr));
    return rows;
}();

// True if an operator of this use may stand where `place` is asked for.
constexpr bool fits(OperatorUse use, OperatorUse place) {
    if (use == place) return true;
    return use == OperatorUse::binary_and_unary && place != OperatorUse::range;
}

// The row of an operator in an element of the given use, or null.
inline const Operator* find_operator(unsigned opr, OperatorUse place) {
    if (opr >= operators.size()) return nullptr;
    const Operator& row = operators[opr];
    return row.name && fits(row.use, place) ? &row : nullptr;
}

inline const Operator* find_operator(std::string_view name, OperatorUse place) {
    for (const Operator& row : operators)
        if (row.name && row.name == name && fits(row.use, place)) return &row;
    return nullptr;
}

} // namespace norvane::xml

#endif
