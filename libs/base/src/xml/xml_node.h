// The nodes of XML trees, shared by the modules that build, print, parse and walk them.
#ifndef NORVANE_BASE_XML_NODE_H
#define NORVANE_BASE_XML_NODE_H

#include "norvane/base/xml.h"

// In a tree that was built, each node and each of its texts is allocated separately, and texts are
// in UTF-8. In a parsed tree all are in the document's arena, and texts are in code page 1252, or
// in UTF-8 where the format requires it. Nodes make up most of a large document, so they are small.
struct XmlNode {
    XmlNode* next;  // the next child of the same parent
    XmlNode* first; // children
    XmlNode* last;
    char* tag; // null for a text
    union {
        char** attributes; // a tag: name, value, name, value, ...; null names are slots not set
        char* text;        // a text
    };
    unsigned line;
    unsigned attribute_count : 29;
    unsigned in_arena : 1;
    unsigned utf8 : 1; // the text, or the attributes' values, are in UTF-8
};

struct XmlArena;

namespace norvane::xml {

constexpr unsigned largest_attribute_count = (1u << 29) - 1;

inline bool is_xml_blank(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

// Appends a child. The caller has checked that the child has no parent.
inline void xml_link_child(XmlNode* parent, XmlNode* child) {
    (parent->last ? parent->last->next : parent->first) = child;
    parent->last = child;
}

// Frees the arena of a parsed tree and all nodes in it; accepts null.
void xml_arena_delete(XmlArena* arena);

} // namespace norvane::xml

#endif
