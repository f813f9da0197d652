// Makes, copies and frees the nodes of calculation trees.
#include "norvane/proj/calc.h"

#include <cstdlib>
#include <iterator>
#include <new>

#include "allocation.h"
#include "norvane/base/deep.hpp"
#include "norvane/base/except.h"
#include "norvane/base/strings.h"
#include "norvane/base/text.hpp"
#include "poly_adaptors.h"

namespace norvane::calculations {

namespace {

struct Operator {
    COprType opr;
    const char* source;
};

// Indexed by COprType.
constexpr Operator operators[] = {
    {COPR_NOT, "not"}, {COPR_MINUS, "-"},   {COPR_EQ, "="},    {COPR_LT, "<"},
    {COPR_GT, ">"},    {COPR_NEQ, "<>"},    {COPR_GTEQ, ">="}, {COPR_LTEQ, "<="},
    {COPR_PLUS, "+"},  {COPR_MULT, "*"},    {COPR_DIV, "/"},   {COPR_MOD, "%"},
    {COPR_EXP, "^"},   {COPR_AND, "and"},   {COPR_OR, "or"},   {COPR_XOR, "xor"},
    {COPR_IMP, "->"},  {COPR_BIIMP, "<->"}, {COPR_DEF, "|"},   {COPR_ASSIGN, ":="},
};

constexpr bool numbered_in_order() {
    int number = 0;
    for (const Operator& row : operators) {
        if (row.opr != number++) return false;
    }
    return number == COPR_ASSIGN + 1;
}
static_assert(numbered_in_order());

template <typename T>
T* new_record() {
    return new (new_memory(sizeof(T))) T{};
}

CExpr* new_expr(CExprStructure structure, int line_no) {
    auto* expr = new_record<CExpr>();
    expr->structure = structure;
    expr->line_no = line_no;
    return expr;
}

CStmt* new_stmt(CStmtStructure structure, int line_no) {
    auto* stmt = new_record<CStmt>();
    stmt->structure = structure;
    stmt->line_no = line_no;
    return stmt;
}

bool is_ascii(const char* text) {
    for (; *text != '\0'; ++text) {
        if (static_cast<unsigned char>(*text) > 127) return false;
    }
    return true;
}

// A new copy in UTF-8 of a text in code page 1252.
char* to_utf8(const char* text) {
    const NorvaneCpp::String utf8 = NorvaneCpp::UTF8::ToUnicode(NorvaneCpp::String(text));
    return str_copy(utf8.GetStr());
}

CExpr* copy_call(const CExpr* expr) {
    const auto& call = expr->args.call;
    char* ns_name = str_null_copy(call.ns_name);
    char* fname = str_copy(call.fname);
    PolyList* args = plist_copy_with_copycon(call.args, poly<calc_copy_expr>);
    return calc_new_call_expr(ns_name, fname, args, expr->line_no);
}

void delete_if_present(CExpr* expr) {
    if (expr) calc_delete_expr(expr);
}

// The parser makes its lists of statements without a delete callback.
void delete_stmts(PolyList* stmts) {
    stmts->delete_element = poly<calc_delete_stmt>;
    plist_delete(stmts);
}

// Frees what an expression owns.
void delete_parts(CExpr* expr) {
    auto& args = expr->args;
    switch (expr->structure) {
    case CEXPR_LVAR: return str_delete(args.lvar_name);
    case CEXPR_PMVAR: return calc_delete_pmvar(args.pmvar);
    case CEXPR_INT_CONST:
    case CEXPR_FLOAT_CONST:
    case CEXPR_BOOL_CONST: return;
    case CEXPR_STRING_CONST: return str_delete(args.string_value);
    case CEXPR_UOP: return calc_delete_expr(args.uop.arg);
    case CEXPR_BOP:
        calc_delete_expr(args.bop.left_arg);
        return calc_delete_expr(args.bop.right_arg);
    case CEXPR_ITE:
        calc_delete_expr(args.ite.cond);
        calc_delete_expr(args.ite.then_expr);
        return calc_delete_expr(args.ite.else_expr);
    case CEXPR_CALL:
        str_null_delete(args.call.ns_name);
        str_delete(args.call.fname);
        return plist_delete(args.call.args);
    }
    NORVANE_FAIL("Found invalid expression structure : %d", static_cast<int>(expr->structure));
}

// Frees what a statement owns.
void delete_parts(CStmt* stmt) {
    auto& args = stmt->args;
    switch (stmt->structure) {
    case CSTMT_ITE:
        calc_delete_expr(args.ite.cond);
        calc_delete_stmt(args.ite.then_stmt);
        if (args.ite.else_stmt) calc_delete_stmt(args.ite.else_stmt);
        return;
    case CSTMT_BLOCK: return delete_stmts(args.block_stmts);
    case CSTMT_EXPR: return delete_if_present(args.expr);
    case CSTMT_SWITCH:
        calc_delete_expr(args.switch_args.switch_value);
        plist_delete(args.switch_args.cases);
        return calc_delete_case(args.switch_args.default_case);
    case CSTMT_WHILE:
        calc_delete_expr(args.while_args.cond);
        return calc_delete_stmt(args.while_args.stmt);
    case CSTMT_DO: calc_delete_expr(args.do_args.cond); return calc_delete_stmt(args.do_args.stmt);
    case CSTMT_FOR:
        delete_if_present(args.for_args.init);
        delete_if_present(args.for_args.cond);
        delete_if_present(args.for_args.incr);
        return calc_delete_stmt(args.for_args.stmt);
    case CSTMT_RETURN: return calc_delete_expr(args.return_value);
    case CSTMT_BREAK: return;
    case CSTMT_EXTERNAL: return str_delete(args.external_ref);
    }
    NORVANE_FAIL("Found invalid statement structure : %d", static_cast<int>(stmt->structure));
}

} // namespace

} // namespace norvane::calculations

