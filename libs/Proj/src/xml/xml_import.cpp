// Reads a model from XML: walks over the parsed document inside a catching frame.
//
// The checking iterators throw where they find a fault in the file, and a throw runs no
// destructors. So a tree that waits for more of the file to be read is held on a stack of the
// reader, which proj_import_from_xmlfile clears after a throw.

#include "norvane/proj/xml_import.h"

#include "norvane/base/array.hpp"
#include "norvane/base/call_guard.hpp"
#include "norvane/base/deep.hpp"
#include "norvane/base/except.h"
#include "norvane/base/strings.h"
#include "poly_adaptors.h"
#include "report.h"
#include "xml_names.h"
#include "xml_reading.h"

namespace norvane::xml {
namespace {

// The trees that have no owner yet, innermost last.
class Held {
  public:
    template <auto remove, typename T>
    T* hold(T* tree) {
        entries_.push({tree, poly<remove>});
        return tree;
    }
    // The tree held last has become a part of this one, which takes its place.
    void replace(void* tree) { entries_.last().tree = tree; }
    // The trees held last are given to an owner before anything can throw.
    void release(unsigned count = 1) { entries_.truncate(entries_.size() - count); }
    // Frees the trees that are still held.
    void clear() {
        while (!entries_.empty()) {
            const Entry entry = entries_.last();
            entries_.pop();
            entry.remove(entry.tree);
        }
        entries_.release();
    }

