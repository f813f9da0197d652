#include "terms.h"

#include <algorithm>
#include <bit>
#include <limits>

#include "norvane/base/deep.hpp"

namespace norvane::driver {
namespace {

constexpr std::int64_t lowest = std::numeric_limits<std::int32_t>::min();
constexpr std::int64_t highest = std::numeric_limits<std::int32_t>::max();

Range wrapped(Range range, const Range& left, const Range& right) {
    range.wraps = left.wraps || right.wraps;
    if (range.low < lowest || range.high > highest) return {lowest, highest, true};
    return range;
}

Range product(const Range& left, const Range& right) {
    const auto [low, high] = std::minmax({left.low * right.low, left.low * right.high,
                                          left.high * right.low, left.high * right.high});
    return wrapped({low, high}, left, right);
}

// Of an operation on each bit of two numbers.
Range bitwise(const Range& left, const Range& right) {
    const unsigned bits = std::max(signed_bits(left), signed_bits(right));
    const std::int64_t end = std::int64_t{1} << (bits - 1);
    const bool is_negative = left.low < 0 || right.low < 0;
    return wrapped({is_negative ? -end : 0, end - 1}, left, right);
}

} // namespace

unsigned signed_bits(const Range& range) {
    const auto magnitude = static_cast<std::uint64_t>(std::max(range.high, -(range.low + 1)));
    return static_cast<unsigned>(std::bit_width(magnitude)) + 1;
}

Range negated(const Range& range) {
    return wrapped({-range.high, -range.low}, range, range);
}

Range joined(const Range& left, const Range& right) {
    return {std::min(left.low, right.low), std::max(left.high, right.high),
            left.wraps || right.wraps};
}

Range range_of_result(unsigned char opr, const Range& left, const Range& right) {
    switch (opr) {
    case OPR_PLUS: return wrapped({left.low + right.low, left.high + right.high}, left, right);
    case OPR_MINUS: return wrapped({left.low - right.high, left.high - right.low}, left, right);
    case OPR_TIMES: return product(left, right);
    case OPR_AND:
    case OPR_OR:
    case OPR_XOR: return bitwise(left, right);
    default: throw Inexpressible{"it is not flat"};
    }
}

FlatForm form_of(const Expr* expr) {
    switch (structure_of(expr)) {
    case EXPR_BINARY: return FlatForm::binary;
    case EXPR_UNARY: return FlatForm::unary;
    case EXPR_IDCONSTRUCTOR: return FlatForm::name;
    case EXPR_INT_CONST: return FlatForm::constant;
    case EXPR_ITE: return FlatForm::conditional;
    case EXPR_STRING_CONST:
    case EXPR_FLOAT_CONST:
    case EXPR_RANGE:
    case EXPR_CASE: break;
    }
    throw Inexpressible{"it is not flat"};
}

std::string_view word_of(unsigned char opr) {
    switch (opr) {
    case OPR_AND: return "and";
    case OPR_OR: return "or";
    case OPR_XOR: return "xor";
    case OPR_NOT: return "not";
    case OPR_IMPLIES: return "->";
    case OPR_BIIMPLIES: return "<->";
    case OPR_PLUS: return "+";
    case OPR_MINUS: return "-";
    case OPR_TIMES: return "*";
    case OPR_LT: return "<";
    case OPR_LE: return "<=";
    case OPR_GT: return ">";
    case OPR_GE: return ">=";
    case OPR_EQ:
    case OPR_UBOUND_EQ: return "=";
    case OPR_NEQ: return "<>";
    default: throw Inexpressible{"it is not flat"};
    }
}

std::optional<NameAndConstant> name_and_constant(const Expr* binary) {
    const Expr* left = binary->args.binargs.leftarg;
    const Expr* right = binary->args.binargs.rightarg;
    if (left->structure == EXPR_IDCONSTRUCTOR && right->structure == EXPR_INT_CONST)
        return NameAndConstant{left, right, true};
    if (left->structure == EXPR_INT_CONST && right->structure == EXPR_IDCONSTRUCTOR)
        return NameAndConstant{right, left, false};
    return {};
}

bool is_equality(const Expr* expr) {
    return expr->structure == EXPR_BINARY &&
           (expr->opr == OPR_EQ || expr->opr == OPR_NEQ || expr->opr == OPR_UBOUND_EQ);
}

// The type is that of the check. A name that the flat rules take for another one (see the
// language's page on names in nested records) is noticed where it is written.
bool Terms::is_truth(const Expr* expr) const {
    if (expr->structure == EXPR_INT_CONST) return expr->opr == OPR_BOOLCONST;
    // Only truths are without a type: those that compare a string with an enumeration.
    return expr->type == ETYPE_BOOL || expr->type == ETYPE_UNDEF;
}

Range Terms::range_of(const Expr* expr) const {
    if (stack_is_low()) return on_fresh_stack([&] { return range_of(expr); });
    const auto& args = expr->args;
    switch (form_of(expr)) {
    case FlatForm::constant: return {args.intconst.value, args.intconst.value};
    case FlatForm::name: return {0, number(expr).shape.upper};
    case FlatForm::conditional:
        return joined(range_of(args.ite.trueexpr), range_of(args.ite.falseexpr));
    case FlatForm::unary: return negated(range_of(args.arg));
    case FlatForm::binary: break;
    }
    const Range left = range_of(args.binargs.leftarg);
    return range_of_result(expr->opr, left, range_of(args.binargs.rightarg));
}

bool Terms::compares_wholes(const Expr* equality) const {
    const Expr* left = equality->args.binargs.leftarg;
    const Expr* right = equality->args.binargs.rightarg;
    if (left->type != ETYPE_PROD && left->type != ETYPE_ARRAY) return false;
    const auto is_whole = [](const FlatPlace& named) {
        return named.shape->form == Shape::Form::record || named.shape->form == Shape::Form::array;
    };
    return is_whole(place(left)) && is_whole(place(right));
}

FlatPlace Terms::place(const Expr* named, std::string* path) const {
    const FlatPlace place = flat_.find(named->args.idcon, path);
    if (!place.shape) throw Inexpressible{"it names what the flat model does not have"};
    return place;
}

Named Terms::scalar(const Expr* named, std::string* path) const {
    const FlatPlace found = place(named, path);
    if (found.shape->form != Shape::Form::scalar && found.shape->form != Shape::Form::optional)
        throw Inexpressible{"it uses a record or an array as a value"};
    return {found.first, *found.shape};
}

Named Terms::truth(const Expr* named, std::string* path) const {
    const Named found = scalar(named, path);
    if (found.shape.kind != ScalarKind::boolean)
        throw Inexpressible{"it uses a number as a boolean"};
    return found;
}

Named Terms::number(const Expr* named, std::string* path) const {
    const Named found = scalar(named, path);
    if (found.shape.kind == ScalarKind::boolean)
        throw Inexpressible{"it uses a boolean as a number"};
    return found;
}

} // namespace norvane::driver