using namespace norvane;
using namespace norvane::calculations;

const char* calc_type2string(CalcType type) {
    switch (type) {
    case CTYPE_BOOL: return "boolean";
    case CTYPE_INT: return "integer";
    case CTYPE_FLOAT: return "float";
    case CTYPE_STRING: return "string";
    case CTYPE_VOID: return "void";
    case CTYPE_UNDEF: break;
    }
    return "undef";
}

const char* calc_opr2string(COprType opr) {
    const auto number = static_cast<unsigned>(opr);
    if (number >= std::size(operators))
        NORVANE_FAIL("Invalid operator '%d'", static_cast<int>(opr));
    return operators[number].source;
}

// Expressions.

CExpr* calc_new_lvar_expr(char* varname, int line_no) {
    NORVANE_ASSERT(varname);
    CExpr* expr = new_expr(CEXPR_LVAR, line_no);
    expr->args.lvar_name = varname;
    return expr;
}

CExpr* calc_new_pmvar_expr(CPMVar* pmvar, int line_no) {
    NORVANE_ASSERT(pmvar);
    CExpr* expr = new_expr(CEXPR_PMVAR, line_no);
    expr->args.pmvar = pmvar;
    return expr;
}

CExpr* calc_new_intconst_expr(int value, int line_no) {
    CExpr* expr = new_expr(CEXPR_INT_CONST, line_no);
    expr->args.int_value = value;
    return expr;
}

CExpr* calc_new_boolconst_expr(int value, int line_no) {
    CExpr* expr = new_expr(CEXPR_BOOL_CONST, line_no);
    expr->args.bool_value = value;
    return expr;
}

CExpr* calc_new_floatconst_expr(double value, int line_no) {
    CExpr* expr = new_expr(CEXPR_FLOAT_CONST, line_no);
    expr->args.float_value = value;
    return expr;
}

CExpr* calc_new_stringconst_expr(char* value, int line_no, bool is_utf8) {
    if (!value) value = str_copy("");
    // ASCII texts, which most are, are the same in both encodings and need no copy.
    if (!is_utf8 && !is_ascii(value)) {
        char* converted = to_utf8(value);
        str_delete(value);
        value = converted;
    }
    CExpr* expr = new_expr(CEXPR_STRING_CONST, line_no);
    expr->args.string_value = value;
    return expr;
}

