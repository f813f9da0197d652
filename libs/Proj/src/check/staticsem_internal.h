// What the modules of static semantics, simplification and rule expansion share: environments that
// are pushed on the symbol table for the length of a block, loop variables, and the steps of the
// checker that its two halves have in common.
//
// A throw passes the guards by: it leaves the table's stack as it stands at that moment.
#ifndef NORVANE_PROJ_STATICSEM_INTERNAL_H
#define NORVANE_PROJ_STATICSEM_INTERNAL_H

#include "norvane/proj/expr.h"
#include "norvane/proj/project.h"
#include "norvane/proj/symboltable.h"
#include "norvane/proj/typecon.h"
#include "symboltable_internal.h"

namespace norvane {

// Makes an environment the innermost one for the length of a block. At its end that very
// environment is taken out, and not whatever is innermost by then: a loop whose body has the wrong
// type leaves its own environment behind. A null environment pushes nothing.
class ScopedEnv {
  public:
    ScopedEnv(SymbolTable* symboltable, PolyHash* environment)
        : symboltable_(symboltable), environment_(environment) {
        if (environment_ != nullptr) symtbl_push_env(symboltable_, environment_);
    }
    ~ScopedEnv() {
        if (environment_ == nullptr) return;
        model::take_env_out(symboltable_, environment_);
        if (owned_) symtbl_delete_symbol_table_env(environment_);
    }
    ScopedEnv(const ScopedEnv&) = delete;
    ScopedEnv& operator=(const ScopedEnv&) = delete;

    // From now on the environment is deleted after it has been taken out.
    void own() { owned_ = true; }
    // From now on the block's end leaves the environment where it is.
    void leave_pushed() { environment_ = nullptr; }

  private:
    SymbolTable* symboltable_;
    PolyHash* environment_;
    bool owned_ = false;
};

// The variable of a loop operator, visible for the length of a block as an integer constant in an
// innermost environment of its own. (staticsem_eval.cpp)
class LoopVariable {
  public:
    // `range` is an EXPR_RANGE: its variable's name and its line. Whether the name could be
    // inserted is for the user to look at; if it could not, symtbl_insert has reported it.
    LoopVariable(Project* project, SymbolTable* symboltable, const Expr* range, int value);
    ~LoopVariable();
    LoopVariable(const LoopVariable&) = delete;
    LoopVariable& operator=(const LoopVariable&) = delete;

    bool inserted() const { return inserted_; }

    // Gives the variable its next value, in place: nothing keeps the record beyond a body.
    void set(int value) { namedata_->int_value = value; }

    // The environment, with the variable, stays innermost at the end of the block. It then belongs
    // to nobody but the stack: who gives the table up takes it down and deletes it before.
    void leave_pushed() { scope_.leave_pushed(); }

  private:
    NameData* namedata_; // owned by the environment if inserted
    ScopedEnv scope_;
    bool inserted_;
};

// What a check works on.
struct CheckContext {
    Project* project;
    SymbolTable* symboltable;
};

// What a check found out about an expression or an identifier.
struct Checked {
    int status;     // 0, or non-zero after reporting
    bool is_static; // what ssem_is_static_expr tells of it at this place; of no meaning on failure
};
constexpr Checked check_failed{STATUS_FAILURE, false};

// ssem_check_expr, which also tells whether the expression is static: its own walk finds that out
// on the way up. Asking ssem_is_static_expr at every level would take a square of a long sum's
// length. (staticsem_expr.cpp)
Checked ssem_check(const CheckContext& check, Expr* expr);

// Resolves an identifier and delivers its type. With `scoped` the name is looked for in the
// innermost environment alone. (staticsem_idcon.cpp)
Checked ssem_check_idcon(const CheckContext& check, IdCon* idcon, int scoped, ExprType* type);

// Types a binary expression by the types of its operands, which have been checked just before: 0,
// or non-zero after reporting. (staticsem_binary.cpp)
int ssem_type_binary(const CheckContext& check, Expr* expr, bool left_static, bool right_static);

// 0 if the two types are the same, non-zero if not. (staticsem_typecon.cpp)
int ssem_compare_typecon(const CheckContext& check, TypeCon* typecon1, TypeCon* typecon2);

// Runs over a rule before it is checked: equated variables of open types among its top-level
// conjuncts get OPR_UBOUND_EQ. (staticsem_expr.cpp)
void ssem_mark_ubound_eq(const CheckContext& check, Expr* expr);

// Checks one type: 0, or non-zero after reporting. Delivers the environment of a record or an
// optional, which is the caller's then, or null. (staticsem_typecon.cpp)
int ssem_check_typecon(const CheckContext& check, TypeCon* typecon, PolyHash** env);

// Checks a rule of the project or of a record: 0, or non-zero after reporting.
// (staticsem_expr.cpp)
int ssem_check_rule(const CheckContext& check, Expr* rule);

// Declares a name, taking `namedata` over: 0, or non-zero after reporting. (staticsem_typecon.cpp)
int ssem_declare(const CheckContext& check, char* name, NameData* namedata, unsigned linenumber);

// "SOME" or "NONE". (staticsem_idcon.cpp)
bool ssem_is_optional_word(const char* name);

// A string literal taken as the name that it spells; borrows the text. (staticsem_idcon.cpp)
IdCon ssem_literal_as_idcon(const Expr* literal);

// The place and the printed form of an expression, for a report. Both point into buffers that the
// next call overwrites. (staticsem_expr.cpp)
struct ExprContext {
    const char* position;
    const char* text;
};
ExprContext ssem_expr_context(Project* project, Expr* expr);

// The place alone, in the same buffer. (staticsem_expr.cpp)
const char* ssem_position(Project* project, unsigned linenumber);

} // namespace norvane

#endif
