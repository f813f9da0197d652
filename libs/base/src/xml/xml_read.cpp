// Walks a parsed XML tree: the checking iterators of readers.
//
// If the tree is not as required they throw EXCEPT_MALFORMED_INPUT with a text that names what was
// expected and the line. The reader that catches it makes a report.

#include <cstdarg>
#include <cstring>

#include "norvane/base/except.h"
#include "norvane/base/strings.h"
#include "norvane/base/xml.h"
#include "xml_node.h"

namespace norvane::xml {
namespace {

bool is_blank_text(const XmlNode* node) {
    if (node->tag) return false;
    for (const char* c = node->text; *c; ++c)
        if (!is_xml_blank(*c)) return false;
    return true;
}

void skip_blanks(XmlNodeIter* iter) {
    if (!iter->skip_blank_texts) return;
    while (iter->current && is_blank_text(iter->current))
        iter->current = iter->current->next;
}

void advance(XmlNodeIter* iter) {
    iter->current = iter->current->next;
    skip_blanks(iter);
}

// What is at the cursor, for a message.
const char* found(const XmlNodeIter* iter) {
    if (!iter->current) return "its end";
    return iter->current->tag ? iter->current->tag : "a text";
}

// The node whose line a message gives.
XmlNode* place(const XmlNodeIter* iter) {
    return iter->current ? iter->current : iter->parent;
}

} // namespace
} // namespace norvane::xml

using namespace norvane::xml;

XmlNode* xml_node_iter_init(XmlNode* node, XmlNodeIter* iter, int skip_blank_texts) {
    NORVANE_ASSERT(node);
    NORVANE_ASSERT(iter);
    NORVANE_ASSERT(node->tag);
    *iter = XmlNodeIter{node, node->first, skip_blank_texts};
    skip_blanks(iter);
    return iter->current;
}

char* xml_node_get_tag(XmlNode* node) {
    NORVANE_ASSERT(node);
    return node->tag;
}

unsigned xml_node_get_line(const XmlNode* node) {
    NORVANE_ASSERT(node);
    return node->line;
}

const char* xml_node_find_attr(const XmlNode* node, const char* name) {
    NORVANE_ASSERT(node);
    NORVANE_ASSERT(name);
    if (!node->tag) return nullptr;
    for (unsigned i = 0; i < node->attribute_count; ++i) {
        const char* own = node->attributes[2 * i];
        if (own && std::strcmp(own, name) == 0) return node->attributes[2 * i + 1];
    }
    return nullptr;
}

bool xml_node_get_attr(XmlNode* node, NorvaneCpp::String& value, const char* name) {
    const char* text = xml_node_find_attr(node, name);
    if (!text) return false;
    if (node->utf8)
        value = NorvaneCpp::UTF8::ToCodepage(text, 1252, false);
    else
        value = text;
    return true;
}

XmlNode* xml_parse_have(XmlNodeIter* iter, const char* tag) {
    NORVANE_ASSERT(iter);
    NORVANE_ASSERT(tag);
    XmlNode* node = iter->current;
    if (!node || !node->tag || std::strcmp(node->tag, tag) != 0) return nullptr;
    advance(iter);
    return node;
}

XmlNode* xml_parse_mustbe(XmlNodeIter* iter, const char* tag) {
    XmlNode* node = xml_parse_have(iter, tag);
    if (node) return node;
    xml_parse_report_error(place(iter), "Expecting tag <%s> in <%s>, but found %s", tag,
                           iter->parent->tag, found(iter));
}

void xml_parse_mustbe_empty(XmlNodeIter* iter) {
    NORVANE_ASSERT(iter);
    if (!iter->current) return;
    xml_parse_report_error(place(iter), "Expecting the end of <%s>, but found %s",
                           iter->parent->tag, found(iter));
}

const char* xml_parse_mustbe_text(XmlNodeIter* iter) {
    NORVANE_ASSERT(iter);
    XmlNode* node = iter->current;
    if (!node && !iter->parent->first) return "";
    if (!node || node->tag)
        xml_parse_report_error(place(iter), "Expecting a text in <%s>, but found %s",
                               iter->parent->tag, found(iter));
    advance(iter);
    return node->text;
}

const char* xml_parse_mustbe_text_node(XmlNode* node) {
    XmlNodeIter iter;
    xml_node_iter_init(node, &iter, 0);
    const char* text = xml_parse_mustbe_text(&iter);
    xml_parse_mustbe_empty(&iter);
    return text;
}

const char* xml_parse_mustbe_attr_text(XmlNode* node, const char* name) {
    const char* value = xml_node_find_attr(node, name);
    if (value) return value;
    xml_parse_report_error(node, "Expecting attribute '%s' of tag <%s>", name,
                           node->tag ? node->tag : "");
}

NorvaneCpp::String xml_parse_mustbe_attr(XmlNode* node, const char* name) {
    NorvaneCpp::String value;
    if (!xml_node_get_attr(node, value, name)) xml_parse_mustbe_attr_text(node, name);
    return value;
}

void xml_parse_report_error(XmlNode* node, const char* format, ...) {
    NORVANE_ASSERT(format);
    char text[MESSAGE_BUFFER_SIZE - 128]; // leaves room for the line, and for a title around it
    va_list args;
    va_start(args, format);
    str_vsnprintf(text, sizeof text, format, args);
    va_end(args);
    if (node && node->line > 0)
        except_report_errormsg("%s (line %u)", text, node->line);
    else
        except_report_errormsg("%s", text);
    except_throw(EXCEPT_MALFORMED_INPUT, __LINE__, __FILE__);
}
