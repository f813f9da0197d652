// Flat rules in MiniZinc.
#include "norvane/base/deep.hpp"

#include "escapes.h"
#include "rule_writers.h"

namespace norvane::driver {
namespace {

const char* word(unsigned char opr) {
    switch (opr) {
    case OPR_AND: return " /\\ ";
    case OPR_OR: return " \\/ ";
    case OPR_XOR: return " xor ";
    case OPR_NOT: return "not ";
    case OPR_IMPLIES: return " -> ";
    case OPR_BIIMPLIES: return " <-> ";
    case OPR_PLUS: return " + ";
    case OPR_MINUS: return " - ";
    case OPR_TIMES: return " * ";
    case OPR_LT: return " < ";
    case OPR_LE: return " <= ";
    case OPR_GT: return " > ";
    case OPR_GE: return " >= ";
    case OPR_EQ:
    case OPR_UBOUND_EQ: return " = ";
    case OPR_NEQ: return " != ";
    default: throw Inexpressible{"it is not flat"};
    }
}

class MinizincWriter : public RuleWriter {
  public:
    MinizincWriter(const Terms& terms, Writer& out) : terms_(terms), out_(out) {}

    void begin() override {
        terms_.flat().for_each([this](const FlatVariable& variable) {
            if (variable.shape.kind == ScalarKind::boolean)
                out_ << "var bool: ";
            else
                out_ << "var 0.." << variable.shape.upper << ": ";
            minizinc_identifier(out_, variable.path);
            out_ << ";\n";
            return !out_.refused();
        });
    }
    void rule(const NumberedRule& rule) override {
        out_ << "% " << rule.number << ": " << comment_text(rule.origin.text) << "\nconstraint ";
        expression(rule.expr);
        out_ << ";\n";
    }
    void end() override { out_ << "solve satisfy;\n"; }

  private:
    void expression(const Expr* expr) {
        if (stack_is_low()) return on_fresh_stack([&] { expression(expr); });
        const auto& args = expr->args;
        switch (structure_of(expr)) {
        case EXPR_BINARY: binary(expr); return;
        case EXPR_UNARY:
            out_ << '(' << word(expr->opr);
            expression(args.arg);
            out_ << ')';
            return;
        case EXPR_IDCONSTRUCTOR:
            terms_.scalar(expr, &path_);
            minizinc_identifier(out_, path_);
            return;
        case EXPR_INT_CONST:
            if (expr->opr == OPR_BOOLCONST)
                out_ << (args.intconst.value ? "true" : "false");
            else
                out_ << args.intconst.value;
            return;
        case EXPR_ITE:
            out_ << "(if ";
            expression(args.ite.logictest);
            out_ << " then ";
            expression(args.ite.trueexpr);
            out_ << " else ";
            expression(args.ite.falseexpr);
            out_ << " endif)";
            return;
        case EXPR_STRING_CONST:
        case EXPR_FLOAT_CONST:
        case EXPR_RANGE:
        case EXPR_CASE: break;
        }
        throw Inexpressible{"it is not flat"};
    }

    void binary(const Expr* expr) {
        const Expr* left = expr->args.binargs.leftarg;
        const Expr* right = expr->args.binargs.rightarg;
        if (is_equality(expr) && terms_.compares_wholes(expr)) return compare_wholes(expr);
        const bool of_truths = terms_.is_truth(left);
        if (is_comparison(expr) && !of_truths &&
            (terms_.range_of(left).wraps || terms_.range_of(right).wraps))
            throw Inexpressible{"MiniZinc has no arithmetic that wraps around in 32 bits"};
        if (!is_comparison(expr) && !of_truths && expr->opr <= OPR_XOR)
            throw Inexpressible{"MiniZinc has no operations on the bits of a number"};
        out_ << '(';
        expression(left);
        out_ << word(expr->opr);
        expression(right);
        out_ << ')';
    }

    void compare_wholes(const Expr* expr) {
        out_ << (expr->opr == OPR_NEQ ? "(not (true" : "((true");
        const auto write = [this](std::size_t number) {
            terms_.flat().with(number, [this](const FlatVariable& variable) {
                minizinc_identifier(out_, variable.path);
            });
        };
        for_each_pair(terms_.place(expr->args.binargs.leftarg),
                      terms_.place(expr->args.binargs.rightarg),
                      [&](std::size_t a, std::size_t b, const Shape&) {
                          out_ << " /\\ (";
                          write(a);
                          out_ << " = ";
                          write(b);
                          out_ << ')';
                      });
        out_ << "))";
    }

    const Terms& terms_;
    Writer& out_;
    std::string path_;
};

} // namespace

std::unique_ptr<RuleWriter> minizinc_writer(const Terms& terms, Writer& out) {
    return std::make_unique<MinizincWriter>(terms, out);
}

} // namespace norvane::driver
