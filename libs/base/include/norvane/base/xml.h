/* XML trees: writers build and print them, readers parse and walk them. Parsing uses expat.
 *
 * Texts in this interface are in code page 1252, except where a name says utf; files are in UTF-8.
 * Names of tags and attributes are not converted. The document type and the style sheet that a file
 * names are ignored, and nothing outside the file is ever loaded. Trees may be of any depth and
 * width. */
#ifndef NORVANE_BASE_XML_H
#define NORVANE_BASE_XML_H

#include <stdio.h>

#include "norvane/base/export.h"

#ifdef __cplusplus
#include "norvane/base/text.hpp"
#endif

NORVANE_BEGIN_DECLS

/* A tag with a name, attributes and ordered children, or a text. Its members are private. */
typedef struct XmlNode XmlNode;

/* A tree and the names in the prolog of its file. */
typedef struct XmlDocument {
    char* dtd;              /* owned; name of the document type; may be null */
    XmlNode* root;          /* owned */
    char* xsl;              /* owned; name of the style sheet; may be null */
    struct XmlArena* arena; /* private: memory of the nodes of a parsed tree */
} XmlDocument;

/* A cursor over the children of one node, on the caller's stack. */
typedef struct XmlNodeIter {
    XmlNode* parent;
    XmlNode* current; /* null at the end */
    int skip_blank_texts;
} XmlNodeIter;

/* Writers. ------------------------------------------------------------------------------------ */

/* Returns a new document, which takes over the tree, whose root is a tag. The two names are copied;
 * either may be null. */
NORVANE_BASE_API XmlDocument* xml_new(const char* dtd, XmlNode* root, const char* xsl);
/* Frees the document and the tree; accepts null. */
NORVANE_BASE_API void xml_delete(XmlDocument* document);

/* Returns a new tag without attributes and children; the name is copied. The caller owns a node
 * until it adds it to a parent or a document. */
NORVANE_BASE_API XmlNode* xml_node_new_tag(const char* tag);
/* Return a new text node; the text is copied. The second takes UTF-8. */
NORVANE_BASE_API XmlNode* xml_node_new_text(const char* text);
NORVANE_BASE_API XmlNode* xml_node_new_utf8_text(const char* text);
/* Appends `child`, which the parent takes over, in constant time. The child must not have a parent.
 */
NORVANE_BASE_API void xml_node_add_child(XmlNode* parent, XmlNode* child);
/* Frees a node that has no parent, with its whole subtree. */
NORVANE_BASE_API void xml_node_delete(XmlNode* node);

/* Makes room for `count` attributes and returns their array, borrowed until the next call for this
 * node, which keeps the attributes that are set. Attributes that are not set are not printed. */
NORVANE_BASE_API char** xml_node_alloc_attributes(XmlNode* node, int count);
/* Set attribute `index`, which is below the allocated count. Both texts are copied; the second
 * function takes a value in UTF-8. */
NORVANE_BASE_API void xml_set_attr(char** attributes, int index, const char* name,
                                   const char* value);
NORVANE_BASE_API void xml_set_attr_utf8(char** attributes, int index, const char* name,
                                        const char* value);

/* Writes the document with its prolog and its references to the document type and the style sheet,
 * indented by two blanks per level, up to 32 levels. An element that contains text is written
 * without added white space, so that its texts read back byte for byte. Characters that XML cannot
 * represent become "?". The caller checks for write errors (ferror). */
NORVANE_BASE_API void xml_print_indented(XmlDocument* document, FILE* stream);

/* Readers. ------------------------------------------------------------------------------------ */

/* Parses a file into a tree, which the caller frees with xml_delete. `is_tag` is kept for
 * compatibility and not called: unknown tags stay in the tree, and the reader's own checks reject
 * them. White space between elements is dropped; white space that is the whole content of an
 * element is its text. Returns null after reporting ERR_FILE_OPEN, or ERR_XML_MALFORMED with the
 * line. */
NORVANE_BASE_API XmlDocument* xml_parse_file(const char* path, int (*is_tag)(const char*));
/* The same; texts below tags for which `is_utf` returns non-zero stay in UTF-8. `is_utf` must not
 * throw. */
NORVANE_BASE_API XmlDocument* xml_parse_file_utf(const char* path, int (*is_tag)(const char*),
                                                 int (*is_utf)(const char*));

/* Sets the cursor to the first child of a tag and returns it, or null. If `skip_blank_texts` is
 * non-zero, the cursor skips texts of nothing but white space; readers of texts pass 0. */
NORVANE_BASE_API XmlNode* xml_node_iter_init(XmlNode* node, XmlNodeIter* iter,
                                             int skip_blank_texts);

/* Return the tag's name (borrowed), null for a text; the line in the file where the node starts, 0
 * for a node that was not parsed. */
NORVANE_BASE_API char* xml_node_get_tag(XmlNode* node);
NORVANE_BASE_API unsigned xml_node_get_line(const XmlNode* node);
/* Returns the attribute's value (borrowed), or null: in code page 1252 in a parsed tree, in UTF-8
 * in a tree that was built. */
NORVANE_BASE_API const char* xml_node_find_attr(const XmlNode* node, const char* name);

/* If the child at the cursor has this tag, advances the cursor and returns the child. Otherwise
 * returns null and leaves the cursor. */
NORVANE_BASE_API XmlNode* xml_parse_have(XmlNodeIter* iter, const char* tag);

/* These throw EXCEPT_MALFORMED_INPUT (except.h), with a text that names what was expected and the
 * line, if the file does not have it. All results are borrowed from the tree. */
NORVANE_BASE_API XmlNode* xml_parse_mustbe(XmlNodeIter* iter, const char* tag);
NORVANE_BASE_API void xml_parse_mustbe_empty(XmlNodeIter* iter);
/* Returns the text at the cursor and advances the cursor. An element without children has the empty
 * text. */
NORVANE_BASE_API const char* xml_parse_mustbe_text(XmlNodeIter* iter);
/* Returns the text that is the only child of the node. */
NORVANE_BASE_API const char* xml_parse_mustbe_text_node(XmlNode* node);
/* Returns the value of a required attribute; see xml_node_find_attr. */
NORVANE_BASE_API const char* xml_parse_mustbe_attr_text(XmlNode* node, const char* name);
/* Throws the formatted text with the line of `node`, which may be null. */
NORVANE_BASE_API NORVANE_NORETURN void xml_parse_report_error(XmlNode* node, const char* format,
                                                              ...) NORVANE_PRINTF(2, 3);

NORVANE_END_DECLS

#ifdef __cplusplus
/* Returns true and stores the value, in code page 1252, if the attribute exists. */
extern "C" NORVANE_BASE_API bool xml_node_get_attr(XmlNode* node, NorvaneCpp::String& value,
                                                   const char* name);
/* Returns the value of a required attribute, in code page 1252; throws EXCEPT_MALFORMED_INPUT
 * without one. Has C++ linkage because it returns a class. */
NORVANE_BASE_API NorvaneCpp::String xml_parse_mustbe_attr(XmlNode* node, const char* name);
#endif

#endif
