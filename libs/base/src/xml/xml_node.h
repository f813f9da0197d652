// The inside of XML trees, shared by the modules that build, print, parse and walk them.
#ifndef NORVANE_BASE_XML_NODE_H
#define NORVANE_BASE_XML_NODE_H

#include "norvane/base/xml.h"

// A tag has a name; a text has none, and its bytes in `text`. In a tree that was built, every node
// and every text of it is owned memory of its own and holds UTF-8. In a tree that was parsed all
// lie in the document's arena and hold code page 1252, or UTF-8 where the format asked for it.
// Large documents are mostly nodes, so these are kept small.
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

namespace norvane {

constexpr unsigned largest_attribute_count = (1u << 29) - 1;

inline bool is_xml_blank(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

// Appends a child; the caller has seen to it that the two may be joined.
inline void xml_link_child(XmlNode* parent, XmlNode* child) {
    (parent->last ? parent->last->next : parent->first) = child;
    parent->last = child;
}

// Frees the arena of a parsed tree with all that lies in it; accepts null.
void xml_arena_delete(XmlArena* arena);

} // namespace norvane

#endif
