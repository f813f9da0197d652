// How this library's readers of XML go into an element.
#ifndef NORVANE_PROJ_XML_READING_H
#define NORVANE_PROJ_XML_READING_H

#include "norvane/base/except.h"
#include "norvane/base/strings.h"
#include "norvane/base/xml.h"

namespace norvane {

// A cursor over the child elements; white space between them does not count.
inline XmlNodeIter children_of(XmlNode* node) {
    XmlNodeIter iter;
    xml_node_iter_init(node, &iter, 1);
    return iter;
}

// The same for the root of a document, which must have this tag.
inline XmlNodeIter children_of_root(XmlDocument* document, const char* tag) {
    XmlNode* root = document->root;
    NORVANE_ASSERT(root);
    if (!str_is_equal(xml_node_get_tag(root), tag))
        xml_parse_report_error(root, "Expecting tag <%s>", tag);
    return children_of(root);
}

} // namespace norvane

#endif
