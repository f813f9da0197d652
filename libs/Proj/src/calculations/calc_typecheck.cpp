// Type check of calculations: sets, functions, declarations and statements.
#include "norvane/proj/calc_typecheck.h"

#include "calc_builtins.h"
#include "calc_position.h"
#include "calc_typecheck_internal.h"
#include "norvane/base/call_guard.hpp"
#include "norvane/base/deep.hpp"
#include "norvane/base/except.h"
#include "norvane/base/frames.hpp"
#include "norvane/base/items.hpp"
#include "norvane/base/work.h"
#include "norvane/proj/proj_errors.h"
#include "poly_adaptors.h"
#include "report.h"

namespace norvane::calculations {

namespace {

constexpr unsigned names_size = 10;

// A local or argument hides the model variable of its name within the function.
void warn_of_shadow(const Check& check, char* name, int line) {
    NameData* namedata;
    if (symtbl_lookup(check.symtbl, name, true, &namedata) != STATUS_SUCCESS ||
        namedata->ndtype != ND_VARIABLE)
        return;
    const Position position = position_of(check.func, line);
    report(ERROR_TYPE_WARNING,
           ERR_CALC_PM_VAR_EXISTS(position.text, name, check.name_space->name, check.func->name));
}

// Declarations.

void check_default(Check& check) {
    const CFunc* func = check.func;
    if (!func->def_value) return;
    const CalcType type = check_expr(check, func->def_value);
    if (!fits(func->type, type))
        type_error(check, func->line_no,
                   "Type mis-match: the return type of the function is %s but the default "
                   "expression is of type %s",
                   type_word(func->type), type_word(type));
}

// Refuses a local without an initial expression, whose type is undefined.
void check_local_types(Check& check) {
    for (const CFuncLVar* local : items<const CFuncLVar>(check.func->vardefs)) {
        if (local->type == CTYPE_VOID)
            type_error(check, local->line_no, "Local variable '%s' can not be of type 'void'",
                       local->name);
        const CalcType type = check_expr(check, local->init);
        if (!fits(local->type, type))
            type_error(check, local->line_no,
                       "Type mis-match in local variable declaration. The local variable '%s' "
                       "is declared of type %s and initial expression is of type %s",
                       local->name, type_word(local->type), type_word(type));
    }
}

// True unless this is the first use of the name. The set keeps the first of equal names.
bool name_is_taken(const Check& check, char* name) {
    return pset_insert(check.names, name) != name;
}

void check_argument_names(const Check& check) {
    for (const CFuncArg* arg : items<const CFuncArg>(check.func->args)) {
        if (arg->type == CTYPE_VOID)
            type_error(check, arg->line_no, "Argument '%s' can not be of type 'void'", arg->name);
        if (name_is_taken(check, arg->name))
            type_error(check, arg->line_no, "Multiple arguments named '%s'", arg->name);
        warn_of_shadow(check, arg->name, check.func->line_no);
    }
}

void check_local_names(const Check& check) {
    for (const CFuncLVar* local : items<const CFuncLVar>(check.func->vardefs)) {
        if (name_is_taken(check, local->name))
            type_error(check, local->line_no, "Duplicate local variable '%s'", local->name);
        warn_of_shadow(check, local->name, local->line_no);
    }
}

// Statements.

void check_stmt(Check& check, const CStmt* stmt);

void check_stmts(Check& check, const PolyList* stmts) {
    NORVANE_ASSERT(stmts);
    for (const CStmt* stmt : items<const CStmt>(stmts))
        check_stmt(check, stmt);
}

void check_if(Check& check, const CStmt* stmt) {
    NORVANE_ASSERT(stmt->args.ite.cond);
    NORVANE_ASSERT(stmt->args.ite.then_stmt);
    if (check_expr(check, stmt->args.ite.cond) != CTYPE_BOOL)
        type_error(check, stmt->line_no,
                   "The type of the test-expression in the if-then-else statement is not "
                   "boolean");
    check_stmt(check, stmt->args.ite.then_stmt);
    if (stmt->args.ite.else_stmt) check_stmt(check, stmt->args.ite.else_stmt);
}

void check_case(Check& check, const CCase* ccase, CalcType value) {
    const CalcType label = check_expr(check, ccase->expr);
    if (!fits(value, label))
        type_error(check, line_of(ccase->expr),
                   "Type mis-match: The type of the case-expression is %s while the type of "
                   "the switch-condition is %s",
                   type_word(value), type_word(label));
    check_stmts(check, ccase->stmts);
}

void check_switch(Check& check, const CStmt* stmt) {
    NORVANE_ASSERT(stmt->args.switch_args.switch_value);
    NORVANE_ASSERT(stmt->args.switch_args.cases);
    ++check.loop_depth;
    const CalcType value = check_expr(check, stmt->args.switch_args.switch_value);
    for (const CCase* ccase : items<const CCase>(stmt->args.switch_args.cases))
        check_case(check, ccase, value);
    if (stmt->args.switch_args.default_case)
        check_stmts(check, stmt->args.switch_args.default_case->stmts);
    --check.loop_depth;
}

// `kind` is the keyword of the statement.
void check_loop_test(Check& check, const CStmt* stmt, const CExpr* cond, const char* kind) {
    const CalcType type = check_expr(check, cond);
    if (type != CTYPE_BOOL)
        type_error(check, stmt->line_no,
                   "The type of the test-expression in the %s-statement is of type %s, it "
                   "must be of boolean type",
                   kind, type_word(type));
}

void check_while(Check& check, const CStmt* stmt) {
    NORVANE_ASSERT(stmt->args.while_args.cond);
    NORVANE_ASSERT(stmt->args.while_args.stmt);
    ++check.loop_depth;
    check_loop_test(check, stmt, stmt->args.while_args.cond, "while");
    check_stmt(check, stmt->args.while_args.stmt);
    --check.loop_depth;
}

void check_do(Check& check, const CStmt* stmt) {
    NORVANE_ASSERT(stmt->args.do_args.cond);
    NORVANE_ASSERT(stmt->args.do_args.stmt);
    ++check.loop_depth;
    check_loop_test(check, stmt, stmt->args.do_args.cond, "do");
    check_stmt(check, stmt->args.do_args.stmt);
    --check.loop_depth;
}

// Not inlined, so that the text of the position does not enlarge the frame of every loop.
[[gnu::noinline]] void warn_of_comparison(const Check& check, const CExpr* clause) {
    const Position position = position_of(check.func, clause->line_no);
    report(ERROR_TYPE_WARNING, ERR_CALC_FOR_INIT(position.text));
}

// Warns of a comparison, which is probably meant as an assignment. Callers rely on one report for
// both clauses.
void check_for_clause(Check& check, const CExpr* clause) {
    if (check_expr(check, clause) == CTYPE_BOOL) warn_of_comparison(check, clause);
}

void check_for(Check& check, const CStmt* stmt) {
    ++check.loop_depth;
    check_for_clause(check, stmt->args.for_args.init);
    check_for_clause(check, stmt->args.for_args.incr);
    if (stmt->args.for_args.cond) check_loop_test(check, stmt, stmt->args.for_args.cond, "for");
    check_stmt(check, stmt->args.for_args.stmt);
    --check.loop_depth;
}

void check_return(Check& check, const CStmt* stmt) {
    NORVANE_ASSERT(stmt->args.return_value);
    const CalcType type = check_expr(check, stmt->args.return_value);
    if (!fits(check.func->type, type))
        type_error(check, stmt->line_no,
                   "Type mis-match: The type of the expression in the return statement is %s "
                   "while the type of the function is %s",
                   type_word(type), type_word(check.func->type));
}

void check_block(Check& check, const CStmt* stmt) {
    NORVANE_ASSERT(stmt->args.block_stmts);
    check_stmts(check, stmt->args.block_stmts);
}

void check_stmt(Check& check, const CStmt* stmt) {
    if (stack_is_low()) return on_fresh_stack([&] { check_stmt(check, stmt); });
    NORVANE_ASSERT(stmt);
    work_units(1);
    switch (stmt->structure) {
    case CSTMT_ITE: return check_if(check, stmt);
    case CSTMT_BLOCK: return check_block(check, stmt);
    case CSTMT_EXPR: check_expr(check, stmt->args.expr); return;
    case CSTMT_SWITCH: return check_switch(check, stmt);
    case CSTMT_WHILE: return check_while(check, stmt);
    case CSTMT_DO: return check_do(check, stmt);
    case CSTMT_FOR: return check_for(check, stmt);
    case CSTMT_RETURN: return check_return(check, stmt);
    case CSTMT_BREAK:
        if (check.loop_depth == 0)
            type_error(check, stmt->line_no, "Break statement is not within a loop-construct");
        return;
    case CSTMT_EXTERNAL: return;
    }
    NORVANE_FAIL("Invalid statement structure");
}

// Branches are not analysed: the last statement of the body must return.
void check_end(const Check& check) {
    if (check.func->type == CTYPE_VOID) return;
    const PolyListNode* node = check.func->stmts->last;
    const auto* last = node ? static_cast<const CStmt*>(node->element) : nullptr;
    if (last && (last->structure == CSTMT_RETURN || last->structure == CSTMT_EXTERNAL)) return;
    type_error(check, last ? last->line_no : CALC_UNDEF_LINENO,
               "The last statement of the function must be a 'return'-statement");
}

// Functions.

// Locals and arguments are visible in all initial expressions. Of equal names the first declaration
// counts, and locals come before arguments.
void declare(const Check& check, char* name, CalcType type) {
    if (ihash_peek(check.locals, name, nullptr) != STATUS_SUCCESS)
        ihash_insert(check.locals, name, type);
}

void check_body(Check& check) {
    for (const CFuncLVar* local : items<const CFuncLVar>(check.func->vardefs))
        declare(check, local->name, local->type);
    for (const CFuncArg* arg : items<const CFuncArg>(check.func->args))
        declare(check, arg->name, arg->type);
    check_default(check);
    check_local_types(check);
    check_argument_names(check);
    check_local_names(check);
    check_stmts(check, check.func->stmts);
    check_end(check);
}

enum class Outcome {
    sound,
    faulty, // reported
    broken, // not a fault of the function: `failure` of the Check is to be thrown on
};

// Whatever is thrown, the stack of the symbol table is restored.
Outcome check_function(Check& check, CFunc* func) {
    check.func = func;
    check.loop_depth = 0;
    check.locals = ihash_new(names_size, poly_compare_string, nullptr, poly_hash_string, nullptr);
    check.names = pset_new(names_size, poly_compare_string, nullptr, poly_hash_string, nullptr);
    const unsigned depth = plist_length(check.symtbl->local_table);
    const WorkingOn mark(WORK_FUNCTION, func);
    const Finally end([&] {
        while (plist_length(check.symtbl->local_table) > depth)
            symtbl_pop_env(check.symtbl);
        pset_delete(check.names);
        ihash_delete(check.locals);
    });
    if (!caught(&check.failure, [&] { check_body(check); })) return Outcome::sound;
    return check.failure.kind == EXCEPT_CHECKER ? Outcome::faulty : Outcome::broken;
}

// Sets.

int report_reserved(const char* ns_name) {
    report_error(ERR_CALC_NS_NAME_RESERVED(ns_name));
    return 0;
}

void begin_check(Check& check, PolyHash* calc, SymbolTable* symtbl) {
    check.symtbl = symtbl;
    check.calculations = calc;
    check.labels = phash_new(names_size, compare_addresses, nullptr, nullptr, hash_address, nullptr,
                             poly<pset_delete>);
    check.value = ustr_new();
    check.path = ustr_new();
}

void end_check(const Check& check) {
    remove_builtins(check.calculations);
    phash_delete(check.labels);
    ustr_delete(check.value);
    ustr_delete(check.path);
}

// The result of the exported functions: that of run(check), with the catalogue in the set
// meanwhile.
template <typename Run>
int with_catalogue(PolyHash* calc, SymbolTable* symtbl, Run run) {
    Check check{};
    begin_check(check, calc, symtbl);
    Outcome outcome;
    {
        const Finally end([&] { end_check(check); });
        enter_builtins(calc);
        outcome = run(check);
    }
    if (outcome == Outcome::broken) {
        const WorkingOn mark(WORK_FUNCTION, check.func); // for the host, which reads it
        except_rethrow(&check.failure);
    }
    return outcome == Outcome::sound;
}

Outcome check_namespace(Check& check, CNameSpace* name_space) {
    check.name_space = name_space;
    Outcome result = Outcome::sound;
    for (CFunc* func : items<CFunc>(name_space->func_list)) {
        const Outcome outcome = check_function(check, func);
        if (outcome == Outcome::broken) return outcome;
        if (outcome == Outcome::faulty) result = outcome;
    }
    return result;
}

Outcome check_namespaces(Check& check) {
    Outcome result = Outcome::sound;
    PolyHashIter iter;
    phash_iter_init(&iter, check.calculations);
    for (void *name, *name_space; phash_iter_next(&iter, &name, &name_space);) {
        if (calc_ns_name_is_reserved(static_cast<const char*>(name))) continue;
        const Outcome outcome = check_namespace(check, static_cast<CNameSpace*>(name_space));
        if (outcome == Outcome::broken) return outcome;
        if (outcome == Outcome::faulty) result = outcome;
    }
    return result;
}

// Puts the function into the set and removes another one of its name. Does nothing if the set has
// this very function, which removing would free.
void replace_function(PolyHash* calc, const char* ns_name, CFunc* func) {
    const CNameSpace* name_space = calc_get_namespace(calc, ns_name);
    const CFunc* present = name_space ? calc_get_function(name_space, func->name) : nullptr;
    if (present == func) return;
    if (present) calc_remove_function(calc, ns_name, func->name);
    calc_add_function(calc, ns_name, func);
}

} // namespace

} // namespace norvane::calculations

