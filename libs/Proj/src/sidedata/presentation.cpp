// Presentation layers: tables of display texts, and their XML file.

#include "norvane/proj/presentation.h"

#include <cstring>

#include "norvane/base/call_guard.hpp"
#include "norvane/base/except.h"
#include "norvane/proj/proj_errors.h"
#include "poly_adaptors.h"
#include "report.h"
#include "side_data.h"
#include "xml_reading.h"
#include "xml_writing.h"

namespace norvane::sidedata {

namespace {

constexpr unsigned table_size = 32;

PolyHash* new_layer() {
    return phash_new(table_size, poly_compare_string, poly_copy_string, poly_copy_string,
                     poly_hash_string, poly_delete_string, poly_delete_string);
}

const char* find_value(PolyHash* presentation, const char* layer_name, const char* key) {
    PolyHash* layer = pres_get_layer(presentation, layer_name);
    NORVANE_ASSERT(key);
    void* value = nullptr;
    if (!layer || phash_peek(layer, key, &value) != STATUS_SUCCESS) return nullptr;
    return static_cast<const char*>(value);
}

// The document being read, and what was read of it so far.
struct Reader {
    XmlDocument* document;
    PolyHash* presentation;
};

void read_entry(PolyHash* presentation, const char* layer_name, XmlNode* node) {
    XmlNodeIter iter = children_of(node);
    const char* key = xml_parse_mustbe_text_node(xml_parse_mustbe(&iter, "key"));
    const char* value = xml_parse_mustbe_text_node(xml_parse_mustbe(&iter, "value"));
    xml_parse_mustbe_empty(&iter);
    pres_add_key_value_utf8(presentation, layer_name, key, value);
}

void read_layer(PolyHash* presentation, XmlNode* node) {
    const char* name = xml_parse_mustbe_attr_text(node, "name");
    XmlNodeIter iter = children_of(node);
    while (XmlNode* entry = xml_parse_have(&iter, "entry"))
        read_entry(presentation, name, entry);
    xml_parse_mustbe_empty(&iter);
}

void read_presentation(const Reader& reader) {
    XmlNodeIter iter = children_of_root(reader.document, "presentation");
    while (XmlNode* layer = xml_parse_have(&iter, "layer"))
        read_layer(reader.presentation, layer);
    xml_parse_mustbe_empty(&iter);
}

int is_presentation_tag(const char* tag) {
    static constexpr const char* tags[] = {"presentation", "layer", "entry", "key", "value"};
    for (const char* known : tags)
        if (std::strcmp(known, tag) == 0) return 1;
    return 0;
}

int is_utf8_tag(const char* tag) {
    return std::strcmp(tag, "value") == 0;
}

} // namespace

} // namespace norvane::sidedata

using namespace norvane;
using namespace norvane::sidedata;
using NorvaneCpp::String;
using NorvaneCpp::UTF8;

PolyHash* pres_new(void) {
    return phash_new(table_size, poly_compare_string, poly_copy_string, nullptr, poly_hash_string,
                     poly_delete_string, poly<phash_delete>);
}

void pres_delete(PolyHash* presentation) {
    phash_delete(presentation);
}

PolyList* pres_get_layers(PolyHash* presentation) {
    NORVANE_ASSERT(presentation);
    PolyList* names = plist_new(nullptr, nullptr, nullptr);
    PolyHashIter iter;
    void* name;
    phash_iter_init(&iter, presentation);
    while (phash_iter_next(&iter, &name, nullptr))
        plist_append(names, name);
    return names;
}

PolyHash* pres_get_layer(PolyHash* presentation, const char* layer_name) {
    NORVANE_ASSERT(presentation);
    NORVANE_ASSERT(layer_name);
    void* layer = nullptr;
    phash_peek(presentation, layer_name, &layer);
    return static_cast<PolyHash*>(layer);
}

bool pres_get_value(PolyHash* presentation, String& value, const char* layer_name,
                    const char* key) {
    const char* text = find_value(presentation, layer_name, key);
    if (text) value = UTF8::ToCodepage(text, 1252, false);
    return text != nullptr;
}

