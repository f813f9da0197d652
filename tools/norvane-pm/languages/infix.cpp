#include "infix.h"

#include "norvane/base/deep.hpp"

namespace norvane::driver {

void write_constant(Writer& out, const Expr* constant) {
    const int value = constant->args.intconst.value;
    if (constant->opr == OPR_BOOLCONST)
        out << (value != 0 ? "true" : "false");
    else
        out << value;
}

void InfixWriter::expression(const Expr* expr) {
    if (stack_is_low()) return on_fresh_stack([&] { expression(expr); });
    const auto& args = expr->args;
    switch (form_of(expr)) {
    case FlatForm::binary:
        if (own_binary(expr)) return;
        out_ << '(';
        left_operand(expr);
        out_ << ' ' << word(expr->opr) << ' ';
        expression(args.binargs.rightarg);
        out_ << ')';
        return;
    case FlatForm::unary:
        out_ << (expr->opr == OPR_NOT ? "(" : "( ") << word(expr->opr) << ' ';
        expression(args.arg);
        out_ << ')';
        return;
    case FlatForm::name: name(expr); return;
    case FlatForm::constant: write_constant(out_, expr); return;
    case FlatForm::conditional:
        out_ << "(if ";
        expression(args.ite.logictest);
        out_ << " then ";
        expression(args.ite.trueexpr);
        out_ << " else ";
        expression(args.ite.falseexpr);
        out_ << end_of_conditional() << ')';
    }
}

} // namespace norvane::driver
