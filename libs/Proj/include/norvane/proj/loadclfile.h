/* From calculation source to a calculation set. */
#ifndef NORVANE_PROJ_LOADCLFILE_H
#define NORVANE_PROJ_LOADCLFILE_H

#include "norvane/base/hash.h"
#include "norvane/proj/export.h"

NORVANE_BEGIN_DECLS

/* Both parse calculation source and return a new calculation set, which the caller frees with
 * calc_delete, or null after a report. The argument is required and borrowed. Types are not
 * checked.
 *
 * Reported as errors, with null: ERR_PARSER for a syntax error, behind ERR_INVALID_TOKEN or
 * ERR_INVALID_INT if the scanner refused a token, and for nesting too deep for the parser's stack
 * of 10000 entries; ERR_CALC_GRAM_NS_NAME for an index in the name of a function. A function of a
 * name that its namespace has already is reported as ERR_CALC_FNC_REDEF and left out, and the parse
 * goes on. Warnings: ERR_CALC_LEX_COMMENT_NOT_CLOSED, and ERR_CALC_GRAM_COLON_DEPRECATED for the
 * first default expression behind a colon in the process.
 *
 * One parse at a time in a process; an error sink must not start another. Source that ended inside
 * a comment (a line comment without its line feed is one) or a string leaves the scanner in that
 * state for the next parse of the process. A line feed inside a string literal goes to standard
 * output and is neither part of the string nor counted as a line.
 *
 * Texts are bytes in code page 1252; string constants are held as UTF-8. */

/* Reads a file. Reported besides: ERR_FILE_OPEN if there is no such file,
 * ERR_CPP_OUTPUT_NOT_FOUND if it cannot be opened. A byte 0xFF is dropped, and ends the input where
 * a read of at most 8192 bytes begins with it. Functions have `path`, cut at 2047 bytes, as their
 * file name. */
NORVANE_PROJ_API PolyHash* calc_import_from_clfile(const char* path);

/* Reads a zero-terminated text. Functions have "input string" as their file name. */
NORVANE_PROJ_API PolyHash* calc_import_from_string(const char* text);

NORVANE_END_DECLS

#endif
