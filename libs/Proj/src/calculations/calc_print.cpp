// Prints calculations as source. Tools compare printed calculations as texts, so every blank and
// line end of the layout is fixed, including the irregular ones.
#include "norvane/proj/calc_print.h"

#include <string_view>

#include "norvane/base/deep.hpp"
#include "norvane/base/except.h"
#include "norvane/base/hash.h"
#include "norvane/base/items.hpp"
#include "norvane/base/text.hpp"
#include "norvane/base/util.h"
#include "norvane/base/work.h"

namespace norvane::calculations {

namespace {

constexpr int indentation = 2;

void append(UtilString* ustr, std::string_view text) {
    ustr_append_chars(ustr, text.data(), text.size());
}

void indent(UtilString* ustr, int n_indent) {
    NORVANE_ASSERT(ustr);
    NORVANE_ASSERT(n_indent >= 0);
    constexpr std::string_view blanks = "                                ";
    auto left = static_cast<std::size_t>(n_indent);
    for (; left > blanks.size(); left -= blanks.size())
        append(ustr, blanks);
    append(ustr, blanks.substr(0, left));
}

void print_expr(UtilString* ustr, const CExpr* expr);

void print_pmvar(UtilString* ustr, const CPMVar* pmvar) {
    for (; pmvar; pmvar = pmvar->nested) {
        append(ustr, pmvar->name);
        for (const CExpr* index : items<CExpr>(pmvar->arr_indices)) {
            append(ustr, "[");
            print_expr(ustr, index);
            append(ustr, "]");
        }
        if (pmvar->nested) append(ustr, ".");
    }
}

// Source is in code page 1252, the tree in UTF-8.
void print_string(UtilString* ustr, const char* utf8_text) {
    using NorvaneCpp::UTF8;
    const NorvaneCpp::String text = UTF8::ToCodepage(utf8_text, 1252, false);
    UtilString* literal = ustr_new();
    ustr_append_string(literal, text.GetStr());
    ustr_quote(literal);
    ustr_append_ustr(ustr, literal);
    ustr_delete(literal);
}

// Every binary operation is bracketed, so that no precedences are needed.
void print_binary(UtilString* ustr, const CExpr* expr) {
    append(ustr, "(");
    print_expr(ustr, expr->args.bop.left_arg);
    append(ustr, " ");
    append(ustr, calc_opr2string(expr->args.bop.opr));
    append(ustr, " ");
    print_expr(ustr, expr->args.bop.right_arg);
    append(ustr, ")");
}

void print_ite(UtilString* ustr, const CExpr* expr) {
    append(ustr, "( ");
    print_expr(ustr, expr->args.ite.cond);
    append(ustr, " ? ");
    print_expr(ustr, expr->args.ite.then_expr);
    append(ustr, " : ");
    print_expr(ustr, expr->args.ite.else_expr);
    append(ustr, ")");
}

void print_call(UtilString* ustr, const CExpr* expr) {
    ustr_append_string(ustr, expr->args.call.ns_name); // null appends nothing
    append(ustr, ".");
    append(ustr, expr->args.call.fname);
    append(ustr, "(");
    std::string_view separator;
    for (const CExpr* argument : items<CExpr>(expr->args.call.args)) {
        append(ustr, separator);
        print_expr(ustr, argument);
        separator = ", ";
    }
    append(ustr, ")");
}

void print_expr(UtilString* ustr, const CExpr* expr) {
    if (stack_is_low()) return on_fresh_stack([&] { print_expr(ustr, expr); });
    if (!expr) return;
    switch (expr->structure) {
    case CEXPR_LVAR: return append(ustr, expr->args.lvar_name);
    case CEXPR_PMVAR: return print_pmvar(ustr, expr->args.pmvar);
    case CEXPR_INT_CONST: return ustr_append_int(ustr, expr->args.int_value);
    case CEXPR_FLOAT_CONST: return append(ustr, util_double_to_str(expr->args.float_value));
    case CEXPR_STRING_CONST: return print_string(ustr, expr->args.string_value);
    case CEXPR_BOOL_CONST: return append(ustr, expr->args.bool_value ? "true" : "false");
    case CEXPR_UOP:
        append(ustr, calc_opr2string(expr->args.uop.opr));
        append(ustr, " ");
        return print_expr(ustr, expr->args.uop.arg);
    case CEXPR_BOP: return print_binary(ustr, expr);
    case CEXPR_ITE: return print_ite(ustr, expr);
    case CEXPR_CALL: return print_call(ustr, expr);
    }
    NORVANE_FAIL("Found invalid expression structure : %d", static_cast<int>(expr->structure));
}

void print_stmt(UtilString* ustr, const CStmt* stmt, int n_indent);

void print_stmts(UtilString* ustr, const PolyList* stmts, int n_indent) {
    for (const CStmt* stmt : items<CStmt>(stmts))
        print_stmt(ustr, stmt, n_indent);
}

void print_ite_stmt(UtilString* ustr, const CStmt* stmt, int n_indent) {
    const auto& ite = stmt->args.ite;
    indent(ustr, n_indent);
    append(ustr, "if ( ");
    print_expr(ustr, ite.cond);
    append(ustr, " ) \n");
    print_stmt(ustr, ite.then_stmt, n_indent + indentation);
    if (!ite.else_stmt) return;
    indent(ustr, n_indent);
    append(ustr, "else\n");
    print_stmt(ustr, ite.else_stmt, n_indent + indentation);
}

void print_block(UtilString* ustr, const CStmt* stmt, int n_indent) {
    indent(ustr, n_indent);
    append(ustr, "{\n");
    print_stmts(ustr, stmt->args.block_stmts, n_indent + indentation);
    indent(ustr, n_indent);
    append(ustr, "}\n");
}

void print_expr_stmt(UtilString* ustr, const CStmt* stmt, int n_indent) {
    indent(ustr, n_indent);
    print_expr(ustr, stmt->args.expr);
    append(ustr, ";\n");
}

// Labels are indented as far as the switch.
void print_switch(UtilString* ustr, const CStmt* stmt, int n_indent) {
    const auto& args = stmt->args.switch_args;
    indent(ustr, n_indent);
    append(ustr, "switch ");
    print_expr(ustr, args.switch_value);
    append(ustr, " {\n");
    for (const CCase* branch : items<CCase>(args.cases)) {
        indent(ustr, n_indent);
        append(ustr, "case ");
        print_expr(ustr, branch->expr);
        append(ustr, ":\n");
        print_stmts(ustr, branch->stmts, n_indent + indentation);
    }
    if (args.default_case) {
        indent(ustr, n_indent);
        append(ustr, "default:\n");
        print_stmts(ustr, args.default_case->stmts, n_indent + indentation);
    }
    indent(ustr, n_indent);
    append(ustr, "}\n");
}

void print_while(UtilString* ustr, const CStmt* stmt, int n_indent) {
    indent(ustr, n_indent);
    append(ustr, "while ");
    print_expr(ustr, stmt->args.while_args.cond);
    append(ustr, "\n");
    print_stmt(ustr, stmt->args.while_args.stmt, n_indent + indentation);
}

// The blank line and the missing indentation of "while" are part of the fixed layout.
void print_do(UtilString* ustr, const CStmt* stmt, int n_indent) {
    indent(ustr, n_indent);
    append(ustr, "do\n\n");
    print_stmt(ustr, stmt->args.do_args.stmt, n_indent + indentation);
    append(ustr, "while ");
    print_expr(ustr, stmt->args.do_args.cond);
    append(ustr, ";\n");
}

void print_for(UtilString* ustr, const CStmt* stmt, int n_indent) {
    const auto& args = stmt->args.for_args;
    indent(ustr, n_indent);
    append(ustr, "for ( ");
    print_expr(ustr, args.init);
    append(ustr, ";");
    print_expr(ustr, args.cond);
    append(ustr, ";");
    print_expr(ustr, args.incr);
    append(ustr, ")\n");
    print_stmt(ustr, args.stmt, n_indent + indentation);
}

void print_return(UtilString* ustr, const CStmt* stmt, int n_indent) {
    indent(ustr, n_indent);
    append(ustr, "return ");
    print_expr(ustr, stmt->args.return_value);
    append(ustr, ";\n");
}

void print_stmt(UtilString* ustr, const CStmt* stmt, int n_indent) {
    if (stack_is_low()) return on_fresh_stack([&] { print_stmt(ustr, stmt, n_indent); });
    NORVANE_ASSERT(ustr);
    NORVANE_ASSERT(stmt);
    NORVANE_ASSERT(n_indent >= 0);
    switch (stmt->structure) {
    case CSTMT_ITE: return print_ite_stmt(ustr, stmt, n_indent);
    case CSTMT_BLOCK: return print_block(ustr, stmt, n_indent);
    case CSTMT_EXPR: return print_expr_stmt(ustr, stmt, n_indent);
    case CSTMT_SWITCH: return print_switch(ustr, stmt, n_indent);
    case CSTMT_WHILE: return print_while(ustr, stmt, n_indent);
    case CSTMT_DO: return print_do(ustr, stmt, n_indent);
    case CSTMT_FOR: return print_for(ustr, stmt, n_indent);
    case CSTMT_RETURN: return print_return(ustr, stmt, n_indent);
    case CSTMT_BREAK: indent(ustr, n_indent); return append(ustr, "break;\n");
    case CSTMT_EXTERNAL: break; // print_function prints it; within a body it is invalid
    }
    NORVANE_ASSERT(false);
}

void append_declared(UtilString* ustr, CalcType type, const char* name) {
    append(ustr, calc_type2string(type));
    append(ustr, " ");
    append(ustr, name);
}

void print_header(UtilString* ustr, const CFunc* func, int n_indent) {
    indent(ustr, n_indent);
    append_declared(ustr, func->type, func->name);
    append(ustr, "(");
    std::string_view separator;
    for (const CFuncArg* argument : items<CFuncArg>(func->args)) {
        append(ustr, separator);
        append_declared(ustr, argument->type, argument->name);
        separator = ", ";
    }
    append(ustr, ")");
    if (func->def_value) {
        append(ustr, " | ");
        print_expr(ustr, func->def_value);
    }
    append(ustr, "\n");
}

void print_code(UtilString* ustr, const CFunc* func, int n_indent) {
    indent(ustr, n_indent);
    append(ustr, "{\n");
    for (const CFuncLVar* local : items<CFuncLVar>(func->vardefs)) {
        indent(ustr, n_indent + indentation);
        append_declared(ustr, local->type, local->name);
        append(ustr, " := ");
        print_expr(ustr, local->init);
        append(ustr, ";\n");
    }
    print_stmts(ustr, func->stmts, n_indent + indentation);
    indent(ustr, n_indent);
    append(ustr, "}\n");
}

void print_function(UtilString* ustr, const CFunc* func, int n_indent) {
    NORVANE_ASSERT(func);
    NORVANE_ASSERT_TEXT(func->stmts, "f->stmts");
    const WorkingOn mark(WORK_FUNCTION, func);
    print_header(ustr, func, n_indent);
    const auto* first = static_cast<const CStmt*>(plist_hd(func->stmts));
    if (!first || first->structure != CSTMT_EXTERNAL) return print_code(ustr, func, n_indent);
    indent(ustr, n_indent);
    append(ustr, ": external \"");
    append(ustr, first->args.external_ref);
    append(ustr, "\";\n");
}

} // namespace

} // namespace norvane::calculations

