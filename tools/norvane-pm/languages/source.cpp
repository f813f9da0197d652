// Flat rules in the syntax of PM: as text for people, and as a model of plain variables.
#include <algorithm>

#include "norvane/base/deep.hpp"

#include "escapes.h"
#include "rule_writers.h"

namespace norvane::driver {
namespace {

const char* word(unsigned char opr) {
    switch (opr) {
    case OPR_AND: return " and ";
    case OPR_OR: return " or ";
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
    case OPR_NEQ: return " <> ";
    default: throw Inexpressible{"it is not flat"};
    }
}

// Writes expressions as the library prints them, but for names and values.
class SourceWriter : public RuleWriter {
  public:
    SourceWriter(const Terms& terms, Writer& out) : terms_(terms), out_(out) {}

  protected:
    virtual void name(const Expr* named) = 0;
    // Writes a comparison in its own way; false if it has none.
    virtual bool comparison(const Expr* expr) = 0;
    virtual void left_operand(const Expr* binary) { expression(binary->args.binargs.leftarg); }

    void expression(const Expr* expr) {
        if (stack_is_low()) return on_fresh_stack([&] { expression(expr); });
        const auto& args = expr->args;
        switch (structure_of(expr)) {
        case EXPR_BINARY:
            if (is_comparison(expr) && comparison(expr)) return;
            out_ << '(';
            left_operand(expr);
            out_ << word(expr->opr);
            expression(args.binargs.rightarg);
            out_ << ')';
            return;
        case EXPR_UNARY:
            out_ << '(' << word(expr->opr);
            expression(args.arg);
            out_ << ')';
            return;
        case EXPR_IDCONSTRUCTOR: name(expr); return;
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
            out_ << ')';
            return;
        case EXPR_STRING_CONST:
        case EXPR_FLOAT_CONST:
        case EXPR_RANGE:
        case EXPR_CASE: break;
        }
        throw Inexpressible{"it is not flat"};
    }

    const Terms& terms_;
    Writer& out_;
    std::string path_;
};

// The flat rules as `rules` prints them, but with values by their names.
class TextWriter : public SourceWriter {
  public:
    TextWriter(const Terms& terms, bool with_origin, Writer& out)
        : SourceWriter(terms, out), with_origin_(with_origin) {}

    void rule(const NumberedRule& rule) override {
        if (with_origin_) out_ << rule.origin.text << ": ";
        expression(rule.expr);
        out_ << '\n';
    }

  protected:
    void name(const Expr* named) override {
        terms_.place(named, &path_);
        out_ << path_;
    }

    bool comparison(const Expr* expr) override {
        const Expr* left = expr->args.binargs.leftarg;
        const Expr* right = expr->args.binargs.rightarg;
        const bool value_first = left->structure == EXPR_INT_CONST;
        const Expr* named = value_first ? right : left;
        const Expr* value = value_first ? left : right;
        if (named->structure != EXPR_IDCONSTRUCTOR || value->structure != EXPR_INT_CONST)
            return false;
        const Shape& shape = *terms_.place(named).shape;
        const bool has_order = shape.kind == ScalarKind::integer || shape.kind == ScalarKind::real;
        // The order of labels and texts means that of their numbers.
        if (!has_order && !is_equality(expr)) return false;
        if (shape.kind == ScalarKind::range || shape.kind == ScalarKind::boolean) return false;
        const std::string text =
            value->args.intconst.value < 0
                ? ""
                : value_in_source(shape, static_cast<unsigned>(value->args.intconst.value));
        if (text.empty()) return false;
        out_ << '(';
        value_first ? void(out_ << text) : name(named);
        out_ << word(expr->opr);
        value_first ? name(named) : void(out_ << text);
        out_ << ')';
        return true;
    }

  private:
    bool with_origin_;
};

// A model of plain variables, each of which stands for a scalar of the flat model.
class PmWriter : public SourceWriter {
  public:
    using SourceWriter::SourceWriter;

    void begin() override {
        out_ << "variable\n";
        terms_.flat().for_each([this](const FlatVariable& variable) {
            declare(variable);
            return !out_.refused();
        });
        out_ << "\nrule\n";
    }
    void rule(const NumberedRule& rule) override {
        if (rule.origin.text != origin_) {
            origin_ = rule.origin.text;
            out_ << "  /* " << comment_text(origin_) << " */\n";
        }
        out_ << "  ";
        expression(rule.expr);
        out_ << ";\n";
    }

  protected:
    void name(const Expr* named) override {
        terms_.scalar(named, &path_);
        out_ << pm_name(path_);
    }

    bool comparison(const Expr* expr) override {
        if (!is_equality(expr) || !terms_.compares_wholes(expr)) return false;
        if (expr->opr == OPR_NEQ) out_ << "(not ";
        std::string joined; // with brackets as flat rules have them, so that it reads back the same
        const auto path_of = [this](std::size_t number) {
            std::string path;
            terms_.flat().with(number, [&](const FlatVariable& v) { path = pm_name(v.path); });
            return path;
        };
        for_each_pair(terms_.place(expr->args.binargs.leftarg),
                      terms_.place(expr->args.binargs.rightarg),
                      [&](std::size_t a, std::size_t b, const Shape&) {
                          const std::string pair = "(" + path_of(a) + " = " + path_of(b) + ")";
                          if (joined.empty()) {
                              joined = pair;
                              return;
                          }
                          joined += " and " + pair + ")";
                          out_ << '(';
                      });
        out_ << (joined.empty() ? "true" : joined);
        if (expr->opr == OPR_NEQ) out_ << ')';
        return true;
    }

    // A source has -3 * x for -(3 * x).
    void left_operand(const Expr* binary) override {
        const Expr* left = binary->args.binargs.leftarg;
        const bool is_taken_apart = binary->opr == OPR_TIMES && left->structure == EXPR_INT_CONST &&
                                    left->args.intconst.value < 0;
        if (is_taken_apart) out_ << '(';
        expression(left);
        if (is_taken_apart) out_ << ')';
    }

  private:
    void declare(const FlatVariable& variable) {
        const std::string name = pm_name(variable.path);
        out_ << (variable.is_public ? "  public  " : "  private ") << name << " : ";
        const Shape& shape = variable.shape;
        if (shape.kind == ScalarKind::boolean)
            out_ << "boolean;";
        else
            out_ << "[0.." << shape.upper << "];";
        std::string comment = name == variable.path ? "" : comment_text(variable.path);
        for (unsigned i = 0; i < shape.labels.size(); ++i) {
            comment += i > 0 ? ", " : comment.empty() ? "" : ": ";
            comment += std::to_string(i) + " " + comment_text(shape.labels[i]);
        }
        if (!comment.empty()) out_ << "  /* " << comment << " */";
        out_ << '\n';
    }

    std::string origin_; // of the rule before
};

} // namespace

std::unique_ptr<RuleWriter> text_writer(const Terms& terms, const LanguageOptions& options,
                                        Writer& out) {
    return std::make_unique<TextWriter>(terms, options.with_origin, out);
}

std::unique_ptr<RuleWriter> pm_writer(const Terms& terms, Writer& out) {
    return std::make_unique<PmWriter>(terms, out);
}

} // namespace norvane::driver
