/* Writing a model as XML, of the document type "product_model.dtd". */
#ifndef NORVANE_PROJ_XML_EXPORT_H
#define NORVANE_PROJ_XML_EXPORT_H

#include "norvane/proj/export.h"
#include "norvane/proj/project.h"

NORVANE_BEGIN_DECLS

/* Writes the project to a new file: 0, or -1 after reporting ERR_FILE_OPEN_WRITE if it cannot be
 * opened. Write errors are not looked at. Both arguments are required and borrowed.
 *
 * What is stored of a rule is its expression alone, and chains of and, or, xor, plus and mult come
 * back nested to the left. The kinds of declaration are grouped, each in its order. Control
 * characters in texts become "?", but for tabs and line ends.
 *
 * The format has no name for division, for the shifts, and for equated unbounded variables: such a
 * model fails with "Invalid binary operator" (except.h), as does any broken tree with a text of its
 * own, before the file is touched. */
NORVANE_PROJ_API int proj_export_to_xmlfile(Project* project, const char* filename);

NORVANE_END_DECLS

#endif
