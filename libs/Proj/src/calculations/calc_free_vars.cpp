// Finds the names that statements read or write.
#include "norvane/base/deep.hpp"
#include "norvane/base/except.h"
#include "norvane/base/items.hpp"
#include "norvane/base/strings.h"
#include "norvane/proj/calc.h"

namespace norvane::calculations {

namespace {

void collect_expr(const CExpr* expr, PolySet* names);
void collect_stmt(const CStmt* stmt, PolySet* names);

void collect_stmts(const PolyList* stmts, PolySet* names) {
    for (const CStmt* stmt : items<CStmt>(stmts))
        collect_stmt(stmt, names);
}

// Callers look paths up by their component names joined without a separator.
void collect_pmvar(const CPMVar* pmvar, PolySet* names) {
    UtilString* joined = ustr_new();
    for (; pmvar; pmvar = pmvar->nested)
        ustr_append_string(joined, pmvar->name);
    pset_insert(names, joined->text);
    ustr_delete(joined);
}

void collect_case(const CCase* ccase, PolySet* names) {
    collect_expr(ccase->expr, names);
    collect_stmts(ccase->stmts, names);
}

void collect_switch(const CStmt* stmt, PolySet* names) {
    const auto& args = stmt->args.switch_args;
    collect_expr(args.switch_value, names);
    for (const CCase* ccase : items<CCase>(args.cases))
        collect_case(ccase, names);
    if (args.default_case) collect_case(args.default_case, names);
}

void collect_for(const CStmt* stmt, PolySet* names) {
    const auto& args = stmt->args.for_args;
    for (const CExpr* clause : {args.init, args.cond, args.incr}) {
        if (clause) collect_expr(clause, names);
    }
    collect_stmt(args.stmt, names);
}

void collect_expr(const CExpr* expr, PolySet* names) {
    if (stack_is_low()) return on_fresh_stack([&] { collect_expr(expr, names); });
    NORVANE_ASSERT(expr);
    const auto& args = expr->args;
    switch (expr->structure) {
    case CEXPR_LVAR: pset_insert(names, args.lvar_name); break;
    case CEXPR_PMVAR: collect_pmvar(args.pmvar, names); break;
    case CEXPR_INT_CONST:
    case CEXPR_FLOAT_CONST:
    case CEXPR_STRING_CONST:
    case CEXPR_BOOL_CONST: break;
    case CEXPR_UOP: collect_expr(args.uop.arg, names); break;
    case CEXPR_BOP:
        collect_expr(args.bop.left_arg, names);
        collect_expr(args.bop.right_arg, names);
        break;
    case CEXPR_ITE:
        collect_expr(args.ite.cond, names);
        collect_expr(args.ite.then_expr, names);
        collect_expr(args.ite.else_expr, names);
        break;
    case CEXPR_CALL:
        for (const CExpr* arg : items<CExpr>(args.call.args))
            collect_expr(arg, names);
        break;
    }
}

void collect_stmt(const CStmt* stmt, PolySet* names) {
    if (stack_is_low()) return on_fresh_stack([&] { collect_stmt(stmt, names); });
    const auto& args = stmt->args;
    switch (stmt->structure) {
    case CSTMT_ITE:
        collect_expr(args.ite.cond, names);
        collect_stmt(args.ite.then_stmt, names);
        if (args.ite.else_stmt) collect_stmt(args.ite.else_stmt, names);
        break;
    case CSTMT_BLOCK: collect_stmts(args.block_stmts, names); break;
    case CSTMT_EXPR: collect_expr(args.expr, names); break;
    case CSTMT_SWITCH: collect_switch(stmt, names); break;
    case CSTMT_WHILE:
        collect_expr(args.while_args.cond, names);
        collect_stmt(args.while_args.stmt, names);
        break;
    case CSTMT_DO:
        collect_expr(args.do_args.cond, names);
        collect_stmt(args.do_args.stmt, names);
        break;
    case CSTMT_FOR: collect_for(stmt, names); break;
    case CSTMT_RETURN: collect_expr(args.return_value, names); break;
    case CSTMT_BREAK:
    case CSTMT_EXTERNAL: break;
    }
}

} // namespace

} // namespace norvane::calculations

using namespace norvane::calculations;

void calc_find_free_vars(PolyList* stmts, PolySet* free_vars) {
    NORVANE_ASSERT(stmts);
    NORVANE_ASSERT(free_vars);
    collect_stmts(stmts, free_vars);
}
