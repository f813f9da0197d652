// What the checker, simplification and rule expansion share: the model that they work on, static
// evaluation in it, and environments that are pushed on the symbol table for the length of a block.
//
// A throw skips the destructors of the guards: it leaves the table's stack as it is at that moment.
#ifndef NORVANE_PROJ_CONTEXT_H
#define NORVANE_PROJ_CONTEXT_H

#include <cstdint>
#include <cstring>

#include "norvane/proj/expr.h"
#include "norvane/proj/project.h"
#include "norvane/proj/symboltable.h"
#include "norvane/proj/typecon.h"
#include "symboltable_internal.h"

namespace norvane::check {

class LoopVariable;

// A project and the symbol table that the checker makes for it.
struct Context {
    Project* project;
    SymbolTable* symboltable;
    LoopVariable* loop = nullptr; // the innermost loop that is being unfolded, if there is one
};

// The record of a name that is visible at this place, or null.
NameData* find_name(const Context& in, char* name);

// The type itself, or the one that its name stands for; null after reporting an unknown name.
inline TypeCon* resolved(const Context& in, TypeCon* typecon, unsigned linenumber) {
    if (typecon && typecon->contype != TC_NAMED) return typecon;
    TypeCon* result = nullptr;
    symtbl_lookup_typecon(in.project->line_info, in.symboltable, typecon, &result, linenumber);
    return result;
}

// The name that a string literal spells, as an identifier that borrows the literal's text: a label
// may be written as a string.
inline IdCon spelled_name(const Expr* literal) {
    IdCon idcon{};
    idcon.contype = IDCON_SIMPLE;
    idcon.linenumber = literal->linenumber;
    idcon.args.id.idname = literal->args.str;
    return idcon;
}

// "SOME" and "NONE". Every name is compared with them, so most are told apart by their first byte.
inline bool is_word_some(const char* name) {
    return name[0] == 'S' && std::strcmp(name, "SOME") == 0;
}
inline bool is_word_none(const char* name) {
    return name[0] == 'N' && std::strcmp(name, "NONE") == 0;
}
inline bool is_optional_word(const char* name) {
    return is_word_some(name) || is_word_none(name);
}

// A node that is on the stack for the length of a call, and borrows what it holds.
inline Expr stack_node(ExprStructure structure, OprTypes opr, unsigned type) {
    return {static_cast<unsigned char>(structure),
            static_cast<unsigned char>(opr),
            static_cast<unsigned char>(type),
            UNDEF_LINENO,
            {}};
}

// ssem_is_static_expr and the three evaluators. (staticsem_eval.cpp)
bool is_static(const Context& in, const Expr* expr);
int evaluate_int(const Context& in, const Expr* expr);
double evaluate_float(const Context& in, const Expr* expr);
const char* evaluate_string(const Context& in, const Expr* expr);

// Makes an environment the innermost one for the length of a block. The block's end takes out that
// very environment, and not whatever is innermost by then: a loop whose body has the wrong type
// leaves its own environment on the stack. A null environment pushes nothing.
class ScopedEnv {
  public:
    ScopedEnv(SymbolTable* symboltable, PolyHash* environment)
        : symboltable_(symboltable), environment_(environment) {
        if (environment_) symtbl_push_env(symboltable_, environment_);
    }
    ~ScopedEnv() {
        if (!environment_) return;
        model::take_env_out(symboltable_, environment_);
        if (owned_) symtbl_delete_symbol_table_env(environment_);
    }
    ScopedEnv(const ScopedEnv&) = delete;
    ScopedEnv& operator=(const ScopedEnv&) = delete;

    // The end of the block deletes the environment.
    void own() { owned_ = true; }
    // The end of the block leaves the environment where it is.
    void leave_pushed() { environment_ = nullptr; }

  private:
    SymbolTable* symboltable_;
    PolyHash* environment_;
    bool owned_ = false;
};

// The variable of a loop operator, visible for the length of a block as an integer constant in an
// innermost environment of its own, and the names that the loop's body has looked up.
// (staticsem_eval.cpp)
class LoopVariable {
  public:
    // `range` is an EXPR_RANGE, which gives the name and the line. If the name is taken,
    // symtbl_insert has reported it, and inserted() is false.
    LoopVariable(const Context& in, const Expr* range, int value);
    ~LoopVariable();
    LoopVariable(const LoopVariable&) = delete;
    LoopVariable& operator=(const LoopVariable&) = delete;

    bool inserted() const { return inserted_; }

    // The context of the body: its names are looked up once for all turns.
    Context inside(const Context& in) { return {in.project, in.symboltable, this}; }

    // Whether names that are looked up now may be kept: while no other environment has been pushed,
    // nothing that is visible changes, since loops declare nothing.
    bool is_innermost(const SymbolTable* symboltable) const {
        return symboltable->local_table->first->element == environment_;
    }
    NameData* find(SymbolTable* symboltable, char* name);

    // Gives the variable its next value in place, since no expression keeps the record.
    void set(int value) { namedata_->int_value = value; }

    // The end of the block leaves the environment on the table's stack. The function that gives up
    // the table then deletes it.
    void leave_pushed() { scope_.leave_pushed(); }

  private:
    // A cached lookup: the name (copied) and the record that it resolved to.
    struct Found {
        char name[16];
        NameData* namedata; // null: no name is kept here
    };

    NameData* namedata_; // owned by the environment if inserted
    PolyHash* environment_;
    ScopedEnv scope_;
    bool inserted_;
    Found found_[16] = {};
};

inline NameData* find_name(const Context& in, char* name) {
    if (in.loop && in.loop->is_innermost(in.symboltable))
        return in.loop->find(in.symboltable, name);
    NameData* namedata = nullptr;
    return symtbl_lookup(in.symboltable, name, 0, &namedata) == STATUS_SUCCESS ? namedata : nullptr;
}

// The type of a variable or a label, names resolved, or null. The longer way is for paths and
// elements of arrays, and for what else a name may stand for.
inline TypeCon* type_of_idcon(const Context& in, IdCon* idcon, unsigned linenumber) {
    if (idcon->contype == IDCON_SIMPLE) {
        const NameData* namedata = find_name(in, idcon->args.id.idname);
        if (!namedata) return nullptr;
        if (namedata->ndtype == ND_VARIABLE || namedata->ndtype == ND_LABEL)
            return resolved(in, namedata->typecon, linenumber);
    }
    TypeCon* result = nullptr;
    const int status = symtbl_typecon_for_idcon(in.project->line_info, in.symboltable, idcon, 0,
                                                &result, linenumber);
    return status == STATUS_SUCCESS ? result : nullptr;
}

// The number of turns of a loop.
inline unsigned long long turn_count(int lower, int upper) {
    return lower > upper ? 0 : static_cast<unsigned long long>(std::int64_t{upper} - lower + 1);
}

} // namespace norvane::check

#endif
