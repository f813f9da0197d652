// Builds XML trees, and frees built and parsed ones.

#include <cstdlib>
#include <cstring>

#include "codepage.h"
#include "norvane/base/except.h"
#include "norvane/base/memory.h"
#include "norvane/base/strings.h"
#include "norvane/base/xml.h"
#include "xml_node.h"

namespace norvane::xml {
namespace {

XmlNode* new_node(char* tag, char* text) {
    auto* node = static_cast<XmlNode*>(util_malloc_throw(sizeof(XmlNode)));
    *node = XmlNode{};
    node->tag = tag;
    if (!tag) node->text = text;
    node->utf8 = 1;
    return node;
}

// Returns a copy in UTF-8 of a text in code page 1252.
char* utf8_copy(const char* text) {
    const std::size_t size = std::strlen(text);
    if (text::ascii_prefix(text, size) == size) return str_copy(text);
    auto* copy = static_cast<char*>(util_malloc_throw(text::utf8_size(text, size) + 1));
    copy[text::codepage_to_utf8(text, size, copy)] = '\0';
    return copy;
}

void set_attribute(char** attributes, int index, const char* name, char* value) {
    char** slot = attributes + 2 * static_cast<std::ptrdiff_t>(index);
    char* copy = str_copy(name);
    std::free(slot[0]);
    std::free(slot[1]);
    slot[0] = copy;
    slot[1] = value;
}

void delete_alone(XmlNode* node) {
    if (node->tag) {
        for (unsigned i = 0; i < 2 * node->attribute_count; ++i)
            std::free(node->attributes[i]);
        std::free(node->attributes);
        std::free(node->tag);
    } else {
        std::free(node->text);
    }
    std::free(node);
}

// Frees a subtree without recursion: the children of a node replace it in the list of nodes to
// free.
void delete_tree(XmlNode* node) {
    node->next = nullptr;
    while (node) {
        XmlNode* rest = node->next;
        if (node->first) {
            node->last->next = rest;
            rest = node->first;
        }
        delete_alone(node);
        node = rest;
    }
}

} // namespace
} // namespace norvane::xml

using namespace norvane::xml;

XmlDocument* xml_new(const char* dtd, XmlNode* root, const char* xsl) {
    NORVANE_ASSERT(root);
    NORVANE_ASSERT(root->tag);
    auto* document = static_cast<XmlDocument*>(util_calloc_throw(sizeof(XmlDocument)));
    document->dtd = str_null_copy(dtd);
    document->root = root;
    document->xsl = str_null_copy(xsl);
    return document;
}

void xml_delete(XmlDocument* document) {
    if (!document) return;
    if (document->arena)
        xml_arena_delete(document->arena);
    else if (document->root)
        delete_tree(document->root);
    std::free(document->dtd);
    std::free(document->xsl);
    std::free(document);
}

void xml_node_delete(XmlNode* node) {
    NORVANE_ASSERT(node);
    NORVANE_ASSERT(!node->in_arena);
    delete_tree(node);
}

XmlNode* xml_node_new_tag(const char* tag) {
    NORVANE_ASSERT(tag);
    return new_node(str_copy(tag), nullptr);
}

XmlNode* xml_node_new_text(const char* text) {
    NORVANE_ASSERT(text);
    return new_node(nullptr, utf8_copy(text));
}

XmlNode* xml_node_new_utf8_text(const char* text) {
    NORVANE_ASSERT(text);
    return new_node(nullptr, str_copy(text));
}

void xml_node_add_child(XmlNode* parent, XmlNode* child) {
    NORVANE_ASSERT(parent);
    NORVANE_ASSERT(child);
    // Parsed nodes are freed with their document, built ones separately: a tree must not mix them.
    NORVANE_ASSERT(parent->tag && !parent->in_arena);
    NORVANE_ASSERT(!child->next && !child->in_arena);
    xml_link_child(parent, child);
}

char** xml_node_alloc_attributes(XmlNode* node, int count) {
    NORVANE_ASSERT(node);
    NORVANE_ASSERT(node->tag && !node->in_arena);
    const auto wanted = static_cast<unsigned>(count);
    NORVANE_ASSERT_TEXT(wanted <= largest_attribute_count, "count");
    if (wanted > node->attribute_count) {
        const std::size_t old_slots = 2 * static_cast<std::size_t>(node->attribute_count);
        const std::size_t slots = 2 * static_cast<std::size_t>(wanted);
        node->attributes =
            static_cast<char**>(util_realloc_throw(node->attributes, slots * sizeof(char*)));
        std::memset(node->attributes + old_slots, 0, (slots - old_slots) * sizeof(char*));
        node->attribute_count = wanted & largest_attribute_count;
    }
    return node->attributes;
}

void xml_set_attr(char** attributes, int index, const char* name, const char* value) {
    NORVANE_ASSERT(attributes);
    NORVANE_ASSERT(index >= 0);
    NORVANE_ASSERT(name);
    NORVANE_ASSERT(value);
    set_attribute(attributes, index, name, utf8_copy(value));
}

void xml_set_attr_utf8(char** attributes, int index, const char* name, const char* value) {
    NORVANE_ASSERT(attributes);
    NORVANE_ASSERT(index >= 0);
    NORVANE_ASSERT(name);
    NORVANE_ASSERT(value);
    set_attribute(attributes, index, name, str_copy(value));
}
