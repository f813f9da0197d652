// Flat rules as JSON: one object a line, the expression as a tree.
#include "norvane/base/deep.hpp"

#include "escapes.h"
#include "rule_writers.h"

namespace norvane::driver {
namespace {

const char* word(unsigned char opr) {
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

class JsonWriter : public RuleWriter {
  public:
    JsonWriter(const Terms& terms, bool by_name, Writer& out)
        : terms_(terms), by_name_(by_name), out_(out) {}

    void rule(const NumberedRule& rule) override {
        out_ << "{\"rule\":" << rule.number << ",\"origin\":" << json_string(rule.origin.text);
        if (rule.origin.line > 0)
            out_ << ",\"file\":" << json_string(rule.origin.file)
                 << ",\"line\":" << rule.origin.line;
        out_ << ",\"expression\":";
        expression(rule.expr);
        out_ << "}\n";
    }

  private:
    void expression(const Expr* expr) {
        if (stack_is_low()) return on_fresh_stack([&] { expression(expr); });
        const auto& args = expr->args;
        switch (structure_of(expr)) {
        case EXPR_BINARY:
            if (by_name_ && is_comparison(expr) && comparison(expr)) return;
            open(expr);
            expression(args.binargs.leftarg);
            out_ << ',';
            expression(args.binargs.rightarg);
            out_ << "]}";
            return;
        case EXPR_UNARY:
            open(expr);
            expression(args.arg);
            out_ << "]}";
            return;
        case EXPR_IDCONSTRUCTOR:
            terms_.place(expr, &path_);
            out_ << "{\"variable\":" << json_string(path_) << '}';
            return;
        case EXPR_INT_CONST:
            if (expr->opr == OPR_BOOLCONST)
                out_ << (args.intconst.value ? "true" : "false");
            else
                out_ << args.intconst.value;
            return;
        case EXPR_ITE:
            out_ << R"({"op":"if","args":[)";
            expression(args.ite.logictest);
            out_ << ',';
            expression(args.ite.trueexpr);
            out_ << ',';
            expression(args.ite.falseexpr);
            out_ << "]}";
            return;
        case EXPR_STRING_CONST:
        case EXPR_FLOAT_CONST:
        case EXPR_RANGE:
        case EXPR_CASE: break;
        }
        throw Inexpressible{"it is not flat"};
    }

    void open(const Expr* expr) { out_ << R"({"op":")" << word(expr->opr) << R"(","args":[)"; }

    // A variable and a value that has a text; false for others.
    bool comparison(const Expr* expr) {
        const Expr* sides[] = {expr->args.binargs.leftarg, expr->args.binargs.rightarg};
        const bool value_first = sides[0]->structure == EXPR_INT_CONST;
        const Expr* named = sides[value_first ? 1 : 0];
        const Expr* value = sides[value_first ? 0 : 1];
        if (named->structure != EXPR_IDCONSTRUCTOR || value->structure != EXPR_INT_CONST)
            return false;
        const Shape& shape = *terms_.place(named).shape;
        const int number = value->args.intconst.value;
        const bool has_text = shape.kind == ScalarKind::optional || !shape.labels.empty();
        if (!has_text || number < 0 || static_cast<unsigned>(number) > shape.upper) return false;
        open(expr);
        if (!value_first) expression(named);
        out_ << (value_first ? "" : ",") << "{\"value\":" << number
             << ",\"text\":" << json_string(value_text(shape, static_cast<unsigned>(number))) << '}'
             << (value_first ? "," : "");
        if (value_first) expression(named);
        out_ << "]}";
        return true;
    }

    const Terms& terms_;
    bool by_name_;
    Writer& out_;
    std::string path_;
};

} // namespace

std::unique_ptr<RuleWriter> json_writer(const Terms& terms, bool by_name, Writer& out) {
    return std::make_unique<JsonWriter>(terms, by_name, out);
}

} // namespace norvane::driver
