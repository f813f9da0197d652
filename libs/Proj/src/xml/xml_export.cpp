// Writes a model as XML.
//
// The whole tree of nodes is built before the file is opened, so that a model which the format
// cannot hold leaves an existing file as it was.

#include "norvane/proj/xml_export.h"

#include <cstdio>

#include "norvane/base/deep.hpp"
#include "norvane/base/except.h"
#include "norvane/base/items.hpp"
#include "norvane/base/util.h"
#include "norvane/base/xml.h"
#include "report.h"
#include "xml_names.h"

namespace norvane {

namespace {

XmlNode* add(XmlNode* parent, const char* tag) {
    XmlNode* node = xml_node_new_tag(tag);
    xml_node_add_child(parent, node);
    return node;
}

XmlNode* add(XmlNode* parent, const char* tag, const char* attribute, const char* value) {
    XmlNode* node = add(parent, tag);
    xml_set_attr(xml_node_alloc_attributes(node, 1), 0, attribute, value);
    return node;
}

void add_text(XmlNode* parent, const char* tag, const char* text) {
    xml_node_add_child(add(parent, tag), xml_node_new_text(text));
}

void write_expr(XmlNode* parent, Expr* expr);
void write_type(XmlNode* parent, TypeCon* typecon);

const char* operator_name(unsigned opr, XmlOperatorUse place, const char* failure) {
    const XmlOperator* row = xml_operator(opr, place);
    if (!row) NORVANE_FAIL("%s", failure);
    return row->name;
}

void write_indices(XmlNode* node, IdCon* idcon) {
    XmlNode* list = add(node, "indexlist");
    for (Expr* index : items<Expr>(idcon->args.array.exprlist))
        write_expr(list, index);
}

XmlNode* write_step(XmlNode* parent, IdCon* step, const char* failure) {
    NORVANE_ASSERT(step);
    if (step->contype != IDCON_SIMPLE && step->contype != IDCON_ARRAY) NORVANE_FAIL("%s", failure);
    XmlNode* node = add(parent, "idcon", "name", step->args.id.idname);
    if (step->contype == IDCON_ARRAY) write_indices(node, step);
    return node;
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

// The operands of a whole tree of one operator, from left to right.
void write_operands(XmlNode* node, Expr* expr, unsigned opr) {
    if (stack_is_low()) return on_fresh_stack([&] { write_operands(node, expr, opr); });
    NORVANE_ASSERT(expr);
    if (expr->structure != EXPR_BINARY || expr->opr != opr) return write_expr(node, expr);
    write_operands(node, expr->args.binargs.leftarg, opr);
    write_operands(node, expr->args.binargs.rightarg, opr);
}

void write_binary(XmlNode* parent, Expr* expr) {
    const XmlOperator* row = xml_operator(expr->opr, XmlOperatorUse::Binary);
    if (!row) NORVANE_FAIL("Invalid binary operator");
    XmlNode* node = add(parent, "op", "opr", row->name);
    if (row->flattened) return write_operands(node, expr, expr->opr);
    write_expr(node, expr->args.binargs.leftarg);
    write_expr(node, expr->args.binargs.rightarg);
}

void write_int_const(XmlNode* parent, Expr* expr) {
    const int value = expr->args.intconst.value;
    if (expr->opr == OPR_BOOLCONST) {
        add(parent, value ? "true" : "false");
        return;
    }
    if (expr->opr != OPR_INTCONST) NORVANE_FAIL("Invalid constant expression");
    char text[50];
    if (std::snprintf(text, sizeof text, "%i", value) <= 0)
        NORVANE_FAIL("Could not convert the value %i to a string", value);
    add(parent, "int_const", "value", text);
}

void write_float_const(XmlNode* parent, Expr* expr) {
    const double value = expr->args.floatconst.value;
    char text[200]; // tried and dropped: the shorter form would not read back as the same number
    if (std::snprintf(text, sizeof text, "%g", value) <= 0)
        NORVANE_FAIL("Could not convert the value %g to a string", value);
    add(parent, "float_const", "value", util_double_to_str(value));
}

void write_range(XmlNode* parent, Expr* expr) {
    const char* name = operator_name(expr->opr, XmlOperatorUse::Range, "Invalid range expression");
    XmlNode* node = add(parent, "range");
    char** attributes = xml_node_alloc_attributes(node, 2);
    xml_set_attr(attributes, 0, "var", expr->args.range.lambdavar);
    xml_set_attr(attributes, 1, "opr", name);
    write_expr(node, expr->args.range.rangebegin);
    write_expr(node, expr->args.range.rangeend);
    write_expr(node, expr->args.range.lambdaexpr);
}

void write_case(XmlNode* parent, Expr* expr) {
    XmlNode* node = add(parent, "case");
    write_idcon(node, expr->args.caseexpr.casevar);
    const PolyListNode* evaluation = expr->args.caseexpr.exprlist_evaluation->first;
    for (Expr* condition : items<Expr>(expr->args.caseexpr.exprlist_condition)) {
        NORVANE_ASSERT(evaluation);
        XmlNode* pattern = add(node, "pattern");
        write_expr(pattern, condition);
        write_expr(pattern, static_cast<Expr*>(evaluation->element));
        evaluation = evaluation->next;
    }
    write_expr(node, expr->args.caseexpr.default_expr);
}

void write_ite(XmlNode* parent, Expr* expr) {
    XmlNode* node = add(parent, "if");
    write_expr(node, expr->args.ite.logictest);
    write_expr(node, expr->args.ite.trueexpr);
    write_expr(node, expr->args.ite.falseexpr);
}

void write_unary(XmlNode* parent, Expr* expr) {
    // The words of a binary operator, here too: callers know the text.
    const char* name = operator_name(expr->opr, XmlOperatorUse::Unary, "Invalid binary operator");
    write_expr(add(parent, "uop", "opr", name), expr->args.arg);
}

void write_expr(XmlNode* parent, Expr* expr) {
    if (stack_is_low()) return on_fresh_stack([&] { write_expr(parent, expr); });
    NORVANE_ASSERT(expr);
    XmlNode* node = add(parent, "expr");
    switch (expr->structure) {
    case EXPR_BINARY: return write_binary(node, expr);
    case EXPR_UNARY: return write_unary(node, expr);
    case EXPR_IDCONSTRUCTOR: return write_idcon(node, expr->args.idcon);
    case EXPR_INT_CONST: return write_int_const(node, expr);
    case EXPR_STRING_CONST: return add_text(node, "string_const", expr->args.str);
    case EXPR_FLOAT_CONST: return write_float_const(node, expr);
    case EXPR_ITE: return write_ite(node, expr);
    case EXPR_RANGE: return write_range(node, expr);
    case EXPR_CASE: return write_case(node, expr);
    }
    NORVANE_FAIL("Invalid expression");
}

void write_vardecl(XmlNode* parent, VarDecl* vardecl) {
    XmlNode* node = add(parent, "vardecl");
    char** attributes = xml_node_alloc_attributes(node, 2);
    xml_set_attr(attributes, 0, "is_private",
                 vardecl->vartype == VARTYPE_PRIVATE ? "true" : "false");
    xml_set_attr(attributes, 1, "name", vardecl->name);
    write_type(node, vardecl->typecon);
}

void write_ruledecl(XmlNode* parent, RuleDecl* ruledecl) {
    write_expr(add(parent, "ruledecl"), ruledecl->rule);
}

void write_record(XmlNode* parent, TypeCon* typecon) {
    XmlNode* node = add(parent, "record");
    for (VarDecl* field : items<VarDecl>(typecon->values.prod.fields))
        write_vardecl(node, field);
    for (RuleDecl* rule : items<RuleDecl>(typecon->values.prod.rules))
        write_ruledecl(node, rule);
}

void write_enum(XmlNode* parent, TypeCon* typecon) {
    XmlNode* list = add(add(parent, "enum"), "stringlist");
    for (const char* label : items<char>(typecon->values.labels))
        add_text(list, "string", label);
}

void write_array(XmlNode* parent, TypeCon* typecon) {
    XmlNode* node = add(parent, "array");
    write_expr(node, typecon->values.array.size);
    write_type(node, typecon->values.array.element);
}

void write_type(XmlNode* parent, TypeCon* typecon) {
    if (stack_is_low()) return on_fresh_stack([&] { write_type(parent, typecon); });
    NORVANE_ASSERT(typecon);
    XmlNode* node = add(parent, "type");
    switch (typecon->contype) {
    case TC_BOOL: add(node, "bool"); return;
    case TC_INT: return write_expr(add(node, "subrange"), typecon->values.upper);
    case TC_UBOUND_FLOAT: add(node, "float"); return;
    case TC_UBOUND_INTEGER: add(node, "integer"); return;
    case TC_STRING: add(node, "string"); return;
    case TC_PROD: return write_record(node, typecon);
    case TC_SUM: return write_enum(node, typecon);
    case TC_ARRAY: return write_array(node, typecon);
    case TC_NAMED: add(node, "nametype", "name", typecon->values.name); return;
    case TC_OPTIONAL: return write_type(add(node, "optional"), typecon->values.base);
    }
    NORVANE_FAIL("Invalid type constructor type '%d'", typecon->contype);
}

XmlNode* write_model(Project* project) {
    XmlNode* model = xml_node_new_tag("model");
    for (ConstantDecl* constant : items<ConstantDecl>(project->constantdecllist))
        write_expr(add(model, "constantdecl", "name", constant->name), constant->value);
    for (TypeDecl* type : items<TypeDecl>(project->typedecllist))
        write_type(add(model, "typedecl", "name", type->name), type->typecon);
    for (VarDecl* variable : items<VarDecl>(project->vardecllist))
        write_vardecl(model, variable);
    for (RuleDecl* rule : items<RuleDecl>(project->ruledecllist))
        write_ruledecl(model, rule);
    return model;
}

} // namespace

} // namespace norvane

using namespace norvane;

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
