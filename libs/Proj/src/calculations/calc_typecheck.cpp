// The type check of calculations: sets and functions, their declarations and statements.
// Expressions are in calc_typecheck_expr.cpp.
#include "norvane/proj/calc_typecheck.h"

#include <cstdarg>

#include "calc_builtins.h"
#include "calc_position.h"
#include "calc_typecheck_internal.h"
#include "norvane/base/deep.hpp"
#include "norvane/base/except.h"
#include "norvane/base/items.hpp"
#include "norvane/proj/proj_errors.h"
#include "poly_adaptors.h"
#include "report.h"

namespace norvane {

namespace {

constexpr unsigned names_size = 10;

// What the last function check has thrown.
ExceptionState thrown;

// A local that has the name of a model variable hides it in the function.
void warn_of_shadow(const CalcCheck& check, char* name, int line) {
    NameData* namedata;
    if (symtbl_lookup(check.symtbl, name, true, &namedata) != STATUS_SUCCESS ||
        namedata->ndtype != ND_VARIABLE)
        return;
    const CalcPosition position = calc_position(check.func, line);
    report(ERROR_TYPE_WARNING,
           ERR_CALC_PM_VAR_EXISTS(position.text, name, check.name_space->name, check.func->name));
}

// Declarations.

void check_default(CalcCheck& check) {
    const CFunc* func = check.func;
    if (func->def_value == nullptr) return;
    const CalcType type = calc_check_expr(check, func->def_value);
    if (!calc_type_fits(func->type, type))
        calc_type_error(check, func->line_no,
                        "Type mis-match: the return type of the function is %s but the default "
                        "expression is of type %s",
                        calc_type_word(func->type), calc_type_word(type));
}

// A local without an initial expression is refused: its type is undefined.
void check_local_types(CalcCheck& check) {
    for (const CFuncLVar* local : items<const CFuncLVar>(check.func->vardefs)) {
        if (local->type == CTYPE_VOID)
            calc_type_error(check, local->line_no, "Local variable '%s' can not be of type 'void'",
                            local->name);
        const CalcType type = calc_check_expr(check, local->init);
        if (!calc_type_fits(local->type, type))
            calc_type_error(check, local->line_no,
                            "Type mis-match in local variable declaration. The local variable '%s' "
                            "is declared of type %s and initial expression is of type %s",
                            local->name, calc_type_word(local->type), calc_type_word(type));
    }
}

// The set keeps the first of two equal names.
bool name_is_taken(const CalcCheck& check, char* name) {
    return pset_insert(check.names, name) != name;
}

void check_argument_names(const CalcCheck& check) {
    for (const CFuncArg* arg : items<const CFuncArg>(check.func->args)) {
        if (arg->type == CTYPE_VOID)
            calc_type_error(check, arg->line_no, "Argument '%s' can not be of type 'void'",
                            arg->name);
        if (name_is_taken(check, arg->name))
            calc_type_error(check, arg->line_no, "Multiple arguments named '%s'", arg->name);
        warn_of_shadow(check, arg->name, check.func->line_no);
    }
}

void check_local_names(const CalcCheck& check) {
    for (const CFuncLVar* local : items<const CFuncLVar>(check.func->vardefs)) {
        if (name_is_taken(check, local->name))
            calc_type_error(check, local->line_no, "Duplicate local variable '%s'", local->name);
        warn_of_shadow(check, local->name, local->line_no);
    }
}

// Statements.

void check_stmt(CalcCheck& check, const CStmt* stmt);

void check_stmts(CalcCheck& check, const PolyList* stmts) {
    NORVANE_ASSERT(stmts);
    for (const CStmt* stmt : items<const CStmt>(stmts))
        check_stmt(check, stmt);
}

void check_if(CalcCheck& check, const CStmt* stmt) {
    NORVANE_ASSERT(stmt->args.ite.cond);
    NORVANE_ASSERT(stmt->args.ite.then_stmt);
    if (calc_check_expr(check, stmt->args.ite.cond) != CTYPE_BOOL)
        calc_type_error(check, stmt->line_no,
                        "The type of the test-expression in the if-then-else statement is not "
                        "boolean");
    check_stmt(check, stmt->args.ite.then_stmt);
    if (stmt->args.ite.else_stmt != nullptr) check_stmt(check, stmt->args.ite.else_stmt);
}

void check_case(CalcCheck& check, const CCase* ccase, CalcType value) {
    const CalcType label = calc_check_expr(check, ccase->expr);
    if (!calc_type_fits(value, label))
        calc_type_error(check, calc_line_of(ccase->expr),
                        "Type mis-match: The type of the case-expression is %s while the type of "
                        "the switch-condition is %s",
                        calc_type_word(value), calc_type_word(label));
    check_stmts(check, ccase->stmts);
}

void check_switch(CalcCheck& check, const CStmt* stmt) {
    NORVANE_ASSERT(stmt->args.switch_args.switch_value);
    NORVANE_ASSERT(stmt->args.switch_args.cases);
    ++check.loop_depth;
    const CalcType value = calc_check_expr(check, stmt->args.switch_args.switch_value);
    for (const CCase* ccase : items<const CCase>(stmt->args.switch_args.cases))
        check_case(check, ccase, value);
    if (stmt->args.switch_args.default_case != nullptr)
        check_stmts(check, stmt->args.switch_args.default_case->stmts);
    --check.loop_depth;
}

// `kind` is the statement's word.
void check_loop_test(CalcCheck& check, const CStmt* stmt, const CExpr* cond, const char* kind) {
    const CalcType type = calc_check_expr(check, cond);
    if (type != CTYPE_BOOL)
        calc_type_error(check, stmt->line_no,
                        "The type of the test-expression in the %s-statement is of type %s, it "
                        "must be of boolean type",
                        kind, calc_type_word(type));
}

void check_while(CalcCheck& check, const CStmt* stmt) {
    NORVANE_ASSERT(stmt->args.while_args.cond);
    NORVANE_ASSERT(stmt->args.while_args.stmt);
    ++check.loop_depth;
    check_loop_test(check, stmt, stmt->args.while_args.cond, "while");
    check_stmt(check, stmt->args.while_args.stmt);
    --check.loop_depth;
}

void check_do(CalcCheck& check, const CStmt* stmt) {
    NORVANE_ASSERT(stmt->args.do_args.cond);
    NORVANE_ASSERT(stmt->args.do_args.stmt);
    ++check.loop_depth;
    check_loop_test(check, stmt, stmt->args.do_args.cond, "do");
    check_stmt(check, stmt->args.do_args.stmt);
    --check.loop_depth;
}

// Out of line, so that the position does not lie in the frame of every loop.
[[gnu::noinline]] void warn_of_comparison(const CalcCheck& check, const CExpr* clause) {
    const CalcPosition position = calc_position(check.func, clause->line_no);
    report(ERROR_TYPE_WARNING, ERR_CALC_FOR_INIT(position.text));
}

// A comparison, where an assignment is wanted, is most likely a slip. Callers know both clauses by
// the one report.
void check_for_clause(CalcCheck& check, const CExpr* clause) {
    if (calc_check_expr(check, clause) == CTYPE_BOOL) warn_of_comparison(check, clause);
}

void check_for(CalcCheck& check, const CStmt* stmt) {
    ++check.loop_depth;
    check_for_clause(check, stmt->args.for_args.init);
    check_for_clause(check, stmt->args.for_args.incr);
    if (stmt->args.for_args.cond != nullptr)
        check_loop_test(check, stmt, stmt->args.for_args.cond, "for");
    check_stmt(check, stmt->args.for_args.stmt);
    --check.loop_depth;
}

void check_return(CalcCheck& check, const CStmt* stmt) {
    NORVANE_ASSERT(stmt->args.return_value);
    const CalcType type = calc_check_expr(check, stmt->args.return_value);
    if (!calc_type_fits(check.func->type, type))
        calc_type_error(check, stmt->line_no,
                        "Type mis-match: The type of the expression in the return statement is %s "
                        "while the type of the function is %s",
                        calc_type_word(type), calc_type_word(check.func->type));
}

void check_block(CalcCheck& check, const CStmt* stmt) {
    NORVANE_ASSERT(stmt->args.block_stmts);
    check_stmts(check, stmt->args.block_stmts);
}

void check_stmt(CalcCheck& check, const CStmt* stmt) {
    if (stack_is_low()) return on_fresh_stack([&] { check_stmt(check, stmt); });
    NORVANE_ASSERT(stmt);
    switch (stmt->structure) {
    case CSTMT_ITE: return check_if(check, stmt);
    case CSTMT_BLOCK: return check_block(check, stmt);
    case CSTMT_EXPR: calc_check_expr(check, stmt->args.expr); return;
    case CSTMT_SWITCH: return check_switch(check, stmt);
    case CSTMT_WHILE: return check_while(check, stmt);
    case CSTMT_DO: return check_do(check, stmt);
    case CSTMT_FOR: return check_for(check, stmt);
    case CSTMT_RETURN: return check_return(check, stmt);
    case CSTMT_BREAK:
        if (check.loop_depth == 0)
            calc_type_error(check, stmt->line_no, "Break statement is not within a loop-construct");
        return;
    case CSTMT_EXTERNAL: return;
    }
    NORVANE_FAIL("Invalid statement structure");
}

// Nobody follows the branches: only the last statement of the body counts.
void check_end(const CalcCheck& check) {
    if (check.func->type == CTYPE_VOID) return;
    const PolyListNode* node = check.func->stmts->last;
    const auto* last = node != nullptr ? static_cast<const CStmt*>(node->element) : nullptr;
    if (last != nullptr && (last->structure == CSTMT_RETURN || last->structure == CSTMT_EXTERNAL))
        return;
    calc_type_error(check, last != nullptr ? last->line_no : CALC_UNDEF_LINENO,
                    "The last statement of the function must be a 'return'-statement");
}

// Functions.

// Locals and arguments are visible from the first initial expression on, and of two of one name the
// first counts, a local before an argument.
void declare(const CalcCheck& check, char* name, CalcType type) {
    if (ihash_peek(check.locals, name, nullptr) != STATUS_SUCCESS)
        ihash_insert(check.locals, name, type);
}

void check_body(CalcCheck& check) {
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
    broken, // something else than a fault was thrown, and is in `thrown`
};

// Whatever is thrown on the way, the table's stack is afterwards as it was.
Outcome check_function(CalcCheck& check, CFunc* func) {
    check.func = func;
    check.loop_depth = 0;
    check.locals = ihash_new(names_size, poly_compare_string, nullptr, poly_hash_string, nullptr);
    check.names = pset_new(names_size, poly_compare_string, nullptr, poly_hash_string, nullptr);
    const unsigned depth = plist_length(check.symtbl->local_table);

    const int caught = except_catch([](void* user) { check_body(*static_cast<CalcCheck*>(user)); },
                                    &check, &thrown);

    while (plist_length(check.symtbl->local_table) > depth)
        symtbl_pop_env(check.symtbl);
    pset_delete(check.names);
    ihash_delete(check.locals);
    if (!caught) return Outcome::sound;
    return thrown.kind == EXCEPT_CHECKER ? Outcome::faulty : Outcome::broken;
}

// Sets.

int report_reserved(const char* ns_name) {
    report_error(ERR_CALC_NS_NAME_RESERVED(ns_name));
    return 0;
}

CalcCheck begin_check(PolyHash* calc, SymbolTable* symtbl) {
    CalcCheck check{};
    check.symtbl = symtbl;
    check.calculations = calc;
    check.labels = phash_new(names_size, compare_addresses, nullptr, nullptr, hash_address, nullptr,
                             poly<pset_delete>);
    check.value = ustr_new();
    check.path = ustr_new();
    calc_enter_builtins(calc);
    return check;
}

// The result of the exported functions. What was thrown is thrown on when all is as it was.
int end_check(const CalcCheck& check, Outcome outcome) {
    calc_remove_builtins(check.calculations);
    phash_delete(check.labels);
    ustr_delete(check.value);
    ustr_delete(check.path);
    if (outcome == Outcome::broken) except_rethrow(&thrown);
    return outcome == Outcome::sound;
}

Outcome check_namespace(CalcCheck& check, CNameSpace* name_space) {
    check.name_space = name_space;
    Outcome result = Outcome::sound;
    for (CFunc* func : items<CFunc>(name_space->func_list)) {
        const Outcome outcome = check_function(check, func);
        if (outcome == Outcome::broken) return outcome;
        if (outcome == Outcome::faulty) result = outcome;
    }
    return result;
}

Outcome check_namespaces(CalcCheck& check) {
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

// Puts the function in the place of any other of its name. One that is there itself stays: removing
// it would free it.
void replace_function(PolyHash* calc, const char* ns_name, CFunc* func) {
    const CNameSpace* name_space = calc_get_namespace(calc, ns_name);
    const CFunc* present =
        name_space != nullptr ? calc_get_function(name_space, func->name) : nullptr;
    if (present == func) return;
    if (present != nullptr) calc_remove_function(calc, ns_name, func->name);
    calc_add_function(calc, ns_name, func);
}

} // namespace

void calc_type_error(const CalcCheck& check, int line, const char* format, ...) {
    char message[MESSAGE_BUFFER_SIZE];
    va_list arguments;
    va_start(arguments, format);
    str_vsnprintf(message, sizeof message, format, arguments);
    va_end(arguments);
    const CalcPosition position = calc_position(check.func, line);
    report_error(ERR_CALC_FNC(position.text, check.name_space->name, check.func->name, message));
    except_throw(EXCEPT_CHECKER, __LINE__, __FILE__);
}

const char* calc_type_word(CalcType type) {
    switch (type) {
    case CTYPE_UNDEF: return "undefined";
    case CTYPE_BOOL: return "boolean";
    case CTYPE_INT: return "integer";
    case CTYPE_FLOAT: return "float";
    case CTYPE_STRING: return "string";
    case CTYPE_VOID: return "void";
    }
    NORVANE_FAIL("Invalid type: %d", static_cast<int>(type));
}

} // namespace norvane

int calc_check_functions(PolyHash* calc, SymbolTable* symtbl) {
    NORVANE_ASSERT(calc);
    NORVANE_ASSERT(symtbl);
    PolyHashIter iter;
    phash_iter_init(&iter, calc);
    for (void* name; phash_iter_next(&iter, &name, nullptr);) {
        const auto* ns_name = static_cast<const char*>(name);
        if (calc_ns_name_is_reserved(ns_name)) return norvane::report_reserved(ns_name);
    }
    norvane::CalcCheck check = norvane::begin_check(calc, symtbl);
    return norvane::end_check(check, norvane::check_namespaces(check));
}

int calc_check_function(CFunc* func, const char* ns_name, PolyHash* calc, SymbolTable* symtbl) {
    NORVANE_ASSERT(func);
    NORVANE_ASSERT(ns_name);
    NORVANE_ASSERT(calc);
    NORVANE_ASSERT(symtbl);
    if (calc_ns_name_is_reserved(ns_name)) return norvane::report_reserved(ns_name);
    norvane::replace_function(calc, ns_name, func);
    norvane::CalcCheck check = norvane::begin_check(calc, symtbl);
    check.name_space = calc_get_namespace(calc, ns_name);
    return norvane::end_check(check, norvane::check_function(check, func));
}
