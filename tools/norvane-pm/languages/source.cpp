// Flat rules in the syntax of PM: as text for people, and as a model of plain variables.
#include <algorithm>

#include "escapes.h"
#include "infix.h"

namespace norvane::driver {
namespace {

// The flat rules as `rules` prints them, but with values by their names.
class TextWriter : public InfixWriter {
  public:
    TextWriter(const Terms& terms, bool with_origin, Writer& out)
        : InfixWriter(terms, out), with_origin_(with_origin) {}

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

    bool own_binary(const Expr* expr) override {
        if (!is_comparison(expr)) return false;
        const auto sides = name_and_constant(expr);
        if (!sides) return false;
        const Shape& shape = *terms_.place(sides->name).shape;
        const bool has_order = shape.kind == ScalarKind::integer || shape.kind == ScalarKind::real;
        // The order of labels and texts means that of their numbers.
        if (!has_order && !is_equality(expr)) return false;
        if (shape.kind == ScalarKind::range || shape.kind == ScalarKind::boolean) return false;
        const int value = sides->constant->args.intconst.value;
        const std::string text =
            value < 0 ? "" : value_in_source(shape, static_cast<unsigned>(value));
        if (text.empty()) return false;
        out_ << '(';
        sides->has_name_first ? name(sides->name) : void(out_ << text);
        out_ << ' ' << word_of(expr->opr) << ' ';
        sides->has_name_first ? void(out_ << text) : name(sides->name);
        out_ << ')';
        return true;
    }

  private:
    bool with_origin_;
};

// A model of plain variables, each of which stands for a scalar of the flat model.
class PmWriter : public InfixWriter {
  public:
    using InfixWriter::InfixWriter;

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

    bool own_binary(const Expr* expr) override {
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