CExpr* calc_new_unary_expr(COprType opr, CExpr* arg, int line_no) {
    NORVANE_ASSERT(arg);
    CExpr* expr = new_expr(CEXPR_UOP, line_no);
    expr->args.uop = {opr, arg};
    return expr;
}

CExpr* calc_new_binary_expr(COprType opr, CExpr* left_arg, CExpr* right_arg, int line_no) {
    NORVANE_ASSERT(left_arg);
    NORVANE_ASSERT(right_arg);
    CExpr* expr = new_expr(CEXPR_BOP, line_no);
    expr->args.bop = {opr, left_arg, right_arg};
    return expr;
}

CExpr* calc_new_ite_expr(CExpr* cond, CExpr* then_expr, CExpr* else_expr, int line_no) {
    NORVANE_ASSERT(cond);
    NORVANE_ASSERT(then_expr);
    NORVANE_ASSERT(else_expr);
    CExpr* expr = new_expr(CEXPR_ITE, line_no);
    expr->args.ite = {cond, then_expr, else_expr};
    return expr;
}

CExpr* calc_new_call_expr(char* ns_name, char* fname, PolyList* args, int line_no) {
    NORVANE_ASSERT(fname);
    NORVANE_ASSERT(args);
    CExpr* expr = new_expr(CEXPR_CALL, line_no);
    expr->args.call = {ns_name, fname, args};
    return expr;
}

void calc_add_call_argument(CExpr* call, CExpr* arg) {
    NORVANE_ASSERT(call);
    NORVANE_ASSERT(arg);
    NORVANE_ASSERT(call->structure == CEXPR_CALL);
    plist_append(call->args.call.args, arg);
}

void calc_delete_expr(CExpr* expr) {
    if (stack_is_low()) return on_fresh_stack([&] { calc_delete_expr(expr); });
    NORVANE_ASSERT(expr);
    delete_parts(expr);
    std::free(expr);
}

CExpr* calc_copy_expr(const CExpr* expr) {
    if (stack_is_low()) return on_fresh_stack([&] { return calc_copy_expr(expr); });
    NORVANE_ASSERT(expr);
    const auto& args = expr->args;
    const int line_no = expr->line_no;
    switch (expr->structure) {
    case CEXPR_LVAR: return calc_new_lvar_expr(str_copy(args.lvar_name), line_no);
    case CEXPR_PMVAR: return calc_new_pmvar_expr(calc_copy_pmvar(args.pmvar), line_no);
    case CEXPR_INT_CONST: return calc_new_intconst_expr(args.int_value, line_no);
    case CEXPR_FLOAT_CONST: return calc_new_floatconst_expr(args.float_value, line_no);
    // Callers rely on copies being converted again, although the tree holds UTF-8.
    case CEXPR_STRING_CONST:
        return calc_new_stringconst_expr(str_copy(args.string_value), line_no, false);
    case CEXPR_BOOL_CONST: return calc_new_boolconst_expr(args.bool_value, line_no);
    case CEXPR_UOP: return calc_new_unary_expr(args.uop.opr, calc_copy_expr(args.uop.arg), line_no);
    case CEXPR_BOP: {
        CExpr* left_arg = calc_copy_expr(args.bop.left_arg);
        CExpr* right_arg = calc_copy_expr(args.bop.right_arg);
        return calc_new_binary_expr(args.bop.opr, left_arg, right_arg, line_no);
    }
    case CEXPR_ITE: {
        CExpr* cond = calc_copy_expr(args.ite.cond);
        CExpr* then_expr = calc_copy_expr(args.ite.then_expr);
        CExpr* else_expr = calc_copy_expr(args.ite.else_expr);
        return calc_new_ite_expr(cond, then_expr, else_expr, line_no);
    }
    case CEXPR_CALL: return copy_call(expr);
    }
    return nullptr;
}

// Paths. These functions loop along the chain, which can be too long to recurse on.

CPMVar* calc_new_pmvar(char* name) {
    NORVANE_ASSERT(name);
    auto* pmvar = new_record<CPMVar>();
    pmvar->name = name;
    pmvar->arr_indices = plist_new(nullptr, nullptr, poly<calc_delete_expr>);
    return pmvar;
}

