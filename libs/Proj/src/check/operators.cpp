// The table of operators. Integers have 32 bits and wrap around.
#include "operators.h"

#include <array>
#include <functional>
#include <utility>

namespace norvane::check {

namespace {

unsigned bits(int value) {
    return static_cast<unsigned>(value);
}

int wrapped(unsigned value) {
    return static_cast<int>(value);
}

template <typename Compare>
constexpr Operator comparing(unsigned families) {
    return {.families = families,
            .of_ints = [](int l, int r) { return int{Compare{}(l, r)}; },
            .compare_floats = [](double l, double r) { return Compare{}(l, r); }};
}

// The logical operators work on all 32 bits of an integer.
constexpr Operator conjunction = {.families = logic | integer_arithmetic,
                                  .of_ints = [](int l, int r) { return l & r; }};
constexpr Operator disjunction = {.families = logic | integer_arithmetic,
                                  .of_ints = [](int l, int r) { return l | r; }};
constexpr Operator exclusion = {.families = logic | integer_arithmetic,
                                .of_ints = [](int l, int r) { return l ^ r; }};
constexpr Operator implication = {.families = logic,
                                  .of_ints = [](int l, int r) { return int{l == 0} | r; }};
constexpr Operator equivalence = {.families = logic,
                                  .of_ints = [](int l, int r) { return int{l == r}; }};
constexpr Operator negation = {.operand_types = type_bit(ETYPE_BOOL),
                               .of_int = [](int value) { return int{value == 0}; }};

constexpr Operator addition = {.families = integer_arithmetic | float_arithmetic,
                               .of_ints = [](int l, int r) { return wrapped(bits(l) + bits(r)); },
                               .of_floats = [](double l, double r) { return l + r; }};
constexpr Operator subtraction = {
    .families = integer_arithmetic | float_arithmetic,
    .of_ints = [](int l, int r) { return wrapped(bits(l) - bits(r)); },
    .of_floats = [](double l, double r) { return l - r; },
    .operand_types = type_bit(ETYPE_INT) | type_bit(ETYPE_ENUM_FLOAT),
    .of_int = [](int value) { return wrapped(0u - bits(value)); },
    .of_float = [](double value) { return -value; }};
constexpr Operator multiplication = {
    .families = integer_arithmetic | float_arithmetic,
    .of_ints = [](int l, int r) { return wrapped(bits(l) * bits(r)); },
    .of_floats = [](double l, double r) { return l * r; }};
constexpr Operator division = {.families = float_arithmetic,
                               .of_floats = [](double l, double r) { return l / r; }};
constexpr Operator left_shift = {.families = integer_arithmetic, .of_ints = [](int l, int r) {
                                     return wrapped(bits(l) << (bits(r) & 31));
                                 }};
constexpr Operator right_shift = {.families = integer_arithmetic,
                                  .of_ints = [](int l, int r) { return l >> (bits(r) & 31); }};

constexpr Operator joining(ExprType body, OprTypes joins, int start) {
    return {.body = body, .joins = joins, .start = start};
}

// Without a default, so that the compiler names a new operator.
constexpr Operator meaning(OprTypes opr) {
    switch (opr) {
    case OPR_AND: return conjunction;
    case OPR_OR: return disjunction;
    case OPR_XOR: return exclusion;
    case OPR_NOT: return negation;
    case OPR_IMPLIES: return implication;
    case OPR_BIIMPLIES: return equivalence;
    case OPR_PLUS: return addition;
    case OPR_MINUS: return subtraction;
    case OPR_TIMES: return multiplication;
    case OPR_DIV: return division;
    case OPR_LT: return comparing<std::less<>>(ordering);
    case OPR_LE: return comparing<std::less_equal<>>(ordering);
    case OPR_GT: return comparing<std::greater<>>(ordering);
    case OPR_GE: return comparing<std::greater_equal<>>(ordering);
    case OPR_EQ: return comparing<std::equal_to<>>(equality);
    case OPR_NEQ: return comparing<std::not_equal_to<>>(equality);
    case OPR_SHL: return left_shift;
    case OPR_SHR: return right_shift;
    case OPR_FORALL: return joining(ETYPE_BOOL, OPR_AND, 1);
    case OPR_EXIST: return joining(ETYPE_BOOL, OPR_OR, 0);
    case OPR_SUM: return joining(ETYPE_INT, OPR_PLUS, 0);
    case OPR_PROD: return joining(ETYPE_INT, OPR_TIMES, 1);
    case OPR_UBOUND_EQ: return {.families = merging};
    // The position of a label: the checker and the evaluator look at the label itself.
    case OPR_ORDER:
    case OPR_BOOLCONST:
    case OPR_INTCONST:
    case OPR_FLOATCONST:
    case OPR_NONE: return {};
    }
    return {};
}

template <unsigned... Opr>
constexpr std::array<Operator, operator_count> all(std::integer_sequence<unsigned, Opr...>) {
    return {meaning(static_cast<OprTypes>(Opr))...};
}

} // namespace

constexpr std::array<Operator, operator_count> operators =
    all(std::make_integer_sequence<unsigned, operator_count>());

} // namespace norvane::check
