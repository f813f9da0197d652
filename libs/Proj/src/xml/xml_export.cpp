// Writes a model as XML.
//
// The tree of nodes is built before the file is opened, so that a model that the format cannot hold
// leaves an existing file unchanged.

#include "norvane/proj/xml_export.h"

#include <cstdio>

#include "norvane/base/deep.hpp"
#include "norvane/base/except.h"
#include "norvane/base/items.hpp"
#include "norvane/base/util.h"
#include "norvane/base/work.h"
#include "norvane/base/xml.h"
#include "report.h"
#include "tags.h"
#include "xml_names.h"
#include "xml_writing.h"

namespace norvane::xml {
namespace {

using model::kind_of;
using model::structure_of;

void write_expr(XmlNode* parent, Expr* expr);
void write_type(XmlNode* parent, TypeCon* typecon);

const char* operator_name(unsigned opr, OperatorUse place, const char* failure) {
    const Operator* row = find_operator(opr, place);
    if (!row) NORVANE_FAIL("%s", failure);
    return row->name;
}

void write_indices(XmlNode* node, IdCon* idcon) {
    XmlNode* list = add_element(node, "indexlist");
    for (Expr* index : items<Expr>(idcon->args.array.exprlist))
        write_expr(list, index);
}

XmlNode* write_step(XmlNode* parent, IdCon* step, const char* failure) {
    NORVANE_ASSERT(step);
    switch (kind_of(step)) {
    case IDCON_SIMPLE: return add_element(parent, "idcon", {{"name", step->args.id.idname}});
    case IDCON_ARRAY: {
        XmlNode* node = add_element(parent, "idcon", {{"name", step->args.array.idname}});
        write_indices(node, step);
        return node;
    }
    case IDCON_COMPOSIT: break;
    }
    NORVANE_FAIL("%s", failure);
}

// Each step of a path nests the rest in its element.
void write_idcon(XmlNode* parent, IdCon* idcon) {
    NORVANE_ASSERT(idcon);
    while (idcon->contype == IDCON_COMPOSIT) {
        parent =
            write_step(parent, idcon->args.compositid.hier, "Invalid id constructor in record");
        idcon = idcon->args.compositid.nested;
        NORVANE_ASSERT(idcon);
    }
    write_step(parent, idcon, "Invalid id constructor");
}

// Writes the operands of a tree of one operator side by side, from left to right.
void write_operands(XmlNode* node, Expr* expr, unsigned opr) {
    if (stack_is_low()) return on_fresh_stack([&] { write_operands(node, expr, opr); });
    NORVANE_ASSERT(expr);
    if (expr->structure != EXPR_BINARY || expr->opr != opr) return write_expr(node, expr);
    write_operands(node, expr->args.binargs.leftarg, opr);
    write_operands(node, expr->args.binargs.rightarg, opr);
}

void write_binary(XmlNode* parent, Expr* expr) {
    const Operator* row = find_operator(expr->opr, OperatorUse::binary);
    if (!row) NORVANE_FAIL("Invalid binary operator");
    XmlNode* node = add_element(parent, "op", {{"opr", row->name}});
    if (row->flattened) return write_operands(node, expr, expr->opr);
    write_expr(node, expr->args.binargs.leftarg);
    write_expr(node, expr->args.binargs.rightarg);
}

void write_int_const(XmlNode* parent, Expr* expr) {
    const int value = expr->args.intconst.value;
    if (expr->opr == OPR_BOOLCONST) {
        add_element(parent, value ? "true" : "false");
        return;
    }
    if (expr->opr != OPR_INTCONST) NORVANE_FAIL("Invalid constant expression");
    add_element(parent, "int_const", {{"value", DecimalText(value).text}});
}

void write_float_const(XmlNode* parent, Expr* expr) {
    const char* text = util_double_to_str(expr->args.floatconst.value);
    add_element(parent, "float_const", {{"value", text}});
}

void write_range(XmlNode* parent, Expr* expr) {
    const char* name = operator_name(expr->opr, OperatorUse::range, "Invalid range expression");
    XmlNode* node =
        add_element(parent, "range", {{"var", expr->args.range.lambdavar}, {"opr", name}});
    write_expr(node, expr->args.range.rangebegin);
    write_expr(node, expr->args.range.rangeend);
    write_expr(node, expr->args.range.lambdaexpr);
}

void write_case(XmlNode* parent, Expr* expr) {
    XmlNode* node = add_element(parent, "case");
    write_idcon(node, expr->args.caseexpr.casevar);
    const PolyListNode* evaluation = expr->args.caseexpr.exprlist_evaluation->first;
    for (Expr* condition : items<Expr>(expr->args.caseexpr.exprlist_condition)) {
        NORVANE_ASSERT(evaluation);
        XmlNode* pattern = add_element(node, "pattern");
        write_expr(pattern, condition);
        write_expr(pattern, static_cast<Expr*>(evaluation->element));
        evaluation = evaluation->next;
    }
    write_expr(node, expr->args.caseexpr.default_expr);
}

void write_ite(XmlNode* parent, Expr* expr) {
    XmlNode* node = add_element(parent, "if");
    write_expr(node, expr->args.ite.logictest);
    write_expr(node, expr->args.ite.trueexpr);
    write_expr(node, expr->args.ite.falseexpr);
}

void write_unary(XmlNode* parent, Expr* expr) {
    // The text speaks of a binary operator here too, because callers match it.
    const char* name = operator_name(expr->opr, OperatorUse::unary, "Invalid binary operator");
    write_expr(add_element(parent, "uop", {{"opr", name}}), expr->args.arg);
}

void write_expr(XmlNode* parent, Expr* expr) {
    if (stack_is_low()) return on_fresh_stack([&] { write_expr(parent, expr); });
    NORVANE_ASSERT(expr);
    XmlNode* node = add_element(parent, "expr");
    switch (structure_of(expr)) {
    case EXPR_BINARY: return write_binary(node, expr);
    case EXPR_UNARY: return write_unary(node, expr);
    case EXPR_IDCONSTRUCTOR: return write_idcon(node, expr->args.idcon);
    case EXPR_INT_CONST: return write_int_const(node, expr);
    case EXPR_STRING_CONST: return add_text_element(node, "string_const", expr->args.str);
    case EXPR_FLOAT_CONST: return write_float_const(node, expr);
    case EXPR_ITE: return write_ite(node, expr);
    case EXPR_RANGE: return write_range(node, expr);
    case EXPR_CASE: return write_case(node, expr);
    }
    NORVANE_FAIL("Invalid expression");
}

void write_vardecl(XmlNode* parent, VarDecl* vardecl) {
    const WorkingOn mark(WORK_VARIABLE, vardecl);
    const char* is_private = vardecl->vartype == VARTYPE_PRIVATE ? "true" : "false";
    XmlNode* node =
        add_element(parent, "vardecl", {{"is_private", is_private}, {"name", vardecl->name}});
    write_type(node, vardecl->typecon);
}

void write_ruledecl(XmlNode* parent, RuleDecl* ruledecl) {
    const WorkingOn mark(WORK_RULE, ruledecl);
    write_expr(add_element(parent, "ruledecl"), ruledecl->rule);
}

void write_record(XmlNode* parent, TypeCon* typecon) {
    XmlNode* node = add_element(parent, "record");
    for (VarDecl* field : items<VarDecl>(typecon->values.prod.fields))
        write_vardecl(node, field);
    for (RuleDecl* rule : items<RuleDecl>(typecon->values.prod.rules))
        write_ruledecl(node, rule);
}

void write_enum(XmlNode* parent, TypeCon* typecon) {
    XmlNode* list = add_element(add_element(parent, "enum"), "stringlist");
    for (const char* label : items<char>(typecon->values.labels))
        add_text_element(list, "string", label);
}

void write_array(XmlNode* parent, TypeCon* typecon) {
    XmlNode* node = add_element(parent, "array");
    write_expr(node, typecon->values.array.size);
    write_type(node, typecon->values.array.element);
}

void write_type(XmlNode* parent, TypeCon* typecon) {
    if (stack_is_low()) return on_fresh_stack([&] { write_type(parent, typecon); });
    NORVANE_ASSERT(typecon);
    XmlNode* node = add_element(parent, "type");
    switch (kind_of(typecon)) {
    case TC_BOOL: add_element(node, "bool"); return;
    case TC_INT: return write_expr(add_element(node, "subrange"), typecon->values.upper);
    case TC_UBOUND_FLOAT: add_element(node, "float"); return;
    case TC_UBOUND_INTEGER: add_element(node, "integer"); return;
    case TC_STRING: add_element(node, "string"); return;
    case TC_PROD: return write_record(node, typecon);
    case TC_SUM: return write_enum(node, typecon);
    case TC_ARRAY: return write_array(node, typecon);
    case TC_NAMED: add_element(node, "nametype", {{"name", typecon->values.name}}); return;
    case TC_OPTIONAL: return write_type(add_element(node, "optional"), typecon->values.base);
    }
    NORVANE_FAIL("Invalid type constructor type '%d'", typecon->contype);
}

XmlNode* write_model(Project* project) {
    XmlNode* model = xml_node_new_tag("model");
    for (ConstantDecl* constant : items<ConstantDecl>(project->constantdecllist)) {
        const WorkingOn mark(WORK_CONSTANT, constant);
        write_expr(add_element(model, "constantdecl", {{"name", constant->name}}), constant->value);
    }
    for (TypeDecl* type : items<TypeDecl>(project->typedecllist)) {
        const WorkingOn mark(WORK_TYPE, type);
        write_type(add_element(model, "typedecl", {{"name", type->name}}), type->typecon);
    }
    for (VarDecl* variable : items<VarDecl>(project->vardecllist))
        write_vardecl(model, variable);
    for (RuleDecl* rule : items<RuleDecl>(project->ruledecllist))
        write_ruledecl(model, rule);
    return model;
}

} // namespace
} // namespace norvane::xml

using namespace norvane;
using namespace norvane::xml;

int proj_export_to_xmlfile(Project* project, const char* filename) {
    NORVANE_ASSERT(project);
    NORVANE_ASSERT(filename);
    XmlDocument* document = xml_new("product_model.dtd", write_model(project), nullptr);
    FILE* stream = std::fopen(filename, "we");
    if (!stream) {
        report_error(ERR_FILE_OPEN_WRITE(filename));
        xml_delete(document);
        return STATUS_FAILURE;
    }
    xml_print_indented(document, stream);
    std::fclose(stream);
    xml_delete(document);
    return STATUS_SUCCESS;
}
