// How this library's readers of XML iterate over the children of an element.
#ifndef NORVANE_PROJ_XML_READING_H
#define NORVANE_PROJ_XML_READING_H

#include "norvane/base/except.h"
#include "norvane/base/strings.h"
#include "norvane/base/xml.h"

namespace norvane {

// A tag predicate for xml_parse_file. It knows every tag, because the readers reject unknown ones
// when they reach them.
inline int is_any_tag(const char*) {
    return 1;
}

// An iterator over the child elements, which skips white space between them.
inline XmlNodeIter children_of(XmlNode* node) {
    XmlNodeIter iter;
    xml_node_iter_init(node, &iter, 1);
    return iter;
}

// The same for the root of a document. Throws EXCEPT_MALFORMED_INPUT if it has another tag.
inline XmlNodeIter children_of_root(XmlDocument* document, const char* tag) {
    XmlNode* root = document->root;
    NORVANE_ASSERT(root);
    if (!str_is_equal(xml_node_get_tag(root), tag))
        xml_parse_report_error(root, "Expecting tag <%s>", tag);
    return children_of(root);
}

} // namespace norvane

#endif
