#include "calc_dump.h"

#include <gtest/gtest.h>

#include "norvane/base/items.hpp"
#include "norvane/base/util.h"

namespace norvane::test {
namespace {

class Dump {
  public:
    explicit Dump(bool lines) : lines_(lines) {}

    std::string expr(const CExpr* e) const {
        if (!e) return "-";
        return expr_without_line(e) + line(e->line_no);
    }

    std::string calc(const PolyHash* calc) const {
        std::string text;
        PolyHashIter iter;
        phash_iter_init(&iter, calc);
        for (void* value; phash_iter_next(&iter, nullptr, &value);) {
            const auto* ns = static_cast<CNameSpace*>(value);
            text += "namespace " + std::string(ns->name) + "\n";
            for (const CFunc* f : items<CFunc>(ns->func_list))
                text += function(f);
        }
        return text;
    }

  private:
    std::string line(int number) const {
        return lines_ && number != CALC_UNDEF_LINENO ? "@" + std::to_string(number) : "";
    }

    std::string exprs(const PolyList* list) const {
        std::string text;
        for (const CExpr* e : items<CExpr>(list))
            text += (text.empty() ? "" : " ") + expr(e);
        return text;
    }

    std::string path(const CPMVar* v) const {
        std::string text = "$";
        for (; v; v = v->nested) {
            text += v->name;
            for (const CExpr* index : items<CExpr>(v->arr_indices))
                text += "[" + expr(index) + "]";
            if (v->nested) text += ".";
        }
        return text;
    }

    std::string expr_without_line(const CExpr* e) const {
        const auto& args = e->args;
        switch (e->structure) {
        case CEXPR_LVAR: return args.lvar_name;
        case CEXPR_PMVAR: return path(args.pmvar);
        case CEXPR_INT_CONST: return std::to_string(args.int_value);
        case CEXPR_FLOAT_CONST: return util_double_to_str(args.float_value);
        case CEXPR_STRING_CONST: return "\"" + std::string(args.string_value) + "\"";
        case CEXPR_BOOL_CONST: return args.bool_value ? "true" : "false";
        case CEXPR_UOP:
            return std::string("(") + calc_opr2string(args.uop.opr) + " " + expr(args.uop.arg) +
                   ")";
        case CEXPR_BOP:
            return std::string("(") + calc_opr2string(args.bop.opr) + " " +
                   expr(args.bop.left_arg) + " " + expr(args.bop.right_arg) + ")";
        case CEXPR_ITE:
            return "(? " + expr(args.ite.cond) + " " + expr(args.ite.then_expr) + " " +
                   expr(args.ite.else_expr) + ")";
        case CEXPR_CALL:
            return (args.call.ns_name ? std::string(args.call.ns_name) + ":" : "") +
                   args.call.fname + "(" + exprs(args.call.args) + ")";
        }
        return "?";
    }

    std::string stmts(const PolyList* list, const std::string& indent) const {
        std::string text;
        for (const CStmt* s : items<CStmt>(list))
            text += stmt(s, indent);
        return text;
    }

    std::string ccase(const CCase* c, const std::string& indent) const {
        const std::string head = c->expr ? "case " + expr(c->expr) : "default";
        return indent + head + "\n" + stmts(c->stmts, indent + "  ");
    }

    // What stands behind the first words of a statement, each statement on a line of its own.
    std::string stmt(const CStmt* s, const std::string& indent) const {
        const auto& args = s->args;
        const std::string inner = indent + "  ";
        const auto head = [&](const std::string& words) {
            return indent + words + line(s->line_no) + "\n";
        };
        switch (s->structure) {
        case CSTMT_ITE: {
            std::string text = head("if " + expr(args.ite.cond)) + stmt(args.ite.then_stmt, inner);
            if (args.ite.else_stmt) text += indent + "else\n" + stmt(args.ite.else_stmt, inner);
            return text;
        }
        case CSTMT_BLOCK: return head("block") + stmts(args.block_stmts, inner);
        case CSTMT_EXPR: return head(expr(args.expr));
        case CSTMT_SWITCH: {
            std::string text = head("switch " + expr(args.switch_args.switch_value));
            for (const CCase* c : items<CCase>(args.switch_args.cases))
                text += ccase(c, inner);
            const CCase* otherwise = args.switch_args.default_case;
            return text + (otherwise ? ccase(otherwise, inner) : "");
        }
        case CSTMT_WHILE:
            return head("while " + expr(args.while_args.cond)) + stmt(args.while_args.stmt, inner);
        case CSTMT_DO:
            return head("do " + expr(args.do_args.cond)) + stmt(args.do_args.stmt, inner);
        case CSTMT_FOR: {
            const auto& loop = args.for_args;
            return head("for " + expr(loop.init) + "; " + expr(loop.cond) + "; " +
                        expr(loop.incr)) +
                   stmt(loop.stmt, inner);
        }
        case CSTMT_RETURN: return head("return " + expr(args.return_value));
        case CSTMT_BREAK: return head("break");
        case CSTMT_EXTERNAL: return head("external " + std::string(args.external_ref));
        }
        return "?";
    }

    std::string function(const CFunc* f) const {
        std::string text = " " + std::string(calc_type2string(f->type)) + " " + f->name + "(";
        for (const CFuncArg* a : items<CFuncArg>(f->args))
            text += std::string(text.back() == '(' ? "" : ", ") + calc_type2string(a->type) + " " +
                    a->name + line(a->line_no);
        text += ")" + line(f->line_no);
        if (lines_ && f->filename) text += " of '" + std::string(f->filename) + "'";
        text += (f->def_value ? " | " + expr(f->def_value) : "") + std::string("\n");
        for (const CFuncLVar* v : items<CFuncLVar>(f->vardefs))
            text += std::string("  ") + calc_type2string(v->type) + " " + v->name +
                    line(v->line_no) + " := " + expr(v->init) + "\n";
        return text + stmts(f->stmts, "  ");
    }

    bool lines_;
};

} // namespace

std::string dump(const CExpr* expr, bool lines) {
    return Dump(lines).expr(expr);
}

std::string dump(const PolyHash* calc, bool lines) {
    return Dump(lines).calc(calc);
}

std::string functions(const PolyHash* calc) {
    std::string result;
    PolyHashIter iter;
    phash_iter_init(&iter, calc);
    for (void* value; phash_iter_next(&iter, nullptr, &value);) {
        const auto* ns = static_cast<CNameSpace*>(value);
        EXPECT_EQ(phash_size(ns->functions), plist_length(ns->func_list));
        result += (result.empty() ? "" : "; ") + std::string(ns->name) + ":";
        for (CFunc* func : items<CFunc>(ns->func_list)) {
            EXPECT_EQ(calc_get_function(ns, func->name), func);
            result += std::string(" ") + func->name;
        }
    }
    return result;
}

} // namespace norvane::test
