// Flat rules in MiniZinc.
#include "escapes.h"
#include "infix.h"

namespace norvane::driver {
namespace {

class MinizincWriter : public InfixWriter {
  public:
    using InfixWriter::InfixWriter;

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

  protected:
    void name(const Expr* named) override {
        terms_.scalar(named, &path_);
        minizinc_identifier(out_, path_);
    }

    bool own_binary(const Expr* expr) override {
        if (is_equality(expr) && terms_.compares_wholes(expr)) {
            compare_wholes(expr);
            return true;
        }
        const Expr* left = expr->args.binargs.leftarg;
        const Expr* right = expr->args.binargs.rightarg;
        const bool of_truths = terms_.is_truth(left);
        if (is_comparison(expr) && !of_truths &&
            (terms_.range_of(left).wraps || terms_.range_of(right).wraps))
            throw Inexpressible{"MiniZinc has no 32-bit arithmetic that wraps around"};
        if (operation_of(expr) == Operation::logic && !of_truths)
            throw Inexpressible{"MiniZinc has no operations on the bits of a number"};
        return false;
    }

    std::string_view word(unsigned char opr) const override {
        switch (opr) {
        case OPR_AND: return "/\\";
        case OPR_OR: return "\\/";
        case OPR_NEQ: return "!=";
        default: return word_of(opr);
        }
    }
    std::string_view end_of_conditional() const override { return " endif"; }

  private:
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
};

} // namespace

std::unique_ptr<RuleWriter> minizinc_writer(const Terms& terms, Writer& out) {
    return std::make_unique<MinizincWriter>(terms, out);
}

} // namespace norvane::driver
