// How this library's writers of XML add elements, attributes and texts to a document's tree.
#ifndef NORVANE_PROJ_XML_WRITING_H
#define NORVANE_PROJ_XML_WRITING_H

#include <cstdio>
#include <initializer_list>

#include "norvane/base/strings.h"
#include "norvane/base/xml.h"

namespace norvane {

// An attribute to write; both texts are borrowed and copied.
struct XmlAttribute {
    const char* name;
    const char* value;
    bool is_utf8 = false; // the value is in UTF-8, not in code page 1252
};

// Sets the attribute with this index, and keeps those before it.
inline void set_attribute(XmlNode* node, int index, const XmlAttribute& attribute) {
    char** slots = xml_node_alloc_attributes(node, index + 1);
    const auto set = attribute.is_utf8 ? xml_set_attr_utf8 : xml_set_attr;
    set(slots, index, attribute.name, attribute.value);
}

inline void set_attributes(XmlNode* node, std::initializer_list<XmlAttribute> attributes) {
    if (attributes.size() == 0) return;
    xml_node_alloc_attributes(node, static_cast<int>(attributes.size())); // all of them at once
    int index = 0;
    for (const XmlAttribute& attribute : attributes)
        set_attribute(node, index++, attribute);
}

// Appends a new element to `parent`, which owns it, and returns it.
inline XmlNode* add_element(XmlNode* parent, const char* tag,
                            std::initializer_list<XmlAttribute> attributes = {}) {
    XmlNode* node = xml_node_new_tag(tag);
    xml_node_add_child(parent, node);
    set_attributes(node, attributes);
    return node;
}

// Appends an element that holds a text, in code page 1252 or in UTF-8.
inline void add_text_element(XmlNode* parent, const char* tag, const char* text) {
    xml_node_add_child(add_element(parent, tag), xml_node_new_text(text));
}
inline void add_utf8_text_element(XmlNode* parent, const char* tag, const char* text) {
    xml_node_add_child(add_element(parent, tag), xml_node_new_utf8_text(text));
}

// Prints a document with this root, which it takes over.
inline void print_document(std::FILE* stream, const char* dtd, XmlNode* root, const char* xsl) {
    XmlDocument* document = xml_new(dtd, root, xsl);
    xml_print_indented(document, stream);
    xml_delete(document);
}

// The decimal text of an integer, for an attribute.
struct DecimalText {
    char text[16];
    explicit DecimalText(int value) { str_snprintf(text, sizeof text, "%d", value); }
};

} // namespace norvane

#endif
