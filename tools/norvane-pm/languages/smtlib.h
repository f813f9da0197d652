// Flat rules as terms of SMT-LIB over bit vectors, whose arithmetic is that of the rules.
//
// A variable has as many bits as its upper bound needs; a comparison is made in as many as hold
// both sides, and so is the arithmetic below it, since sums, differences and products modulo a
// power of two do not depend on the bits above.
#ifndef NORVANE_PM_SMTLIB_H
#define NORVANE_PM_SMTLIB_H

#include <string>
#include <utility>

#include "terms.h"
#include "writer.h"

namespace norvane::driver {

class SmtlibTerms {
  public:
    // With a prefix for the names of variables, where there are several models.
    SmtlibTerms(const Terms& terms, Writer& out, std::string prefix = {})
        : terms_(terms), out_(out), prefix_(std::move(prefix)) {}

    // The declarations of all variables, and their bounds; and that of one.
    void declarations();
    void declaration(const FlatVariable& variable);
    void truth(const Expr* expr);

    // A variable by its path, and "has this value".
    static void name(Writer& out, const std::string& path, std::string_view prefix = {});
    static void has_value(Writer& out, const std::string& path, const Shape& shape, unsigned value);
    static unsigned bits_of(const Shape& shape); // 0 for a boolean

  private:
    void number(const Expr* expr, unsigned bits);
    void variable(const Expr* expr, unsigned bits);
    void binary(const Expr* expr);
    void compare(const Expr* expr);
    void compare_wholes(const Expr* expr);

    const Terms& terms_;
    Writer& out_;
    const std::string prefix_;
    std::string path_;
};

} // namespace norvane::driver

#endif
