/* Presentations: the display texts of a product, kept in a file of their own.
 *
 * A presentation is a PolyHash that maps the names of layers to layers, and a layer is a PolyHash
 * that maps keys to texts in UTF-8; both own what they hold. A layer is created by its first entry.
 * A later value of a key replaces the earlier one at its place. Null arguments are broken
 * invariants (except.h) except where noted. */
#ifndef NORVANE_PROJ_PRESENTATION_H
#define NORVANE_PROJ_PRESENTATION_H

#include <stdio.h>

#include "norvane/base/hash.h"
#include "norvane/base/list.h"
#include "norvane/base/xml.h"
#include "norvane/proj/export.h"

NORVANE_BEGIN_DECLS

/* A new empty presentation, freed with pres_delete, which accepts null. */
NORVANE_PROJ_API PolyHash* pres_new(void);
NORVANE_PROJ_API void pres_delete(PolyHash* presentation);

/* A new list of the names of the layers, in table order. The caller frees the list; the names are
 * borrowed from the presentation. */
NORVANE_PROJ_API PolyList* pres_get_layers(PolyHash* presentation);

/* The layer's table (borrowed), or null. */
NORVANE_PROJ_API PolyHash* pres_get_layer(PolyHash* presentation, const char* layer_name);

/* Store copies of a key and its value, and create the layer if the presentation does not have it.
 * The value is converted from code page 1252 by the first function and is in UTF-8 for the second;
 * keys and names are not converted. */
NORVANE_PROJ_API void pres_add_key_value(PolyHash* presentation, const char* layer_name,
                                         const char* key, const char* value);
NORVANE_PROJ_API void pres_add_key_value_utf8(PolyHash* presentation, const char* layer_name,
                                              const char* key, const char* value);

/* Adds copies of all entries of `source` to `target`. */
NORVANE_PROJ_API void pres_merge(PolyHash* target, PolyHash* source);

/* The `layer` and `presentation` elements as new nodes, which the caller frees with xml_node_delete
 * or gives to a parent or a document. A layer that does not exist gives an element without
 * entries. */
NORVANE_PROJ_API XmlNode* pres_layer_to_xml(PolyHash* presentation, const char* layer_name);
NORVANE_PROJ_API XmlNode* pres_to_xml(PolyHash* presentation);

/* Writes the document to an open stream, which stays open. Returns 0: the caller checks the stream
 * (ferror). */
NORVANE_PROJ_API int pres_export_fileptr(PolyHash* presentation, FILE* stream);

/* Writes the document to a file, or to standard output for "-": 0, or -1 after reporting
 * ERR_FILE_OPEN_WRITE if the file cannot be opened. Write errors are not reported. */
NORVANE_PROJ_API int pres_export(PolyHash* presentation, const char* filename);

/* Reads a file: a new presentation, which the caller frees with pres_delete, or null after
 * reporting ERR_FILE_OPEN, ERR_XML_MALFORMED or ERR_PRES_PARSER. */
NORVANE_PROJ_API PolyHash* pres_import(const char* filename);

#ifdef __cplusplus
/* Set `value` to the value of a key, in code page 1252 and in UTF-8, and return true; return false
 * without changing it if there is no such layer or key. */
NORVANE_PROJ_API bool pres_get_value(PolyHash* presentation, NorvaneCpp::String& value,
                                     const char* layer_name, const char* key);
NORVANE_PROJ_API bool pres_get_value_utf8(PolyHash* presentation, NorvaneCpp::String& value,
                                          const char* layer_name, const char* key);
#endif

NORVANE_END_DECLS

#endif