void calc_add_pmvar_arr_index(CPMVar* pmvar, CExpr* idx) {
    NORVANE_ASSERT(pmvar);
    NORVANE_ASSERT(idx);
    plist_append(pmvar->arr_indices, idx);
}

void calc_set_pmvar_nested(CPMVar* pmvar, CPMVar* nested) {
    NORVANE_ASSERT(pmvar);
    NORVANE_ASSERT(nested);
    pmvar->nested = nested;
}

CPMVar* calc_copy_pmvar(CPMVar* pmvar) {
    NORVANE_ASSERT(pmvar);
    CPMVar* copy = nullptr;
    CPMVar** end = &copy;
    for (; pmvar; pmvar = pmvar->nested) {
        auto* component = new_record<CPMVar>();
        component->name = str_copy(pmvar->name);
        component->arr_indices = plist_copy_with_copycon(pmvar->arr_indices, poly<calc_copy_expr>);
        *end = component;
        end = &component->nested;
    }
    return copy;
}

void calc_delete_pmvar(CPMVar* pmvar) {
    NORVANE_ASSERT(pmvar);
    while (pmvar) {
        CPMVar* nested = pmvar->nested;
        str_delete(pmvar->name);
        plist_delete(pmvar->arr_indices);
        std::free(pmvar);
        pmvar = nested;
    }
}

// Statements.

CStmt* calc_new_ite_stmt(CExpr* cond, CStmt* then_stmt, CStmt* else_stmt, int line_no) {
    NORVANE_ASSERT(cond);
    NORVANE_ASSERT(then_stmt);
    CStmt* stmt = new_stmt(CSTMT_ITE, line_no);
    stmt->args.ite = {cond, then_stmt, else_stmt};
    return stmt;
}

CStmt* calc_new_block_stmt(PolyList* stmts, int line_no) {
    NORVANE_ASSERT(stmts);
    CStmt* stmt = new_stmt(CSTMT_BLOCK, line_no);
    stmt->args.block_stmts = stmts;
    return stmt;
}

CStmt* calc_new_expr_stmt(CExpr* expr, int line_no) {
    CStmt* stmt = new_stmt(CSTMT_EXPR, line_no);
    stmt->args.expr = expr;
    return stmt;
}

CStmt* calc_new_switch_stmt(CExpr* switch_value, int line_no) {
    NORVANE_ASSERT(switch_value);
    CStmt* stmt = new_stmt(CSTMT_SWITCH, line_no);
    stmt->args.switch_args.switch_value = switch_value;
    stmt->args.switch_args.cases = plist_new(nullptr, nullptr, poly<calc_delete_case>);
    return stmt;
}

CStmt* calc_new_while_stmt(CExpr* cond, CStmt* stmt, int line_no) {
    NORVANE_ASSERT(cond);
    NORVANE_ASSERT(stmt);
    CStmt* loop = new_stmt(CSTMT_WHILE, line_no);
    loop->args.while_args = {cond, stmt};
    return loop;
}

CStmt* calc_new_do_stmt(CExpr* cond, CStmt* stmt, int line_no) {
    NORVANE_ASSERT(cond);
    NORVANE_ASSERT(stmt);
    CStmt* loop = new_stmt(CSTMT_DO, line_no);
    loop->args.do_args = {cond, stmt};
    return loop;
}

CStmt* calc_new_for_stmt(CExpr* init, CExpr* cond, CExpr* incr, CStmt* stmt, int line_no) {
    NORVANE_ASSERT(stmt);
    CStmt* loop = new_stmt(CSTMT_FOR, line_no);
    loop->args.for_args = {init, cond, incr, stmt};
    return loop;
}

CStmt* calc_new_return_stmt(CExpr* return_value, int line_no) {
    NORVANE_ASSERT(return_value);
    CStmt* stmt = new_stmt(CSTMT_RETURN, line_no);
    stmt->args.return_value = return_value;
    return stmt;
}

CStmt* calc_new_break_stmt(int line_no) {
    return new_stmt(CSTMT_BREAK, line_no);
}

CStmt* calc_new_external_stmt(const char* external_ref, int line_no) {
    NORVANE_ASSERT(external_ref);
    CStmt* stmt = new_stmt(CSTMT_EXTERNAL, line_no);
    stmt->args.external_ref = str_copy(external_ref);
    return stmt;
}

