#include "smtlib.h"

#include <algorithm>
#include <bit>

#include "norvane/base/deep.hpp"

#include "escapes.h"
#include "rule_writers.h"

namespace norvane::driver {
namespace {

const char* word_of_truths(unsigned char opr) {
    switch (opr) {
    case OPR_AND: return "and";
    case OPR_OR: return "or";
    case OPR_XOR:
    case OPR_NEQ: return "xor";
    case OPR_IMPLIES: return "=>";
    case OPR_BIIMPLIES:
    case OPR_EQ: return "=";
    default: throw Inexpressible{"it is not flat"};
    }
}

const char* word_of_numbers(unsigned char opr) {
    switch (opr) {
    case OPR_PLUS: return "bvadd";
    case OPR_MINUS: return "bvsub";
    case OPR_TIMES: return "bvmul";
    case OPR_AND: return "bvand";
    case OPR_OR: return "bvor";
    case OPR_XOR: return "bvxor";
    default: throw Inexpressible{"it is not flat"};
    }
}

const char* word_of_order(unsigned char opr, bool is_signed) {
    switch (opr) {
    case OPR_LT: return is_signed ? "bvslt" : "bvult";
    case OPR_LE: return is_signed ? "bvsle" : "bvule";
    case OPR_GT: return is_signed ? "bvsgt" : "bvugt";
    case OPR_GE: return is_signed ? "bvsge" : "bvuge";
    case OPR_EQ:
    case OPR_NEQ: // negated as a whole
    case OPR_UBOUND_EQ: return "=";
    default: throw Inexpressible{"it is not flat"};
    }
}

// The low bits of a number.
void constant(Writer& out, std::int64_t value, unsigned bits) {
    char digits[66];
    for (unsigned i = 0; i < bits; ++i)
        digits[i] = ((value >> (bits - 1 - i)) & 1) != 0 ? '1' : '0';
    out << "#b" << std::string_view(digits, bits);
}

} // namespace

unsigned SmtlibTerms::bits_of(const Shape& shape) {
    if (shape.kind == ScalarKind::boolean) return 0;
    return std::max(1U, static_cast<unsigned>(std::bit_width(shape.upper)));
}

void SmtlibTerms::name(Writer& out, const std::string& path, std::string_view prefix) {
    smtlib_symbol(out, path, prefix);
}

void SmtlibTerms::has_value(Writer& out, const std::string& path, const Shape& shape,
                            unsigned value) {
    const unsigned bits = bits_of(shape);
    if (bits == 0) {
        out << (value == 0 ? "(not " : "(= true ");
        name(out, path);
    } else {
        out << "(= ";
        name(out, path);
        out << ' ';
        constant(out, value, bits);
    }
    out << ')';
}

void SmtlibTerms::declarations() {
    terms_.flat().for_each([this](const FlatVariable& variable) {
        declaration(variable);
        return !out_.refused();
    });
}

void SmtlibTerms::declaration(const FlatVariable& variable) {
    const unsigned bits = bits_of(variable.shape);
    out_ << "(declare-const ";
    name(out_, variable.path, prefix_);
    if (bits == 0) {
        out_ << " Bool)\n";
        return;
    }
    out_ << " (_ BitVec " << bits << "))\n";
    const bool has_all_values = variable.shape.upper == (std::uint64_t{1} << bits) - 1;
    if (has_all_values) return;
    out_ << "(assert (bvule ";
    name(out_, variable.path, prefix_);
    out_ << ' ';
    constant(out_, variable.shape.upper, bits);
    out_ << "))\n";
}

void SmtlibTerms::truth(const Expr* expr) {
    if (stack_is_low()) return on_fresh_stack([&] { truth(expr); });
    const auto& args = expr->args;
    switch (form_of(expr)) {
    case FlatForm::binary: binary(expr); return;
    case FlatForm::unary:
        if (expr->opr != OPR_NOT) throw Inexpressible{"it uses a number as a boolean"};
        out_ << "(not ";
        truth(args.arg);
        out_ << ')';
        return;
    case FlatForm::name:
        terms_.truth(expr, &path_);
        name(out_, path_, prefix_);
        return;
    case FlatForm::constant: out_ << (args.intconst.value != 0 ? "true" : "false"); return;
    case FlatForm::conditional:
        out_ << "(ite ";
        truth(args.ite.logictest);
        out_ << ' ';
        truth(args.ite.trueexpr);
        out_ << ' ';
        truth(args.ite.falseexpr);
        out_ << ')';
        return;
    }
}

void SmtlibTerms::binary(const Expr* expr) {
    if (is_comparison(expr)) {
        if (is_equality(expr) && terms_.compares_wholes(expr)) return compare_wholes(expr);
        if (!terms_.is_truth(expr->args.binargs.leftarg)) return compare(expr);
    }
    out_ << '(' << word_of_truths(expr->opr) << ' ';
    truth(expr->args.binargs.leftarg);
    out_ << ' ';
    truth(expr->args.binargs.rightarg);
    out_ << ')';
}

void SmtlibTerms::compare(const Expr* expr) {
    const Expr* left = expr->args.binargs.leftarg;
    const Expr* right = expr->args.binargs.rightarg;
    const Range l = terms_.range_of(left);
    const Range r = terms_.range_of(right);
    const bool is_signed = l.low < 0 || r.low < 0;
    unsigned bits = std::max(signed_bits(l), signed_bits(r));
    if (!is_signed) bits = std::max(1U, bits - 1);
    if (expr->opr == OPR_NEQ) out_ << "(not ";
    out_ << '(' << word_of_order(expr->opr, is_signed) << ' ';
    number(left, bits);
    out_ << ' ';
    number(right, bits);
    out_ << ')';
    if (expr->opr == OPR_NEQ) out_ << ')';
}

void SmtlibTerms::compare_wholes(const Expr* expr) {
    const FlatPlace left = terms_.place(expr->args.binargs.leftarg);
    const FlatPlace right = terms_.place(expr->args.binargs.rightarg);
    if (expr->opr == OPR_NEQ) out_ << "(not ";
    out_ << "(and true";
    const auto write = [this](std::size_t number) {
        terms_.flat().with(number, [this](const FlatVariable& v) { name(out_, v.path, prefix_); });
    };
    for_each_pair(left, right, [&](std::size_t a, std::size_t b, const Shape&) {
        out_ << " (= ";
        write(a);
        out_ << ' ';
        write(b);
        out_ << ')';
    });
    out_ << ')';
    if (expr->opr == OPR_NEQ) out_ << ')';
}

void SmtlibTerms::variable(const Expr* expr, unsigned bits) {
    const unsigned own = bits_of(terms_.number(expr, &path_).shape);
    if (own < bits) out_ << "((_ zero_extend " << bits - own << ") ";
    if (own > bits) out_ << "((_ extract " << bits - 1 << " 0) ";
    name(out_, path_, prefix_);
    if (own != bits) out_ << ')';
}

void SmtlibTerms::number(const Expr* expr, unsigned bits) {
    if (stack_is_low()) return on_fresh_stack([&] { number(expr, bits); });
    const auto& args = expr->args;
    switch (form_of(expr)) {
    case FlatForm::name: variable(expr, bits); return;
    case FlatForm::constant: constant(out_, args.intconst.value, bits); return;
    case FlatForm::unary:
        out_ << "(bvneg ";
        number(args.arg, bits);
        out_ << ')';
        return;
    case FlatForm::conditional:
        out_ << "(ite ";
        truth(args.ite.logictest);
        out_ << ' ';
        number(args.ite.trueexpr, bits);
        out_ << ' ';
        number(args.ite.falseexpr, bits);
        out_ << ')';
        return;
    case FlatForm::binary:
        out_ << '(' << word_of_numbers(expr->opr) << ' ';
        number(args.binargs.leftarg, bits);
        out_ << ' ';
        number(args.binargs.rightarg, bits);
        out_ << ')';
        return;
    }
}

namespace {

class SmtlibWriter : public RuleWriter {
  public:
    SmtlibWriter(const Terms& terms, Writer& out) : out_(out), terms_(terms, out) {}

    void begin() override {
        out_ << "(set-info :smt-lib-version 2.6)\n"
                "(set-option :produce-models true)\n"
                "(set-option :produce-unsat-cores true)\n"
                "(set-logic QF_BV)\n";
        terms_.declarations();
    }
    // Each rule has a name, which a core leads back by; the number makes it the only one.
    void rule(const NumberedRule& rule) override {
        out_ << "(assert (! ";
        terms_.truth(rule.expr);
        out_ << " :named ";
        smtlib_symbol(out_, std::to_string(rule.number) + ": " + rule.origin.text);
        out_ << "))\n";
    }
    void end() override { out_ << "(check-sat)\n"; }

  private:
    Writer& out_;
    SmtlibTerms terms_;
};

} // namespace

std::unique_ptr<RuleWriter> smtlib_writer(const Terms& terms, Writer& out) {
    return std::make_unique<SmtlibWriter>(terms, out);
}

} // namespace norvane::driver
