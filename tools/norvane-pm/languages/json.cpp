// Flat rules as JSON: one object a line, the expression as a tree.
#include "norvane/base/deep.hpp"

#include "escapes.h"
#include "rule_writers.h"

namespace norvane::driver {
namespace {

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
        switch (form_of(expr)) {
        case FlatForm::binary:
            if (by_name_ && is_comparison(expr) && comparison(expr)) return;
            open(expr);
            expression(args.binargs.leftarg);
            out_ << ',';
            expression(args.binargs.rightarg);
            out_ << "]}";
            return;
        case FlatForm::unary:
            open(expr);
            expression(args.arg);
            out_ << "]}";
            return;
        case FlatForm::name:
            terms_.place(expr, &path_);
            out_ << "{\"variable\":" << json_string(path_) << '}';
            return;
        case FlatForm::constant: write_constant(out_, expr); return;
        case FlatForm::conditional:
            out_ << R"({"op":"if","args":[)";
            expression(args.ite.logictest);
            out_ << ',';
            expression(args.ite.trueexpr);
            out_ << ',';
            expression(args.ite.falseexpr);
            out_ << "]}";
            return;
        }
    }

    void open(const Expr* expr) { out_ << R"({"op":")" << word_of(expr->opr) << R"(","args":[)"; }

    // A variable and a value that has a text; false for others.
    bool comparison(const Expr* expr) {
        const auto sides = name_and_constant(expr);
        if (!sides) return false;
        const Shape& shape = *terms_.place(sides->name).shape;
        const int number = sides->constant->args.intconst.value;
        const bool has_text = shape.kind == ScalarKind::optional || !shape.labels.empty();
        if (!has_text || number < 0 || static_cast<unsigned>(number) > shape.upper) return false;
        open(expr);
        if (sides->has_name_first) {
            expression(sides->name);
            out_ << ',';
        }
        out_ << "{\"value\":" << number
             << ",\"text\":" << json_string(value_text(shape, static_cast<unsigned>(number)))
             << '}';
        if (!sides->has_name_first) {
            out_ << ',';
            expression(sides->name);
        }
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
