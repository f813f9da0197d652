// Prints a model as source: expressions, types, declarations, the whole project. Identifiers and
// paths are in printpmfile_id.cpp.
#include "norvane/proj/printpmfile.h"

#include <charconv>
#include <iterator>

#include "norvane/base/deep.hpp"
#include "norvane/base/diagnostics.h"
#include "norvane/base/items.hpp"
#include "norvane/base/util.h"
#include "poly_adaptors.h"
#include "printpmfile_internal.h"
#include "report.h"
#include "tags.h"

namespace norvane::model {
namespace {

// A line is broken after the node that passes this column.
constexpr unsigned last_column = 70;

Word operator_text(const Expr* expr) {
    switch (operator_of(expr)) {
    case OPR_AND: return " and ";
    case OPR_OR: return " or ";
    case OPR_XOR: return " xor ";
    case OPR_NOT: return "not ";
    case OPR_IMPLIES: return " -> ";
    case OPR_BIIMPLIES: return " <-> ";
    case OPR_PLUS: return " + ";
    case OPR_MINUS: return " - ";
    case OPR_TIMES: return " * ";
    case OPR_DIV: return " / ";
    case OPR_LT: return " < ";
    case OPR_LE: return " <= ";
    case OPR_GT: return " > ";
    case OPR_GE: return " >= ";
    case OPR_EQ: return " = ";
    case OPR_NEQ: return " <> ";
    case OPR_SHL: return " << ";
    case OPR_SHR: return " >> ";
    case OPR_FORALL: return "forall ";
    case OPR_EXIST: return "exist ";
    case OPR_SUM: return "sum ";
    case OPR_PROD: return "product ";
    case OPR_BOOLCONST:
    case OPR_INTCONST: return "";
    case OPR_ORDER: return "order";
    case OPR_UBOUND_EQ: return " = ";
    case OPR_FLOATCONST:
    case OPR_NONE: break; // no operators
    }
    NORVANE_FAIL("Invalid operator '%d'", expr->opr);
}

// What stays the same for all nodes of a printed expression.
struct Page {
    FILE* stream;
    int wrap;
};

unsigned print_expr(Page page, const Expr* expr, int depth, unsigned column);

// Most operands of a flat rule are names and numbers, which are printed without a step down.
inline unsigned print_operand(Page page, const Expr* expr, int depth, unsigned column) {
    if (!expr || depth >= 0 || page.wrap) return print_expr(page, expr, depth, column);
    if (expr->structure == EXPR_IDCONSTRUCTOR)
        return column + ppm_print_idcon(page.stream, expr->args.idcon);
    if (expr->structure == EXPR_INT_CONST) return column + print_int_const(page.stream, expr);
    return print_expr(page, expr, depth, column);
}

unsigned print_binary(Page page, const Expr* expr, int depth, unsigned column) {
    putc_unlocked('(', page.stream);
    column = print_operand(page, expr->args.binargs.leftarg, depth, column + 1);
    column += put_word(page.stream, operator_text(expr));
    column = print_operand(page, expr->args.binargs.rightarg, depth, column);
    putc_unlocked(')', page.stream);
    return column + 1;
}

unsigned print_unary(Page page, const Expr* expr, int depth, unsigned column) {
    const bool call = expr->opr == OPR_ORDER;
    column += put(page.stream, "(");
    column += put_word(page.stream, operator_text(expr));
    if (call) column += put(page.stream, "(");
    column = print_expr(page, expr->args.arg, depth, column);
    if (call) column += put(page.stream, ")");
    return column + put(page.stream, ")");
}

unsigned print_string_const(FILE* stream, const Expr* expr) {
    UtilString* text = ustr_new();
    ustr_append_string(text, expr->args.str);
    ustr_quote_multiline(text);
    const unsigned length = put(stream, {text->text, text->length});
    ustr_delete(text);
    return length;
}

unsigned print_ite(Page page, const Expr* expr, int depth, unsigned column) {
    column += put(page.stream, "(if ");
    column = print_expr(page, expr->args.ite.logictest, depth, column);
    column += put(page.stream, " then ");
    column = print_expr(page, expr->args.ite.trueexpr, depth, column);
    column += put(page.stream, " else ");
    column = print_expr(page, expr->args.ite.falseexpr, depth, column);
    return column + put(page.stream, ")");
}

unsigned print_range(Page page, const Expr* expr, int depth, unsigned column) {
    const auto& range = expr->args.range;
    column += put_word(page.stream, operator_text(expr));
    column += put(page.stream, range.lambdavar);
    column += put(page.stream, " in [");
    column = print_expr(page, range.rangebegin, depth, column);
    column += put(page.stream, "..");
    column = print_expr(page, range.rangeend, depth, column);
    column += put(page.stream, "] : (");
    column = print_expr(page, range.lambdaexpr, depth, column);
    return column + put(page.stream, ")");
}

// Each arm starts a line, so the column before the case is ignored.
unsigned print_case(Page page, const Expr* expr, int depth) {
    const auto& caseexpr = expr->args.caseexpr;
    put(page.stream, "case ");
    ppm_print_idcon(page.stream, caseexpr.casevar);
    put(page.stream, " of\n");
    unsigned column = 0;
    const PolyListNode* condition = caseexpr.exprlist_condition->first;
    const PolyListNode* evaluation = caseexpr.exprlist_evaluation->first;
    while (condition && evaluation) {
        column = print_expr(page, static_cast<Expr*>(condition->element), depth, column);
        column += put(page.stream, " then ");
        print_expr(page, static_cast<Expr*>(evaluation->element), depth, column);
        condition = condition->next;
        evaluation = evaluation->next;
        if (!condition || !evaluation) break;
        put(page.stream, "\n| ");
        column = 2;
    }
    column = put(page.stream, "\n| default ");
    print_expr(page, caseexpr.default_expr, depth, column);
    put(page.stream, "\nesac");
    return 4;
}

unsigned print_node(Page page, const Expr* expr, int depth, unsigned column) {
    switch (structure_of(expr)) {
    case EXPR_BINARY: return print_binary(page, expr, depth, column);
    case EXPR_UNARY: return print_unary(page, expr, depth, column);
    case EXPR_IDCONSTRUCTOR: return column + ppm_print_idcon(page.stream, expr->args.idcon);
    case EXPR_INT_CONST: return column + print_int_const(page.stream, expr);
    case EXPR_STRING_CONST: return column + print_string_const(page.stream, expr);
    case EXPR_FLOAT_CONST:
        return column + put(page.stream, util_double_to_str(expr->args.floatconst.value));
    case EXPR_ITE: return print_ite(page, expr, depth, column);
    case EXPR_RANGE: return print_range(page, expr, depth, column);
    case EXPR_CASE: return print_case(page, expr, depth);
    }
    NORVANE_FAIL("Invalid expression structure '%d'", expr->structure);
}

unsigned print_expr(Page page, const Expr* expr, int depth, unsigned column) {
    if (stack_is_low())
        return on_fresh_stack([&] { return print_expr(page, expr, depth, column); });
    NORVANE_ASSERT(expr);
    if (depth == 0) return column + put(page.stream, "...");
    // A negative depth has no limit.
    column = print_node(page, expr, depth < 0 ? depth : depth - 1, column);
    if (!page.wrap || column <= last_column) return column;
    putc_unlocked('\n', page.stream);
    return 0;
}

void print_label(FILE* stream, void* label) {
    ppm_print_id(stream, static_cast<char*>(label));
}

void print_record(FILE* stream, const TypeCon* typecon) {
    const PolyList* rules = typecon->values.prod.rules;
    put(stream, "{\n");
    plist_print(stream, typecon->values.prod.fields, "\n", "", poly<ppm_print_vardecl>);
    if (!plist_isempty(rules)) put(stream, "\nrule\n");
    plist_print(stream, rules, "\n", "\n}", poly<ppm_print_ruledecl>);
}

std::string_view modifier_text(const VarDecl* vardecl) {
    switch (vardecl->vartype) {
    case VARTYPE_PRIVATE: return "private ";
    case VARTYPE_PUBLIC: return "public  ";
    }
    NORVANE_FAIL("Invalid variable type '%d'", static_cast<int>(vardecl->vartype));
}

void print_section(FILE* stream, const char* heading, const PolyList* decls, PolyPrinter printer) {
    if (plist_isempty(decls)) return;
    put(stream, heading);
    plist_print(stream, decls, "\n", "\n\n", printer);
}

} // namespace

unsigned print_int_const(FILE* stream, const Expr* expr) {
    const int value = expr->args.intconst.value;
    if (expr->type == ETYPE_BOOL)
        return put_word(stream, value == 0 ? Word("false") : Word("true"));
    if (expr->type != ETYPE_INT)
        NORVANE_FAIL("Constant expression is not of boolean or integer type");
    if (value >= 0 && value < 10) return put(stream, {&"0123456789"[value], 1});
    char digits[16];
    const Room room = room_in(stream);
    if (!room.holds(sizeof digits))
        return put(stream, {digits, std::to_chars(digits, std::end(digits), value).ptr});
    char* end = std::to_chars(room.begin, room.end, value).ptr;
    stored_up_to(stream, end);
    return static_cast<unsigned>(end - room.begin);
}

} // namespace norvane::model

