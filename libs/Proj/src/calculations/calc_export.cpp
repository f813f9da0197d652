// Writes a calculation as XML.
//
// The file is opened first, so that the tree is not completed for a file that cannot be written,
// and emptied after all nodes are built, so that a broken calculation leaves an existing file
// unchanged.

#include "norvane/proj/calc_export.h"

#include <cstdio>
#include <unistd.h>

#include "calc_xml_names.h"
#include "norvane/base/deep.hpp"
#include "norvane/base/except.h"
#include "norvane/base/frames.hpp"
#include "norvane/base/items.hpp"
#include "norvane/base/strings.h"
#include "norvane/base/util.h"
#include "norvane/base/work.h"
#include "report.h"
#include "xml_writing.h"

namespace norvane::calculations {

namespace {

struct Writer {
    bool line_info;
    const char* ns_name; // of the namespace that is being written
};

XmlNode* add(XmlNode* parent, Tag tag, std::initializer_list<XmlAttribute> attributes = {}) {
    return add_element(parent, tag_name(tag), attributes);
}

// Adds the line after the `index` attributes that the node has, unless it is unknown.
void set_line(const Writer* w, XmlNode* node, int line_no, int index) {
    if (!w->line_info || line_no == CALC_UNDEF_LINENO) return;
    set_attribute(node, index, {"line_no", DecimalText(line_no).text});
}

const char* word_of_type(CalcType type) {
    const char* word = word_of(type_words, type);
    if (!word) NORVANE_FAIL("Found invalid calculational type : %d", static_cast<int>(type));
    return word;
}

const char* operator_word(COprType opr) {
    const char* word = word_of(operator_words, opr);
    if (!word) NORVANE_FAIL("Found invalid operator : %d", static_cast<int>(opr));
    return word;
}

void write_expr(const Writer* w, XmlNode* parent, const CExpr* expr);
void write_stmt(const Writer* w, XmlNode* parent, const CStmt* stmt);

void write_exprs(const Writer* w, XmlNode* parent, const PolyList* exprs) {
    for (const CExpr* expr : items<CExpr>(exprs))
        write_expr(w, parent, expr);
}

void write_stmts(const Writer* w, XmlNode* parent, const PolyList* stmts) {
    for (const CStmt* stmt : items<CStmt>(stmts))
        write_stmt(w, parent, stmt);
}

// Expressions.

// The element of each component of a path contains that of the next.
void write_pmvar(const Writer* w, XmlNode* parent, const CPMVar* pmvar) {
    for (; pmvar; pmvar = pmvar->nested) {
        parent = add(parent, Tag::pmvar, {{"name", pmvar->name}});
        write_exprs(w, parent, pmvar->arr_indices);
    }
}

// String constants are the only texts of the tree in UTF-8; all others are in code page 1252.
void write_string_const(XmlNode* parent, const char* text) {
    add(parent, Tag::string_const, {{"value", text, true}});
}

void write_call(const Writer* w, XmlNode* parent, const CExpr* expr) {
    const auto& call = expr->args.call;
    // A call without a namespace is a call within its own.
    const char* ns_name = call.ns_name ? call.ns_name : w->ns_name;
    XmlNode* node = add(parent, Tag::call, {{"namespace", ns_name}, {"fname", call.fname}});
    write_exprs(w, node, call.args);
}

void write_expr(const Writer* w, XmlNode* parent, const CExpr* expr) {
    if (stack_is_low()) return on_fresh_stack([&] { write_expr(w, parent, expr); });
    NORVANE_ASSERT(expr);
    XmlNode* node = add(parent, Tag::expr);
    set_line(w, node, expr->line_no, 0);
    const auto& args = expr->args;
    switch (expr->structure) {
    case CEXPR_LVAR: add(node, Tag::lvar, {{"name", args.lvar_name}}); return;
    case CEXPR_PMVAR: return write_pmvar(w, node, args.pmvar);
    case CEXPR_INT_CONST:
        add(node, Tag::int_const, {{"value", DecimalText(args.int_value).text}});
        return;
    case CEXPR_FLOAT_CONST:
        add(node, Tag::float_const, {{"value", util_double_to_str(args.float_value)}});
        return;
    case CEXPR_STRING_CONST: return write_string_const(node, args.string_value);
    case CEXPR_BOOL_CONST: add(node, args.bool_value ? Tag::true_const : Tag::false_const); return;
    case CEXPR_UOP:
        node = add(node, Tag::uop, {{"opr", operator_word(args.uop.opr)}});
        return write_expr(w, node, args.uop.arg);
    case CEXPR_BOP:
        node = add(node, Tag::bop, {{"opr", operator_word(args.bop.opr)}});
        write_expr(w, node, args.bop.left_arg);
        return write_expr(w, node, args.bop.right_arg);
    case CEXPR_ITE:
        node = add(node, Tag::ite_expr);
        write_expr(w, node, args.ite.cond);
        write_expr(w, node, args.ite.then_expr);
        return write_expr(w, node, args.ite.else_expr);
    case CEXPR_CALL: return write_call(w, node, expr);
    }
    NORVANE_FAIL("Found invalid expression structure : %d", static_cast<int>(expr->structure));
}

// Statements.

void write_opt_expr(const Writer* w, XmlNode* parent, const CExpr* expr) {
    XmlNode* node = add(parent, Tag::opt_expr);
    if (expr) write_expr(w, node, expr);
}

void write_ite_stmt(const Writer* w, XmlNode* parent, const CStmt* stmt) {
    const auto& ite = stmt->args.ite;
    XmlNode* node = add(parent, Tag::ite_stmt);
    write_expr(w, node, ite.cond);
    write_stmt(w, node, ite.then_stmt);
    if (ite.else_stmt) write_stmt(w, node, ite.else_stmt);
}

void write_switch(const Writer* w, XmlNode* parent, const CStmt* stmt) {
    const auto& args = stmt->args.switch_args;
    XmlNode* node = add(parent, Tag::switch_stmt);
    write_expr(w, node, args.switch_value);
    for (const CCase* branch : items<CCase>(args.cases)) {
        XmlNode* label = add(node, Tag::case_label);
        write_expr(w, label, branch->expr);
        write_stmts(w, label, branch->stmts);
    }
    if (args.default_case) write_stmts(w, add(node, Tag::default_label), args.default_case->stmts);
}

void write_for(const Writer* w, XmlNode* parent, const CStmt* stmt) {
    const auto& args = stmt->args.for_args;
    XmlNode* node = add(parent, Tag::for_stmt);
    write_opt_expr(w, node, args.init);
    write_opt_expr(w, node, args.cond);
    write_opt_expr(w, node, args.incr);
    write_stmt(w, node, args.stmt);
}

// In both kinds of loop the condition comes first.
void write_loop(const Writer* w, XmlNode* node, const CExpr* cond, const CStmt* body) {
    write_expr(w, node, cond);
    write_stmt(w, node, body);
}

void write_stmt(const Writer* w, XmlNode* parent, const CStmt* stmt) {
    if (stack_is_low()) return on_fresh_stack([&] { write_stmt(w, parent, stmt); });
    NORVANE_ASSERT(stmt);
    XmlNode* node = add(parent, Tag::stmt);
    set_line(w, node, stmt->line_no, 0);
    const auto& args = stmt->args;
    switch (stmt->structure) {
    case CSTMT_ITE: return write_ite_stmt(w, node, stmt);
    case CSTMT_BLOCK: return write_stmts(w, add(node, Tag::block_stmt), args.block_stmts);
    case CSTMT_EXPR:
        node = add(node, Tag::expr_stmt);
        if (args.expr) write_expr(w, node, args.expr);
        return;
    case CSTMT_SWITCH: return write_switch(w, node, stmt);
    case CSTMT_WHILE:
        return write_loop(w, add(node, Tag::while_stmt), args.while_args.cond,
                          args.while_args.stmt);
    case CSTMT_DO:
        return write_loop(w, add(node, Tag::do_stmt), args.do_args.cond, args.do_args.stmt);
    case CSTMT_FOR: return write_for(w, node, stmt);
    case CSTMT_RETURN: return write_expr(w, add(node, Tag::return_stmt), args.return_value);
    case CSTMT_BREAK: add(node, Tag::break_stmt); return;
    case CSTMT_EXTERNAL:
        add(add(node, Tag::external_stmt), Tag::string_const, {{"value", args.external_ref}});
        return;
    }
    NORVANE_FAIL("Found invalid statement structure : %d", static_cast<int>(stmt->structure));
}

// Functions.

CExpr* zero_of(CalcType type, int line_no) {
    switch (type) {
    case CTYPE_BOOL: return calc_new_boolconst_expr(0, line_no);
    case CTYPE_INT: return calc_new_intconst_expr(0, line_no);
    case CTYPE_FLOAT: return calc_new_floatconst_expr(0.0, line_no);
    case CTYPE_STRING: return calc_new_stringconst_expr(str_copy(""), line_no, true);
    case CTYPE_UNDEF:
    case CTYPE_VOID: break;
    }
    NORVANE_FAIL("Found invalid calculational type : %d", static_cast<int>(type));
}

// Readers require an initial expression. A missing one is added to the tree too, so that the tree
// and the file agree.
void write_vardef(const Writer* w, XmlNode* parent, CFuncLVar* lvar) {
    XmlNode* node =
        add(parent, Tag::vardef, {{"name", lvar->name}, {"type", word_of_type(lvar->type)}});
    set_line(w, node, lvar->line_no, 2);
    if (!lvar->init) lvar->init = zero_of(lvar->type, lvar->line_no);
    write_expr(w, node, lvar->init);
}

void write_arg(const Writer* w, XmlNode* parent, const CFuncArg* arg) {
    XmlNode* node = add(parent, Tag::arg, {{"name", arg->name}, {"type", word_of_type(arg->type)}});
    set_line(w, node, arg->line_no, 2);
}

XmlNode* add_function(const Writer* w, XmlNode* parent, const CFunc* func) {
    XmlNode* node =
        add(parent, Tag::function, {{"name", func->name}, {"type", word_of_type(func->type)}});
    // The file name and the line are only useful together.
    if (w->line_info && func->filename && func->line_no != CALC_UNDEF_LINENO) {
        set_attribute(node, 2, {"filename", func->filename});
        set_attribute(node, 3, {"line_no", DecimalText(func->line_no).text});
    }
    return node;
}

void write_function(const Writer* w, XmlNode* parent, const CFunc* func) {
    const WorkingOn mark(WORK_FUNCTION, func);
    XmlNode* node = add_function(w, parent, func);
    if (func->def_value) write_expr(w, add(node, Tag::def_value), func->def_value);
    for (const CFuncArg* arg : items<CFuncArg>(func->args))
        write_arg(w, node, arg);
    for (CFuncLVar* lvar : items<CFuncLVar>(func->vardefs))
        write_vardef(w, node, lvar);
    write_stmts(w, node, func->stmts);
}

XmlDocument* document_of(PolyHash* calc, int line_info) {
    return xml_new("clx.dtd", calc_export_to_xml_node(calc, line_info), "clx.xsl");
}

void write_file(std::FILE* out, PolyHash* calc, int line_info) {
    XmlDocument* document = document_of(calc, line_info);
    [[maybe_unused]] const int emptied = ftruncate(fileno(out), 0); // fails for a device
    xml_print_indented(document, out);
    xml_delete(document);
}

} // namespace

} // namespace norvane::calculations

