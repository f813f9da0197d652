/* XML trees: built and printed by writers, parsed and walked by readers. expat is underneath.
 *
 * Texts on this surface are in code page 1252 and files are in UTF-8, except where a name says
 * utf. The names of tags and attributes are the format's own words and are passed on as they are.
 * The document type and the style sheet of a file are not looked at, and nothing outside of the
 * file is ever loaded. Trees may be of any depth and width. */
#ifndef NORVANE_BASE_XML_H
#define NORVANE_BASE_XML_H

#include <stdio.h>

#include "norvane/base/export.h"

#ifdef __cplusplus
#include "norvane/base/text.hpp"
#endif

NORVANE_BEGIN_DECLS

/* A tag, with a name, attributes and ordered children, or a text. Private inside. */
typedef struct XmlNode XmlNode;

/* A tree with what stands in front of it in a file. */
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

/* A new document that takes over the tree, whose root is a tag, and copies the two names, of which
 * either may be null. */
NORVANE_BASE_API XmlDocument* xml_new(const char* dtd, XmlNode* root, const char* xsl);
/* Frees the document and the tree; accepts null. */
NORVANE_BASE_API void xml_delete(XmlDocument* document);

/* A new tag without attributes and children; the name is copied. A node is owned by the caller
 * until it is given to a parent or a document. */
NORVANE_BASE_API XmlNode* xml_node_new_tag(const char* tag);
/* A new text node; the text is copied. The second takes UTF-8. */
NORVANE_BASE_API XmlNode* xml_node_new_text(const char* text);
NORVANE_BASE_API XmlNode* xml_node_new_utf8_text(const char* text);
/* Appends `child`, a node that was given to nobody, which the parent takes over; constant time. */
NORVANE_BASE_API void xml_node_add_child(XmlNode* parent, XmlNode* child);
/* Frees a node that was given to nobody, with all below it. */
NORVANE_BASE_API void xml_node_delete(XmlNode* node);

/* Gives the tag room for `count` attributes and returns their array: borrowed, until it is called
 * again, which keeps what is set. Attributes that are never set are not printed. */
NORVANE_BASE_API char** xml_node_alloc_attributes(XmlNode* node, int count);
/* Sets attribute `index`, which is below the count that was asked for, copying both texts; the
 * second takes a value in UTF-8. */
NORVANE_BASE_API void xml_set_attr(char** attributes, int index, const char* name,
                                   const char* value);
NORVANE_BASE_API void xml_set_attr_utf8(char** attributes, int index, const char* name,
                                        const char* value);

/* Writes the document, indented by two blanks a level down to 32 levels, with its prolog and its
 * references to the document type and the style sheet. Nothing is added inside of an element that
 * holds a text, so that texts come back byte for byte; characters that XML cannot hold become "?".
 * Write errors are the caller's to look for (ferror). */
NORVANE_BASE_API void xml_print_indented(XmlDocument* document, FILE* stream);

/* Readers. ------------------------------------------------------------------------------------ */

/* Parses a file into a tree, freed with xml_delete. `is_tag` answers non-zero for the tags of the
 * format; a tag that it does not know stays in the tree as an ordinary node, so that the reader's
 * own checks refuse it. White space between elements is not kept; white space that is all the
 * content of an element is its text. Null after reporting ERR_FILE_OPEN, or ERR_XML_MALFORMED with
 * the line. The answering functions must not throw. */
NORVANE_BASE_API XmlDocument* xml_parse_file(const char* path, int (*is_tag)(const char*));
/* The same; texts below tags for which `is_utf` answers non-zero stay in UTF-8. */
NORVANE_BASE_API XmlDocument* xml_parse_file_utf(const char* path, int (*is_tag)(const char*),
                                                 int (*is_utf)(const char*));

/* Sets the cursor to the first child of a tag and returns that, or null. With `skip_blank_texts`
 * non-zero, texts of white space alone are passed over; readers use that for structure, and 0 for
 * texts. */
NORVANE_BASE_API XmlNode* xml_node_iter_init(XmlNode* node, XmlNodeIter* iter,
                                             int skip_blank_texts);

/* The tag's name (borrowed); null for a text. The line of its start in the file; 0 for a node that
 * was not parsed. */
NORVANE_BASE_API char* xml_node_get_tag(XmlNode* node);
NORVANE_BASE_API unsigned xml_node_get_line(const XmlNode* node);
/* The attribute's value as the tree holds it (borrowed), or null: in code page 1252 in a tree that
 * was parsed, in UTF-8 in one that was built. */
NORVANE_BASE_API const char* xml_node_find_attr(const XmlNode* node, const char* name);

/* If the child at the cursor has this tag, moves on and returns it; otherwise null, and the cursor
 * stays. */
NORVANE_BASE_API XmlNode* xml_parse_have(XmlNodeIter* iter, const char* tag);

/* These throw EXCEPT_MALFORMED_INPUT (except.h), with a text that names what was wanted and the
 * line, where a reader's file is not as it must be. */
NORVANE_BASE_API XmlNode* xml_parse_mustbe(XmlNodeIter* iter, const char* tag);
NORVANE_BASE_API void xml_parse_mustbe_empty(XmlNodeIter* iter);
/* The text at the cursor, moving on; borrowed from the tree. An element without any child has the
 * empty text. */
NORVANE_BASE_API const char* xml_parse_mustbe_text(XmlNodeIter* iter);
/* The single text of a node. */
NORVANE_BASE_API const char* xml_parse_mustbe_text_node(XmlNode* node);
/* The value of a required attribute, as xml_node_find_attr gives it. */
NORVANE_BASE_API const char* xml_parse_mustbe_attr_text(XmlNode* node, const char* name);
/* Throws the formatted text, for the place of `node` (which may be null). */
NORVANE_BASE_API NORVANE_NORETURN void xml_parse_report_error(XmlNode* node, const char* format,
                                                              ...) NORVANE_PRINTF(2, 3);

NORVANE_END_DECLS

#ifdef __cplusplus
/* True and the value if the attribute exists. */
extern "C" NORVANE_BASE_API bool xml_node_get_attr(XmlNode* node, NorvaneCpp::String& value,
                                                   const char* name);
/* The value of a required attribute; throws as told above. Not of C linkage, as it returns a class.
 */
NORVANE_BASE_API NorvaneCpp::String xml_parse_mustbe_attr(XmlNode* node, const char* name);
#endif

#endif
