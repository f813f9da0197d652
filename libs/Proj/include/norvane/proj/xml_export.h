/* Writes a model as XML of the document type "product_model.dtd". */
#ifndef NORVANE_PROJ_XML_EXPORT_H
#define NORVANE_PROJ_XML_EXPORT_H

#include "norvane/proj/export.h"
#include "norvane/proj/project.h"

NORVANE_BEGIN_DECLS

/* Writes the project to a file and replaces its contents. Borrows and asserts both arguments.
 * Returns 0, or -1 after reporting ERR_FILE_OPEN_WRITE if the file cannot be opened. Write errors
 * are not checked.
 *
 * Of a rule only the expression is stored, and chains of and, or, xor, plus and mult are read back
 * nested to the left. Declarations are grouped by kind, each group in its order. Control characters
 * in texts, except tabs and line ends, become "?".
 *
 * The format has no name for division, the shifts and OPR_UBOUND_EQ: a model with one of them
 * throws "Invalid binary operator" (except.h). That and the failures for broken trees are thrown
 * before the file is opened. */
NORVANE_PROJ_API int proj_export_to_xmlfile(Project* project, const char* filename);

NORVANE_END_DECLS

#endif