using namespace norvane;
using namespace norvane::model;

unsigned ppm_printn_expr(FILE* stream, Expr* expr, int depth, unsigned column, int wrap) {
    NORVANE_ASSERT(stream);
    return print_expr({stream, wrap}, expr, depth, column);
}

void ppm_print_expr(FILE* stream, Expr* expr) {
    ppm_printn_expr(stream, expr, -1, 0, 0);
}

void ppm_print_expr_stderr(Expr* expr) {
    ppm_print_expr(stderr, expr);
    put(stderr, "\n");
}

void ppm_printn_expr_str(Expr* expr, UtilString* string, int depth) {
    NORVANE_ASSERT(expr);
    NORVANE_ASSERT(string);
    print_into(string, [&](FILE* stream) { ppm_printn_expr(stream, expr, depth, 0, 0); });
}

void ppm_print_typecon(FILE* stream, TypeCon* typecon) {
    if (stack_is_low()) return on_fresh_stack([&] { ppm_print_typecon(stream, typecon); });
    NORVANE_ASSERT(stream);
    NORVANE_ASSERT(typecon);
    switch (kind_of(typecon)) {
    case TC_BOOL: put(stream, "boolean"); return;
    case TC_INT:
        put(stream, "[0..");
        ppm_print_expr(stream, typecon->values.upper);
        put(stream, "]");
        return;
    case TC_UBOUND_FLOAT: put(stream, "float"); return;
    case TC_UBOUND_INTEGER: put(stream, "integer"); return;
    case TC_STRING: put(stream, "string"); return;
    case TC_PROD: return print_record(stream, typecon);
    case TC_SUM:
        put(stream, "[");
        return plist_print(stream, typecon->values.labels, "\n, ", "\n]", print_label);
    case TC_ARRAY:
        put(stream, "array ");
        ppm_print_expr(stream, typecon->values.array.size);
        put(stream, " of ");
        return ppm_print_typecon(stream, typecon->values.array.element);
    case TC_NAMED: ppm_print_id(stream, typecon->values.name); return;
    case TC_OPTIONAL:
        put(stream, " optional ");
        return ppm_print_typecon(stream, typecon->values.base);
    }
    NORVANE_FAIL("Invalid type constructor '%d'", typecon->contype);
}

