// What each operator takes and computes: one table for the checker, static evaluation and
// simplification.
#ifndef NORVANE_PROJ_OPERATORS_H
#define NORVANE_PROJ_OPERATORS_H

#include <array>

#include "norvane/proj/expr.h"

namespace norvane::check {

// Families of binary operators, as bits.
enum Family : unsigned {
    equality = 1,
    ordering = 2,
    logic = 4,
    integer_arithmetic = 8,
    float_arithmetic = 16,
    merging = 32
};
constexpr unsigned comparison = equality | ordering;

// A set of types as bits.
constexpr unsigned type_bit(unsigned type) {
    return 1u << type;
}

// A member is empty or null where the operator has no such meaning.
struct Operator {
    unsigned families = 0;
    int (*of_ints)(int, int) = nullptr; // booleans too
    bool (*compare_floats)(double, double) = nullptr;
    double (*of_floats)(double, double) = nullptr;

    unsigned operand_types = 0;   // of a unary operator: type_bit of each; the result has the same
    int (*of_int)(int) = nullptr; // booleans too
    double (*of_float)(double) = nullptr;

    ExprType body = ETYPE_UNDEF; // of a loop
    OprTypes joins = OPR_NONE;   // of a loop: the operator between its turns
    int start = 0;               // of a loop: its value before the first turn
};

// One entry for each operator, then entries without a meaning for all other bytes. (operators.cpp)
constexpr unsigned operator_count = 32;
extern const std::array<Operator, operator_count> operators;

inline const Operator& meaning_of(unsigned char opr) {
    return operators[opr < operator_count ? opr : static_cast<unsigned>(OPR_NONE)];
}

inline bool is_in(const Expr* expr, unsigned families) {
    return (meaning_of(expr->opr).families & families) != 0;
}

} // namespace norvane::check

#endif
