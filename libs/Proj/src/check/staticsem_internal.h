// What the modules of the checker share. A function that checks returns false after it has reported
// a fault.
#ifndef NORVANE_PROJ_STATICSEM_INTERNAL_H
#define NORVANE_PROJ_STATICSEM_INTERNAL_H

#include "context.h"
#include "position.h"
#include "report.h"

namespace norvane::check {

// What a check finds out about an expression or an identifier.
struct Checked {
    bool ok;
    bool is_static; // what ssem_is_static_expr says of it; without a meaning unless ok
    // The record of the variable or label that a simple name stands for, so that the operator
    // around it does not look the name up again; null for all else.
    const NameData* named = nullptr;
};

// Checks and types an expression, as ssem_check_expr does. It also finds out whether the expression
// is static, on the way up, since asking the predicate at every level of a long sum would take
// time quadratic in its length. (staticsem_expr.cpp)
Checked check_expr(const Context& in, Expr* expr);

// Resolves an identifier and delivers its type. With `scoped` the name is looked up in the
// innermost environment alone. (staticsem_idcon.cpp)
Checked check_idcon(const Context& in, IdCon* idcon, int scoped, ExprType* type);

// Checks an expression that check_expr has accepted in an earlier turn of the loop around it. Since
// then neither types nor declarations have changed, so what is left to do is what depends on the
// value of the loop's variable: indices, bounds, and values that are entered into sets, in the same
// order and with the same reports. (staticsem_expr.cpp)
bool check_again(const Context& in, Expr* expr);

// The same for an identifier that check_idcon has accepted, unscoped. (staticsem_idcon.cpp)
bool check_idcon_again(const Context& in, IdCon* idcon);

// Types a binary expression whose operands have been checked. (staticsem_binary.cpp)
bool type_binary(const Context& in, Expr* expr, const Checked& left, const Checked& right);

// Whether the two types are the same; false also after reporting an unknown name.
// (same_type.cpp)
bool is_same_type(const Context& in, TypeCon* typecon1, TypeCon* typecon2);

// Checks one type. Delivers the environment of a record or an optional, which the caller then owns,
// or null. (staticsem_typecon.cpp)
bool check_type(const Context& in, TypeCon* typecon, PolyHash** environment);

// Checks a rule of the project or of a record. (staticsem_expr.cpp)
bool check_rule(const Context& in, const RuleDecl* rule);

// Declares a name, and takes over `namedata`. (staticsem_typecon.cpp)
bool declare(const Context& in, char* name, NameData* namedata, unsigned linenumber);

// The upper levels of an expression in print, for a report. (excerpt.cpp)
struct Excerpt {
    char text[8192];
};
Excerpt excerpt_of(Expr* expr);

// What a report is about, and the place in the library that makes it.
template <typename Subject>
struct About {
    Subject subject;
    int line;
    const char* file;
    About(Subject s, int l = __builtin_LINE(), const char* f = __builtin_FILE())
        : subject(s), line(l), file(f) {}
};

// Reports a fault at a line: `builder` gets its position and the arguments. Out of line, since the
// texts are large and walks of any depth report.
template <typename Builder, typename... Arguments>
[[gnu::noinline]] bool fault_at(const Context& in, About<unsigned> linenumber, Builder* builder,
                                Arguments... arguments) {
    const model::Position position = model::position_of(in.project->line_info, linenumber.subject);
    report_error(builder(position.text, arguments...), linenumber.line, linenumber.file);
    return false;
}

// Reports a fault of an expression: `builder` gets its position, the arguments and the expression
// in print.
template <typename Builder, typename... Arguments>
[[gnu::noinline]] bool fault(const Context& in, About<Expr*> expr, Builder* builder,
                             Arguments... arguments) {
    const model::Position position =
        model::position_of(in.project->line_info, expr.subject->linenumber);
    const Excerpt excerpt = excerpt_of(expr.subject);
    report_error(builder(position.text, arguments..., excerpt.text), expr.line, expr.file);
    return false;
}

} // namespace norvane::check

#endif