void ppm_print_typecon_str(TypeCon* typecon, UtilString* string) {
    NORVANE_ASSERT(typecon);
    NORVANE_ASSERT(string);
    print_into(string, [&](FILE* stream) { ppm_print_typecon(stream, typecon); });
}

void ppm_print_typedecl(FILE* stream, TypeDecl* type_decl) {
    NORVANE_ASSERT(stream);
    NORVANE_ASSERT(type_decl);
    put(stream, " ");
    put(stream, type_decl->name);
    put(stream, " : ");
    ppm_print_typecon(stream, type_decl->typecon);
    put(stream, ";");
}

void ppm_print_vardecl(FILE* stream, VarDecl* vardecl) {
    NORVANE_ASSERT(stream);
    NORVANE_ASSERT(vardecl);
    put(stream, "  ");
    put(stream, modifier_text(vardecl));
    ppm_print_id(stream, vardecl->name);
    put(stream, " : ");
    ppm_print_typecon(stream, vardecl->typecon);
    put(stream, ";");
}

void ppm_print_constantdecl(FILE* stream, ConstantDecl* constantdecl) {
    NORVANE_ASSERT(stream);
    NORVANE_ASSERT(constantdecl);
    put(stream, " ");
    put(stream, constantdecl->name);
    put(stream, " : ");
    ppm_print_expr(stream, constantdecl->value);
    put(stream, ";");
}

void ppm_print_ruledecl(FILE* stream, RuleDecl* ruledecl) {
    NORVANE_ASSERT(stream);
    NORVANE_ASSERT(ruledecl);
    if (ruledecl->source_info) {
        // When this is read back, messages show the name instead of a file and line.
        put(stream, "#line 1 \"#");
        put(stream, ruledecl->source_info);
        put(stream, "\"\n");
    }
    if (ruledecl->comment) {
        put(stream, "/* ");
        put(stream, ruledecl->comment);
        put(stream, " */\n");
    }
    ppm_printn_expr(stream, ruledecl->rule, -1, 0, 1);
    put(stream, ";");
}

void ppm_print_project(FILE* stream, Project* project) {
    NORVANE_ASSERT(stream);
    NORVANE_ASSERT(project);
    put(stream, "/* Project     : ");
    put(stream, project->name);
    put(stream, "\n   Description : ");
    put(stream, project->description ? project->description : "");
    put(stream, "\n*/\n\n");
    fflush(stream);
    print_section(stream, "constant\n\n", project->constantdecllist, poly<ppm_print_constantdecl>);
    print_section(stream, "type\n\n", project->typedecllist, poly<ppm_print_typedecl>);
    print_section(stream, "variable\n\n", project->vardecllist, poly<ppm_print_vardecl>);
    print_section(stream, "rule\n\n", project->ruledecllist, poly<ppm_print_ruledecl>);
    fflush(stream);
}

int proj_export_to_pmfile(Project* project, const char* filename) {
    NORVANE_ASSERT(project);
    NORVANE_ASSERT(filename);
    FILE* stream = fopen(filename, "w");
    if (!stream) {
        report_error(ERR_FILE_OPEN(filename));
        return STATUS_FAILURE;
    }
    ppm_print_project(stream, project);
    fclose(stream);
    return STATUS_SUCCESS;
}
