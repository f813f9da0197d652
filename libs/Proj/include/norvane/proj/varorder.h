/* Variable orders: the names of a model's variables in the order that the modeller wants.
 *
 * A variable order is a PolyList that owns copies of its names (char*). Null arguments are broken
 * invariants (except.h) except where noted. */
#ifndef NORVANE_PROJ_VARORDER_H
#define NORVANE_PROJ_VARORDER_H

#include <stdio.h>

#include "norvane/base/list.h"
#include "norvane/proj/export.h"

NORVANE_BEGIN_DECLS

/* A new empty order, freed with var_order_delete, which accepts null. */
NORVANE_PROJ_API PolyList* var_order_new(void);
NORVANE_PROJ_API void var_order_delete(PolyList* order);

/* Appends a copy of the name. Duplicates are accepted here and left out by var_order_import. */
NORVANE_PROJ_API void var_order_add_variable(PolyList* order, const char* name);

/* Write the document to an open stream, which stays open, or to a file, or to standard output for
 * "-": 0, or -1 after reporting ERR_FILE_OPEN_WRITE if the file cannot be opened. Write errors are
 * not reported: the caller of the first function checks the stream (ferror). */
NORVANE_PROJ_API int var_order_export_fileptr(PolyList* order, FILE* stream);
NORVANE_PROJ_API int var_order_export(PolyList* order, const char* filename);

/* Reads a file: a new order, which the caller frees with var_order_delete, or null after reporting
 * ERR_FILE_OPEN, ERR_XML_MALFORMED or ERR_VARORDER_PARSER. Each duplicate name is left out with a
 * warning ERR_VARORDER_DUPLICATE_VAR. */
NORVANE_PROJ_API PolyList* var_order_import(const char* filename);

NORVANE_END_DECLS

#endif
