/* Presentations: the display texts of a product, kept apart from its model.
 *
 * A presentation is a PolyHash from the name of a layer to the layer, and a layer is a PolyHash
 * from a key to a text in UTF-8; both own what they hold. A layer exists from its first entry on.
 * Later values of a key replace earlier ones, which keep their place. Null arguments are broken
 * invariants (except.h) unless told otherwise. */
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

/* A new list of the layers' names, in table order: the caller deletes the list, the names stay the
 * presentation's. */
NORVANE_PROJ_API PolyList* pres_get_layers(PolyHash* presentation);

/* The layer's table (borrowed), or null. */
NORVANE_PROJ_API PolyHash* pres_get_layer(PolyHash* presentation, const char* layer_name);

/* Store a value under a key, making the layer if need be; all texts are copied. The value is in
 * code page 1252 in the first and in UTF-8 in the second; keys and names are not converted. */
NORVANE_PROJ_API void pres_add_key_value(PolyHash* presentation, const char* layer_name,
                                         const char* key, const char* value);
NORVANE_PROJ_API void pres_add_key_value_utf8(PolyHash* presentation, const char* layer_name,
                                              const char* key, const char* value);

/* Adds all entries of `source`, which stays as it is, to `target`. */
NORVANE_PROJ_API void pres_merge(PolyHash* target, PolyHash* source);

/* The `layer` and `presentation` elements: new nodes, owned by the caller. A layer that does not
 * exist gives an element without entries. */
NORVANE_PROJ_API XmlNode* pres_layer_to_xml(PolyHash* presentation, const char* layer_name);
NORVANE_PROJ_API XmlNode* pres_to_xml(PolyHash* presentation);

/* Writes the document to an open stream, which stays open: 0. */
NORVANE_PROJ_API int pres_export_fileptr(PolyHash* presentation, FILE* stream);

/* Writes it to a file, "-" being standard output: 0, or -1 after reporting ERR_FILE_OPEN_WRITE. */
NORVANE_PROJ_API int pres_export(PolyHash* presentation, const char* filename);

/* Reads a file: a new presentation, or null after reporting ERR_FILE_OPEN, ERR_XML_MALFORMED or
 * ERR_PRES_PARSER. */
NORVANE_PROJ_API PolyHash* pres_import(const char* filename);

#ifdef __cplusplus
/* The value of a key, in code page 1252 and in UTF-8: true, or false, leaving `value` alone, if the
 * layer or the key is absent. */
NORVANE_PROJ_API bool pres_get_value(PolyHash* presentation, NorvaneCpp::String& value,
                                     const char* layer_name, const char* key);
NORVANE_PROJ_API bool pres_get_value_utf8(PolyHash* presentation, NorvaneCpp::String& value,
                                          const char* layer_name, const char* key);
#endif

NORVANE_END_DECLS

#endif
