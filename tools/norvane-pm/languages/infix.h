// Expressions with each operator between its operands, in brackets: what PM and MiniZinc share.
#ifndef NORVANE_PM_INFIX_H
#define NORVANE_PM_INFIX_H

#include "rule_writers.h"

namespace norvane::driver {

class InfixWriter : public RuleWriter {
  public:
    InfixWriter(const Terms& terms, Writer& out) : terms_(terms), out_(out) {}

  protected:
    void expression(const Expr* expr);

    virtual void name(const Expr* named) = 0;
    // Writes a binary expression in the language's own way; false if it has none for this one.
    virtual bool own_binary(const Expr* expr) = 0;
    virtual void left_operand(const Expr* binary) { expression(binary->args.binargs.leftarg); }
    virtual std::string_view word(unsigned char opr) const { return word_of(opr); }
    virtual std::string_view end_of_conditional() const { return ""; }

    const Terms& terms_;
    Writer& out_;
    std::string path_;
};

} // namespace norvane::driver

#endif
