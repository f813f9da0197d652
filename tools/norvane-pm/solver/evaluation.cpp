#include "evaluation.h"

#include "norvane/base/deep.hpp"

namespace norvane::driver {
namespace {

bool combined(unsigned char opr, bool left, bool right) {
    switch (opr) {
    case OPR_AND: return left && right;
    case OPR_OR: return left || right;
    case OPR_XOR:
    case OPR_NEQ: return left != right;
    case OPR_IMPLIES: return !left || right;
    case OPR_BIIMPLIES:
    case OPR_EQ: return left == right;
    default: throw Inexpressible{"it is not flat"};
    }
}

bool compared(unsigned char opr, std::int32_t left, std::int32_t right) {
    switch (opr) {
    case OPR_LT: return left < right;
    case OPR_LE: return left <= right;
    case OPR_GT: return left > right;
    case OPR_GE: return left >= right;
    case OPR_NEQ: return left != right;
    default: return left == right;
    }
}

} // namespace

bool Evaluation::truth(const Expr* expr) const {
    if (stack_is_low()) return on_fresh_stack([&] { return truth(expr); });
    const auto& args = expr->args;
    switch (form_of(expr)) {
    case FlatForm::binary: return truth_of_binary(expr);
    case FlatForm::unary:
        if (expr->opr != OPR_NOT) throw Inexpressible{"it takes a number for a truth"};
        return !truth(args.arg);
    case FlatForm::name: return product_[terms_.truth(expr).number] != 0;
    case FlatForm::constant: return args.intconst.value != 0;
    case FlatForm::conditional:
        return truth(args.ite.logictest) ? truth(args.ite.trueexpr) : truth(args.ite.falseexpr);
    }
    return false;
}

bool Evaluation::truth_of_binary(const Expr* expr) const {
    const Expr* left = expr->args.binargs.leftarg;
    const Expr* right = expr->args.binargs.rightarg;
    if (is_comparison(expr)) {
        if (is_equality(expr) && terms_.compares_wholes(expr))
            return are_same_wholes(expr) == (expr->opr != OPR_NEQ);
        if (!terms_.is_truth(left)) return compared(expr->opr, number(left), number(right));
    }
    return combined(expr->opr, truth(left), truth(right));
}

bool Evaluation::are_same_wholes(const Expr* equality) const {
    bool are_same = true;
    for_each_pair(terms_.place(equality->args.binargs.leftarg),
                  terms_.place(equality->args.binargs.rightarg),
                  [&](std::size_t a, std::size_t b, const Shape&) {
                      are_same = are_same && product_[a] == product_[b];
                  });
    return are_same;
}

std::int32_t Evaluation::number(const Expr* expr) const {
    if (stack_is_low()) return on_fresh_stack([&] { return number(expr); });
    const auto& args = expr->args;
    switch (form_of(expr)) {
    case FlatForm::name: return static_cast<std::int32_t>(product_[terms_.number(expr).number]);
    case FlatForm::constant: return args.intconst.value;
    case FlatForm::unary:
        return static_cast<std::int32_t>(-static_cast<std::int64_t>(number(args.arg)));
    case FlatForm::conditional:
        return truth(args.ite.logictest) ? number(args.ite.trueexpr) : number(args.ite.falseexpr);
    case FlatForm::binary: return number_of_binary(expr);
    }
    return 0;
}

// Arithmetic wraps around in 32 bits.
std::int32_t Evaluation::number_of_binary(const Expr* expr) const {
    const std::int64_t left = number(expr->args.binargs.leftarg);
    const std::int64_t right = number(expr->args.binargs.rightarg);
    switch (expr->opr) {
    case OPR_PLUS: return static_cast<std::int32_t>(left + right);
    case OPR_MINUS: return static_cast<std::int32_t>(left - right);
    case OPR_TIMES: return static_cast<std::int32_t>(left * right);
    case OPR_AND: return static_cast<std::int32_t>(left & right);
    case OPR_OR: return static_cast<std::int32_t>(left | right);
    case OPR_XOR: return static_cast<std::int32_t>(left ^ right);
    default: throw Inexpressible{"it is not flat"};
    }
}

} // namespace norvane::driver