  private:
    struct Entry {
        void* tree;
        PolyDelete remove;
    };
    Array<Entry> entries_;
};

struct Reader {
    const char* filename;
    XmlDocument* document;
    Project* project;
    Held held;
};

Expr* read_expr(Reader* r, XmlNode* node);
TypeCon* read_type(Reader* r, XmlNode* node);

unsigned line(const XmlNode* node) {
    return xml_node_get_line(node);
}

Expr* read_next_expr(Reader* r, XmlNodeIter* iter) {
    return read_expr(r, xml_parse_mustbe(iter, "expr"));
}

const Operator* read_operator(XmlNode* node, OperatorUse use, const char* failure) {
    const char* name = xml_parse_mustbe_attr_text(node, "opr");
    const Operator* row = find_operator(name, use);
    if (!row) xml_parse_report_error(node, "%s : %s", failure, name);
    return row;
}

constexpr const char* invalid_operator = "Invalid operator in expression node";
constexpr const char* invalid_range_operator = "Invalid operator in range expression node";

PolyList* read_indices(Reader* r, XmlNode* node) {
    PolyList* indices = r->held.hold<plist_delete>(plist_new(nullptr, nullptr, poly<expr_delete>));
    XmlNodeIter iter = children_of(node);
    while (XmlNode* child = xml_parse_have(&iter, "expr"))
        plist_append(indices, read_expr(r, child));
    xml_parse_mustbe_empty(&iter);
    r->held.release();
    return indices;
}

// Children after the nested path are ignored without a report.
IdCon* read_idcon(Reader* r, XmlNode* node) {
    if (stack_is_low()) return on_fresh_stack([&] { return read_idcon(r, node); });
    const char* name = xml_parse_mustbe_attr_text(node, "name");
    XmlNodeIter iter = children_of(node);
    XmlNode* list = xml_parse_have(&iter, "indexlist");
    PolyList* indices = list ? read_indices(r, list) : nullptr;
    IdCon* head = indices ? expr_new_arrayid(str_copy(name), indices, line(node))
                          : expr_new_simpleid(str_copy(name), line(node));
    XmlNode* rest = xml_parse_have(&iter, "idcon");
    if (!rest) return head;
    r->held.hold<expr_delete_idcon>(head);
    IdCon* nested = read_idcon(r, rest);
    r->held.release();
    return expr_new_compositid(head, nested, line(rest));
}

Expr* read_binary(Reader* r, XmlNode* node) {
    const Operator* row = read_operator(node, OperatorUse::binary, invalid_operator);
    XmlNodeIter iter = children_of(node);
    Expr* chain = nullptr;
    unsigned count = 0;
    while (XmlNode* child = xml_parse_have(&iter, "expr")) {
        Expr* operand = read_expr(r, child);
        if (count++ == 0) {
            chain = r->held.hold<expr_delete>(operand);
        } else {
            chain = expr_new_binary(row->opr, chain, operand, line(node));
            r->held.replace(chain);
        }
    }
    if (count < 2)
        xml_parse_report_error(node, "Expression expects at least two expressions as argument");
    xml_parse_mustbe_empty(&iter);
    r->held.release();
    return chain;
}

Expr* read_only_expr(Reader* r, XmlNode* node) {
    XmlNodeIter iter = children_of(node);
    Expr* expr = r->held.hold<expr_delete>(read_next_expr(r, &iter));
    xml_parse_mustbe_empty(&iter);
    r->held.release();
    return expr;
}

Expr* read_unary(Reader* r, XmlNode* node) {
    const Operator* row = read_operator(node, OperatorUse::unary, invalid_operator);
    return expr_new_unary(row->opr, read_only_expr(r, node), line(node));
}

// Reads the three operands of a conditional or a loop.
void read_three(Reader* r, XmlNode* node, Expr* operands[3]) {
    XmlNodeIter iter = children_of(node);
    for (int i = 0; i < 3; ++i)
        operands[i] = r->held.hold<expr_delete>(read_next_expr(r, &iter));
    xml_parse_mustbe_empty(&iter);
    r->held.release(3);
}

Expr* read_ite(Reader* r, XmlNode* node) {
    Expr* operands[3];
    read_three(r, node, operands);
    return expr_new_ite(operands[0], operands[1], operands[2], line(node));
}

Expr* read_range(Reader* r, XmlNode* node) {
    const char* variable = xml_parse_mustbe_attr_text(node, "var");
    const Operator* row = read_operator(node, OperatorUse::range, invalid_range_operator);
    Expr* operands[3];
    read_three(r, node, operands);
    return expr_new_range(row->opr, str_copy(variable), operands[0], operands[1], operands[2],
                          line(node));
}

void read_pattern(Reader* r, XmlNode* node, PolyList* conditions, PolyList* evaluations) {
    XmlNodeIter iter = children_of(node);
    plist_append(conditions, read_next_expr(r, &iter));
    plist_append(evaluations, read_next_expr(r, &iter));
    xml_parse_mustbe_empty(&iter);
}

Expr* read_case(Reader* r, XmlNode* node) {
    XmlNodeIter iter = children_of(node);
    IdCon* selector =
        r->held.hold<expr_delete_idcon>(read_idcon(r, xml_parse_mustbe(&iter, "idcon")));
    PolyList* conditions =
        r->held.hold<plist_delete>(plist_new(nullptr, nullptr, poly<expr_delete>));
    PolyList* evaluations =
        r->held.hold<plist_delete>(plist_new(nullptr, nullptr, poly<expr_delete>));
    while (XmlNode* pattern = xml_parse_have(&iter, "pattern"))
        read_pattern(r, pattern, conditions, evaluations);
    Expr* otherwise = r->held.hold<expr_delete>(read_next_expr(r, &iter));
    xml_parse_mustbe_empty(&iter);
    r->held.release(4);
    return expr_new_case(selector, conditions, evaluations, otherwise, line(node));
}

Expr* read_int_const(XmlNode* node, unsigned linenumber) {
    const char* text = xml_parse_mustbe_attr_text(node, "value");
    return expr_new_intconst(OPR_INTCONST, str_to_int(text), linenumber);
}

Expr* read_float_const(XmlNode* node, unsigned linenumber) {
    const char* text = xml_parse_mustbe_attr_text(node, "value");
    return expr_new_floatconst(str_to_double(text), linenumber);
}

Expr* read_bool_const(int value, unsigned linenumber) {
    return expr_new_intconst(OPR_BOOLCONST, value, linenumber);
}

// Reads an expression of the first kind in this order that the element has a child for. Other
// children are ignored without a report.
Expr* read_expr(Reader* r, XmlNode* node) {
    if (stack_is_low()) return on_fresh_stack([&] { return read_expr(r, node); });
    XmlNodeIter iter = children_of(node);
    const unsigned at = line(node);
    if (XmlNode* n = xml_parse_have(&iter, "idcon")) return expr_new_idcon(read_idcon(r, n), at);
    if (XmlNode* n = xml_parse_have(&iter, "int_const")) return read_int_const(n, at);
    if (XmlNode* n = xml_parse_have(&iter, "float_const")) return read_float_const(n, at);
    if (XmlNode* n = xml_parse_have(&iter, "string_const"))
        return expr_new_stringconst(xml_parse_mustbe_text_node(n), at);
    if (xml_parse_have(&iter, "true")) return read_bool_const(1, at);
    if (xml_parse_have(&iter, "false")) return read_bool_const(0, at);
    if (XmlNode* n = xml_parse_have(&iter, "range")) return read_range(r, n);
    if (XmlNode* n = xml_parse_have(&iter, "case")) return read_case(r, n);
    if (XmlNode* n = xml_parse_have(&iter, "if")) return read_ite(r, n);
    if (XmlNode* n = xml_parse_have(&iter, "uop")) return read_unary(r, n);
    if (XmlNode* n = xml_parse_have(&iter, "op")) return read_binary(r, n);
    xml_parse_report_error(node, "No valid tags found for expression");
}

// Reads the type that is the last child.
TypeCon* read_last_type(Reader* r, XmlNodeIter* iter) {
    TypeCon* type = r->held.hold<tc_delete_typecon>(read_type(r, xml_parse_mustbe(iter, "type")));
    xml_parse_mustbe_empty(iter);
    r->held.release();
    return type;
}

TypeCon* read_only_type(Reader* r, XmlNode* node) {
    XmlNodeIter iter = children_of(node);
    return read_last_type(r, &iter);
}

VarDecl* read_vardecl(Reader* r, XmlNode* node) {
    const char* is_private = xml_parse_mustbe_attr_text(node, "is_private");
    const VarType vartype = str_is_equal(is_private, "true") ? VARTYPE_PRIVATE : VARTYPE_PUBLIC;
    const char* name = xml_parse_mustbe_attr_text(node, "name");
    TypeCon* type = read_only_type(r, node);
    return decl_new_vardecl(str_copy(name), vartype, type, line(node));
}

RuleDecl* read_ruledecl(Reader* r, XmlNode* node) {
    return decl_new_ruledecl(read_only_expr(r, node), nullptr, line(node));
}

TypeCon* read_record(Reader* r, XmlNode* node) {
    TypeCon* record = r->held.hold<tc_delete_typecon>(tc_new_prod_tc(line(node)));
    XmlNodeIter iter = children_of(node);
    while (XmlNode* child = xml_parse_have(&iter, "vardecl"))
        plist_append(record->values.prod.fields, read_vardecl(r, child));
    while (XmlNode* child = xml_parse_have(&iter, "ruledecl"))
        plist_append(record->values.prod.rules, read_ruledecl(r, child));
    xml_parse_mustbe_empty(&iter);
    r->held.release();
    return record;
}

TypeCon* read_enum(Reader* r, XmlNode* node) {
    TypeCon* sum = r->held.hold<tc_delete_typecon>(tc_new_sum_tc(line(node)));
    XmlNodeIter iter = children_of(node);
    XmlNodeIter labels = children_of(xml_parse_mustbe(&iter, "stringlist"));
    while (XmlNode* child = xml_parse_have(&labels, "string"))
        tc_add_label_to_sum(sum, str_copy(xml_parse_mustbe_text_node(child)));
    xml_parse_mustbe_empty(&labels);
    xml_parse_mustbe_empty(&iter);
    r->held.release();
    return sum;
}

TypeCon* read_array(Reader* r, XmlNode* node) {
    XmlNodeIter iter = children_of(node);
    Expr* size = r->held.hold<expr_delete>(read_next_expr(r, &iter));
    TypeCon* element = read_last_type(r, &iter);
    r->held.release();
    return tc_new_array_tc(size, element, line(node));
}

TypeCon* read_optional(Reader* r, XmlNode* node) {
    return tc_new_optional_tc(read_only_type(r, node), line(node));
}

// Reads a type of the first kind in this order that the element has a child for. The last kind is
// required, so the report about a wrong child says that an optional is expected.
TypeCon* read_type(Reader* r, XmlNode* node) {
    if (stack_is_low()) return on_fresh_stack([&] { return read_type(r, node); });
    XmlNodeIter iter = children_of(node);
    if (XmlNode* n = xml_parse_have(&iter, "bool")) return tc_new_bool_tc(line(n));
    if (XmlNode* n = xml_parse_have(&iter, "float")) return tc_new_float_tc(line(n));
    if (XmlNode* n = xml_parse_have(&iter, "integer")) return tc_new_integer_tc(line(n));
    if (xml_parse_have(&iter, "string")) return tc_new_string_tc(line(node));
    if (XmlNode* n = xml_parse_have(&iter, "subrange"))
        return tc_new_subrange_tc(read_only_expr(r, n), line(n));
    if (XmlNode* n = xml_parse_have(&iter, "array")) return read_array(r, n);
    if (XmlNode* n = xml_parse_have(&iter, "record")) return read_record(r, n);
    if (XmlNode* n = xml_parse_have(&iter, "enum")) return read_enum(r, n);
    if (XmlNode* n = xml_parse_have(&iter, "nametype"))
        return tc_new_named_tc(str_copy(xml_parse_mustbe_attr_text(n, "name")), line(n));
    return read_optional(r, xml_parse_mustbe(&iter, "optional"));
}

ConstantDecl* read_constantdecl(Reader* r, XmlNode* node) {
    const char* name = xml_parse_mustbe_attr_text(node, "name");
    Expr* value = read_only_expr(r, node);
    return decl_new_constantdecl(str_copy(name), value, line(node));
}

TypeDecl* read_typedecl(Reader* r, XmlNode* node) {
    const char* name = xml_parse_mustbe_attr_text(node, "name");
    TypeCon* type = read_only_type(r, node);
    return decl_new_typedecl(str_copy(name), type, line(node));
}

struct Declaration {
    const char* tag;
    void (*read)(Reader* r, XmlNode* node);
};

constexpr Declaration declarations[] = {
    {"constantdecl",
     [](Reader* r, XmlNode* n) { proj_add_constantdecl(r->project, read_constantdecl(r, n)); }},
    {"typedecl", [](Reader* r, XmlNode* n) { proj_add_typedecl(r->project, read_typedecl(r, n)); }},
    {"vardecl", [](Reader* r, XmlNode* n) { proj_add_vardecl(r->project, read_vardecl(r, n)); }},
    {"ruledecl", [](Reader* r, XmlNode* n) { proj_add_ruledecl(r->project, read_ruledecl(r, n)); }},
};

// Reads the next declaration, of any kind; false if none follows.
bool read_declaration(Reader* r, XmlNodeIter* iter) {
    for (const auto& [tag, read] : declarations) {
        XmlNode* node = xml_parse_have(iter, tag);
        if (!node) continue;
        read(r, node);
        return true;
    }
    return false;
}

void read_model(void* user) {
    auto* r = static_cast<Reader*>(user);
    XmlNodeIter iter = children_of_root(r->document, "model");
    r->project = proj_new_project(str_copy(r->filename), nullptr, str_copy(r->filename));
    bool found = true;
    while (found)
        found = read_declaration(r, &iter);
    xml_parse_mustbe_empty(&iter);
}

} // namespace
} // namespace norvane::xml

using namespace norvane;
using namespace norvane::xml;

Project* proj_import_from_xmlfile(const char* filename) {
    const CallGuard guard(__func__);
    NORVANE_ASSERT(filename);
    XmlDocument* document = xml_parse_file(filename, is_any_tag);
    if (!document) return nullptr;
    Reader reader{filename, document, nullptr, Held()};
    ExceptionState state;
    const int caught = except_catch(read_model, &reader, &state);
    reader.held.clear();
    xml_delete(document);
    if (!caught) return reader.project;
    if (reader.project) proj_delete(reader.project);
    if (state.kind != EXCEPT_MALFORMED_INPUT) except_rethrow(&state);
    report_error(ERR_XML_PARSER(state.message));
    return nullptr;
}
