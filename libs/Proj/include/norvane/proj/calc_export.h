/* Writes a calculation as XML, with the document type "clx.dtd" and the style sheet "clx.xsl".
 *
 * All arguments are required and borrowed. If `line_info` is non-zero, known lines and the names of
 * source files are written. Namespaces are written in table order, functions in the order of
 * definition.
 *
 * Two things that source can leave out are completed: a call without a namespace is written with
 * the namespace of its function, and a local variable without an initial expression is written with
 * the zero of its type, which is also added to the tree. Control characters in texts, except tabs
 * and line ends, become "?".
 *
 * A tree with a tag outside its enumeration throws kind 1 (except.h): "Found invalid calculational
 * type : %d" (also for a void local without an initial expression), "Found invalid operator : %d",
 * "Found invalid expression structure : %d" or "Found invalid statement structure : %d". */
#ifndef NORVANE_PROJ_CALC_EXPORT_H
#define NORVANE_PROJ_CALC_EXPORT_H

#include <stdio.h>

#include "norvane/base/xml.h"
#include "norvane/proj/calc.h"
#include "norvane/proj/export.h"

NORVANE_BEGIN_DECLS

/* The `calculation` element: a new tree, which the caller frees with xml_node_delete or gives to a
 * parent or a document. */
NORVANE_PROJ_API XmlNode* calc_export_to_xml_node(PolyHash* calc, int line_info);

/* Writes the document to a stream, which stays open. The caller checks for write errors (ferror).
 */
NORVANE_PROJ_API void calc_export_to_stream(FILE* out, PolyHash* calc, int line_info);

/* Writes the document to a file, or to standard output for "-": 0, or -1 after reporting
 * ERR_FILE_OPEN_WRITE if the file cannot be opened; the tree is unchanged then. Write errors are
 * not reported. If a broken tree throws, an existing file keeps its content and is closed. */
NORVANE_PROJ_API int calc_export_to_file(const char* filename, PolyHash* calc, int line_info);

NORVANE_END_DECLS

#endif