using namespace norvane;
using namespace norvane::calculations;

int calc_check_functions(PolyHash* calc, SymbolTable* symtbl) {
    const norvane::CallGuard guard(__func__);
    NORVANE_ASSERT(calc);
    NORVANE_ASSERT(symtbl);
    PolyHashIter iter;
    phash_iter_init(&iter, calc);
    for (void* name; phash_iter_next(&iter, &name, nullptr);) {
        const auto* ns_name = static_cast<const char*>(name);
        if (calc_ns_name_is_reserved(ns_name)) return report_reserved(ns_name);
    }
    return with_catalogue(calc, symtbl, check_namespaces);
}

int calc_check_function(CFunc* func, const char* ns_name, PolyHash* calc, SymbolTable* symtbl) {
    const norvane::CallGuard guard(__func__);
    NORVANE_ASSERT(func);
    NORVANE_ASSERT(ns_name);
    NORVANE_ASSERT(calc);
    NORVANE_ASSERT(symtbl);
    if (calc_ns_name_is_reserved(ns_name)) return report_reserved(ns_name);
    replace_function(calc, ns_name, func);
    return with_catalogue(calc, symtbl, [&](Check& check) {
        check.name_space = calc_get_namespace(calc, ns_name);
        return check_function(check, func);
    });
}