using namespace norvane;
using namespace norvane::calculations;

XmlNode* calc_export_to_xml_node(PolyHash* calc, int line_info) {
    NORVANE_ASSERT(calc);
    XmlNode* root = xml_node_new_tag(tag_name(Tag::calculation));
    PolyHashIter iter;
    phash_iter_init(&iter, calc);
    for (void* value; phash_iter_next(&iter, nullptr, &value);) {
        const auto* ns = static_cast<CNameSpace*>(value);
        const Writer writer{line_info != 0, ns->name};
        XmlNode* node = add(root, Tag::ns, {{"name", ns->name}});
        for (const CFunc* func : items<CFunc>(ns->func_list))
            write_function(&writer, node, func);
    }
    return root;
}

void calc_export_to_stream(FILE* out, PolyHash* calc, int line_info) {
    NORVANE_ASSERT(out);
    NORVANE_ASSERT(calc);
    XmlDocument* document = document_of(calc, line_info);
    xml_print_indented(document, out);
    xml_delete(document);
}

int calc_export_to_file(const char* filename, PolyHash* calc, int line_info) {
    NORVANE_ASSERT(filename);
    NORVANE_ASSERT(calc);
    if (str_is_equal(filename, "-")) {
        calc_export_to_stream(stdout, calc, line_info);
        return STATUS_SUCCESS;
    }
    FILE* out = std::fopen(filename, "ae");
    if (!out) {
        report_error(ERR_FILE_OPEN_WRITE(filename));
        return STATUS_FAILURE;
    }
    close_after(out, [&] { write_file(out, calc, line_info); });
    return STATUS_SUCCESS;
}
