/* Variable orders: the names of a model's variables in a wanted order.
 *
 * A variable order is a PolyList of strings that owns copies of them. Null arguments are broken
 * invariants (except.h) unless told otherwise. */
#ifndef NORVANE_PROJ_VARORDER_H
#define NORVANE_PROJ_VARORDER_H

#include <stdio.h>

#include "norvane/base/list.h"
#include "norvane/proj/export.h"

NORVANE_BEGIN_DECLS

/* A new empty order, freed with var_order_delete, which accepts null. */
NORVANE_PROJ_API PolyList* var_order_new(void);
NORVANE_PROJ_API void var_order_delete(PolyList* order);

/* Appends a copy of the name. Doubles are not looked for: reading does that. */
NORVANE_PROJ_API void var_order_add_variable(PolyList* order, const char* name);

/* Write the document: to an open stream, which stays open, 0; to a file, "-" being standard output,
 * 0, or -1 after reporting ERR_FILE_OPEN_WRITE. */
NORVANE_PROJ_API int var_order_export_fileptr(PolyList* order, FILE* stream);
NORVANE_PROJ_API int var_order_export(PolyList* order, const char* filename);

/* Reads a file: a new order, or null after reporting ERR_FILE_OPEN, ERR_XML_MALFORMED or
 * ERR_VARORDER_PARSER. A name that stands there again is left out, with a warning
 * ERR_VARORDER_DUPLICATE_VAR each time. */
NORVANE_PROJ_API PolyList* var_order_import(const char* filename);

NORVANE_END_DECLS

#endif
