/* Writing a calculation as XML, of the document type "clx.dtd" and for the style sheet "clx.xsl".
 *
 * All arguments are required and borrowed. With `line_info` non-zero, lines that are known and the
 * names of source files are written too. Namespaces come in the order of the table, functions in
 * that of their definition.
 *
 * Writing fills in what the language leaves out: a call without a namespace gets the one that it
 * stands in, and a local variable without an initial expression gets that of its type's zero, in
 * the tree as well. Control characters in texts become "?", but for tabs and line ends.
 *
 * A broken tree ends in a failure of kind 1 (except.h): "Found invalid calculational type : %d" (so
 * does a void local without an initial expression), "Found invalid operator : %d", "Found invalid
 * expression structure : %d", "Found invalid statement structure : %d". */
#ifndef NORVANE_PROJ_CALC_EXPORT_H
#define NORVANE_PROJ_CALC_EXPORT_H

#include <stdio.h>

#include "norvane/base/xml.h"
#include "norvane/proj/calc.h"
#include "norvane/proj/export.h"

NORVANE_BEGIN_DECLS

/* The `calculation` element: a new tree, freed with xml_node_delete unless it is given to a parent
 * or a document. */
NORVANE_PROJ_API XmlNode* calc_export_to_xml_node(PolyHash* calc, int line_info);

/* Writes the document to an open stream. Write errors are the caller's to look for (ferror). */
NORVANE_PROJ_API void calc_export_to_stream(FILE* out, PolyHash* calc, int line_info);

/* Writes the document to a new file, or, if the name is "-", to the standard output, which stays
 * open: 0, or -1 after reporting ERR_FILE_OPEN_WRITE if the file cannot be opened, which leaves the
 * tree as it was. Write errors are not looked at. A broken tree fails with what the file held still
 * in it. */
NORVANE_PROJ_API int calc_export_to_file(const char* filename, PolyHash* calc, int line_info);

NORVANE_END_DECLS

#endif
