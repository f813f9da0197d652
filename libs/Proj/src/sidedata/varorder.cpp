// Variable orders: a list of names, and its XML file.

#include "norvane/proj/varorder.h"

#include <cstring>

#include "norvane/base/call_guard.hpp"
#include "norvane/base/except.h"
#include "norvane/base/items.hpp"
#include "norvane/base/set.h"
#include "norvane/proj/proj_errors.h"
#include "report.h"
#include "side_data.h"
#include "xml_reading.h"
#include "xml_writing.h"

namespace norvane::sidedata {

namespace {

struct Reader {
    XmlDocument* document;
    PolyList* order;
    PolySet* seen;
};

void read_variable(const Reader& reader, XmlNode* node) {
    const char* name = xml_parse_mustbe_text_node(node);
    if (pset_peek(reader.seen, name, nullptr) == STATUS_SUCCESS)
        return report(ERROR_TYPE_WARNING, ERR_VARORDER_DUPLICATE_VAR(name));
    pset_insert(reader.seen, const_cast<char*>(name));
    var_order_add_variable(reader.order, name);
}

void read_order(const Reader& reader) {
    XmlNodeIter iter = children_of_root(reader.document, "var_order");
    while (XmlNode* node = xml_parse_have(&iter, "var"))
        read_variable(reader, node);
    xml_parse_mustbe_empty(&iter);
}

int is_order_tag(const char* tag) {
    return std::strcmp(tag, "var_order") == 0 || std::strcmp(tag, "var") == 0;
}

} // namespace

} // namespace norvane::sidedata

using namespace norvane;
using namespace norvane::sidedata;

PolyList* var_order_new(void) {
    return plist_new(poly_compare_string, poly_copy_string, poly_delete_string);
}

void var_order_delete(PolyList* order) {
    plist_delete(order);
}

void var_order_add_variable(PolyList* order, const char* name) {
    NORVANE_ASSERT(order);
    NORVANE_ASSERT(name);
    plist_append(order, const_cast<char*>(name));
}

int var_order_export_fileptr(PolyList* order, FILE* stream) {
    NORVANE_ASSERT(order);
    NORVANE_ASSERT(stream);
    XmlNode* root = xml_node_new_tag("var_order");
    for (const char* name : items<char>(order))
        add_text_element(root, "var", name);
    print_document(stream, "varorder.dtd", root, "varorder.xsl");
    return STATUS_SUCCESS;
}

int var_order_export(PolyList* order, const char* filename) {
    NORVANE_ASSERT(order);
    NORVANE_ASSERT(filename);
    return export_to_file(filename,
                          [&](FILE* stream) { return var_order_export_fileptr(order, stream); });
}

PolyList* var_order_import(const char* filename) {
    const CallGuard guard(__func__);
    NORVANE_ASSERT(filename);
    XmlDocument* document = xml_parse_file(filename, is_order_tag);
    if (!document) return nullptr;
    Reader reader{
        document, var_order_new(),
        pset_new(100, poly_compare_string, poly_copy_string, poly_hash_string, poly_delete_string)};
    ExceptionState state;
    const bool has_failed = caught(&state, [&] { read_order(reader); });
    xml_delete(document);
    pset_delete(reader.seen);
    if (!has_failed) return reader.order;
    var_order_delete(reader.order);
    if (state.kind != EXCEPT_MALFORMED_INPUT) except_rethrow(&state);
    report_error(ERR_VARORDER_PARSER(state.message));
    return nullptr;
}