bool pres_get_value_utf8(PolyHash* presentation, String& value, const char* layer_name,
                         const char* key) {
    const char* text = find_value(presentation, layer_name, key);
    if (text) value = text;
    return text != nullptr;
}

void pres_add_key_value(PolyHash* presentation, const char* layer_name, const char* key,
                        const char* value) {
    NORVANE_ASSERT(presentation);
    NORVANE_ASSERT(layer_name);
    NORVANE_ASSERT(key);
    NORVANE_ASSERT(value);
    const String converted = UTF8::ToUnicode(value);
    pres_add_key_value_utf8(presentation, layer_name, key, converted.GetStr());
}

void pres_add_key_value_utf8(PolyHash* presentation, const char* layer_name, const char* key,
                             const char* value) {
    PolyHash* layer = pres_get_layer(presentation, layer_name);
    NORVANE_ASSERT(key);
    NORVANE_ASSERT(value);
    if (!layer) {
        layer = new_layer();
        phash_insert(presentation, const_cast<char*>(layer_name), layer);
    }
    phash_insert(layer, const_cast<char*>(key), const_cast<char*>(value));
}

void pres_merge(PolyHash* target, PolyHash* source) {
    NORVANE_ASSERT(target);
    NORVANE_ASSERT(source);
    if (target == source) return; // nothing to add, and a table must not change while it is walked
    PolyHashIter layers;
    void* name;
    void* layer;
    phash_iter_init(&layers, source);
    while (phash_iter_next(&layers, &name, &layer)) {
        PolyHashIter entries;
        void* key;
        void* value;
        phash_iter_init(&entries, static_cast<PolyHash*>(layer));
        while (phash_iter_next(&entries, &key, &value))
            pres_add_key_value_utf8(target, static_cast<char*>(name), static_cast<char*>(key),
                                    static_cast<char*>(value));
    }
}

XmlNode* pres_layer_to_xml(PolyHash* presentation, const char* layer_name) {
    PolyHash* layer = pres_get_layer(presentation, layer_name);
    XmlNode* node = xml_node_new_tag("layer");
    set_attributes(node, {{"name", layer_name}});
    if (!layer) return node;
    PolyHashIter iter;
    void* key;
    void* value;
    phash_iter_init(&iter, layer);
    while (phash_iter_next(&iter, &key, &value)) {
        XmlNode* entry = add_element(node, "entry");
        add_text_element(entry, "key", static_cast<char*>(key));
        add_utf8_text_element(entry, "value", static_cast<char*>(value));
    }
    return node;
}

XmlNode* pres_to_xml(PolyHash* presentation) {
    NORVANE_ASSERT(presentation);
    XmlNode* node = xml_node_new_tag("presentation");
    PolyHashIter iter;
    void* name;
    phash_iter_init(&iter, presentation);
    while (phash_iter_next(&iter, &name, nullptr))
        xml_node_add_child(node, pres_layer_to_xml(presentation, static_cast<char*>(name)));
    return node;
}

int pres_export_fileptr(PolyHash* presentation, FILE* stream) {
    NORVANE_ASSERT(presentation);
    NORVANE_ASSERT(stream);
    print_document(stream, "presentation.dtd", pres_to_xml(presentation), "presentation.xsl");
    return STATUS_SUCCESS;
}

int pres_export(PolyHash* presentation, const char* filename) {
    NORVANE_ASSERT(presentation);
    NORVANE_ASSERT(filename);
    return export_to_file(filename,
                          [&](FILE* stream) { return pres_export_fileptr(presentation, stream); });
}

PolyHash* pres_import(const char* filename) {
    const CallGuard guard(__func__);
    NORVANE_ASSERT(filename);
    XmlDocument* document = xml_parse_file_utf(filename, is_presentation_tag, is_utf8_tag);
    if (!document) return nullptr;
    Reader reader{document, pres_new()};
    ExceptionState state;
    const bool has_failed = caught(&state, [&] { read_presentation(reader); });
    xml_delete(document);
    if (!has_failed) return reader.presentation;
    pres_delete(reader.presentation);
    if (state.kind != EXCEPT_MALFORMED_INPUT) except_rethrow(&state);
    report_error(ERR_PRES_PARSER(state.message));
    return nullptr;
}