CCase* calc_new_case(CExpr* expr, PolyList* stmts) {
    NORVANE_ASSERT(stmts);
    auto* ccase = new_record<CCase>();
    ccase->expr = expr;
    ccase->stmts = stmts;
    return ccase;
}

void calc_add_switch_case(CStmt* switch_stmt, CCase* ccase) {
    NORVANE_ASSERT(switch_stmt);
    NORVANE_ASSERT(ccase);
    NORVANE_ASSERT(switch_stmt->structure == CSTMT_SWITCH);
    NORVANE_ASSERT(switch_stmt->args.switch_args.cases);
    plist_append(switch_stmt->args.switch_args.cases, ccase);
}

void calc_add_switch_default(CStmt* switch_stmt, PolyList* stmts) {
    NORVANE_ASSERT(switch_stmt);
    NORVANE_ASSERT(stmts);
    NORVANE_ASSERT_TEXT(!switch_stmt->args.switch_args.default_case,
                        "switch_stmt->args.switch_args.default_case == NULL");
    switch_stmt->args.switch_args.default_case = calc_new_case(nullptr, stmts);
}

void calc_delete_case(CCase* ccase) {
    if (!ccase) return;
    delete_if_present(ccase->expr);
    delete_stmts(ccase->stmts);
    std::free(ccase);
}

void calc_delete_stmt(CStmt* stmt) {
    if (stack_is_low()) return on_fresh_stack([&] { calc_delete_stmt(stmt); });
    NORVANE_ASSERT(stmt);
    delete_parts(stmt);
    std::free(stmt);
}

// Functions.

CFuncArg* calc_new_func_arg(char* name, CalcType type, int line_no) {
    NORVANE_ASSERT(name);
    auto* arg = new_record<CFuncArg>();
    *arg = {name, type, line_no};
    return arg;
}

void calc_delete_func_arg(CFuncArg* arg) {
    NORVANE_ASSERT(arg);
    str_delete(arg->name);
    std::free(arg);
}

CFuncLVar* calc_new_func_lvar(char* name, CalcType type, CExpr* init, int line_no) {
    NORVANE_ASSERT(name);
    auto* lvar = new_record<CFuncLVar>();
    *lvar = {name, line_no, type, init};
    return lvar;
}

void calc_delete_func_lvar(CFuncLVar* lvar) {
    NORVANE_ASSERT(lvar);
    str_delete(lvar->name);
    delete_if_present(lvar->init);
    std::free(lvar);
}

CFunc* calc_new_func(char* name, CalcType type, CExpr* def_value, const char* filename,
                     int line_no) {
    NORVANE_ASSERT(name);
    auto* func = new_record<CFunc>();
    func->name = name;
    func->filename = str_null_copy(filename);
    func->line_no = line_no;
    func->type = type;
    func->def_value = def_value;
    func->args = plist_new(nullptr, nullptr, poly<calc_delete_func_arg>);
    func->vardefs = plist_new(nullptr, nullptr, poly<calc_delete_func_lvar>);
    func->stmts = plist_new(nullptr, nullptr, poly<calc_delete_stmt>);
    return func;
}

void calc_add_function_arg(CFunc* func, CFuncArg* arg) {
    NORVANE_ASSERT(func);
    NORVANE_ASSERT(arg);
    plist_append(func->args, arg);
}

void calc_add_function_vardef(CFunc* func, CFuncLVar* lvar) {
    NORVANE_ASSERT(func);
    NORVANE_ASSERT(lvar);
    plist_append(func->vardefs, lvar);
}

void calc_add_function_stmt(CFunc* func, CStmt* stmt) {
    NORVANE_ASSERT(func);
    NORVANE_ASSERT(stmt);
    plist_append(func->stmts, stmt);
}

void calc_delete_func(CFunc* func) {
    NORVANE_ASSERT(func);
    str_delete(func->name);
    str_null_delete(func->filename);
    delete_if_present(func->def_value);
    plist_delete(func->args);
    plist_delete(func->vardefs);
    plist_delete(func->stmts);
    std::free(func);
}