using namespace norvane;
using namespace norvane::calculations;

UtilString* calc_prt(PolyHash* calc) {
    NORVANE_ASSERT(calc);
    UtilString* ustr = ustr_new();
    PolyHashIter iter;
    void* value;
    phash_iter_init(&iter, calc);
    while (phash_iter_next(&iter, nullptr, &value)) {
        const auto* ns = static_cast<const CNameSpace*>(value);
        append(ustr, "namespace ");
        append(ustr, ns->name);
        append(ustr, " {\n");
        for (const CFunc* func : items<CFunc>(ns->func_list))
            print_function(ustr, func, indentation);
        append(ustr, "}\n");
    }
    return ustr;
}

UtilString* calc_prt_function(CFunc* func, int n_indent) {
    UtilString* ustr = ustr_new();
    print_function(ustr, func, n_indent);
    return ustr;
}

UtilString* calc_prt_function_header(CFunc* func, int n_indent) {
    NORVANE_ASSERT(func);
    UtilString* ustr = ustr_new();
    print_header(ustr, func, n_indent);
    return ustr;
}

UtilString* calc_prt_function_code(CFunc* func, int n_indent) {
    NORVANE_ASSERT(func);
    UtilString* ustr = ustr_new();
    print_code(ustr, func, n_indent);
    return ustr;
}

void calc_to_file(PolyHash* calc, FILE* file) {
    NORVANE_ASSERT(calc);
    NORVANE_ASSERT(file);
    UtilString* ustr = calc_prt(calc);
    fputs(ustr->text, file);
    ustr_delete(ustr);
}
