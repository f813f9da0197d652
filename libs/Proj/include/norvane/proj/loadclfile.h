/* Loads calculations from source. */
#ifndef NORVANE_PROJ_LOADCLFILE_H
#define NORVANE_PROJ_LOADCLFILE_H

#include "norvane/base/hash.h"
#include "norvane/proj/export.h"

NORVANE_BEGIN_DECLS

/* Both functions parse calculation source and return a new calculation, which the caller frees with
 * calc_delete, or null after a report. The argument is required and borrowed. Types are not
 * checked.
 *
 * Reported as errors, with a null result: ERR_PARSER for a syntax error, after ERR_INVALID_TOKEN or
 * ERR_INVALID_INT if the scanner refused a token, and for nesting that needs more than the 10000
 * entries of the parser's stack; ERR_CALC_GRAM_NS_NAME for an index in the name of a function. A
 * duplicate function of a namespace is reported as ERR_CALC_FNC_REDEF and left out, and the parse
 * continues. Reported as warnings: ERR_CALC_LEX_COMMENT_NOT_CLOSED, and, once in a process,
 * ERR_CALC_GRAM_COLON_DEPRECATED for a default expression after a colon.
 *
 * Only one parse can run at a time; an error sink must not start another. Source that ends inside a
 * comment (also a line comment without a line feed) or a string leaves the scanner in that state
 * for the next parse of the process. A line feed inside a string literal goes to standard output;
 * it is not part of the string and not counted as a line.
 *
 * Source is in code page 1252; string constants are converted to UTF-8. */

/* Parses a file. Also reports ERR_FILE_OPEN if the file does not exist or cannot be read to its
 * end, and ERR_CPP_OUTPUT_NOT_FOUND if it cannot be opened. The file is read in blocks of at most
 * 8192 bytes: a byte 0xFF is dropped, and ends the input where it is the first byte of a block. The
 * file name of each function is `path`, cut at 2047 bytes. */
NORVANE_PROJ_API PolyHash* calc_import_from_clfile(const char* path);

/* Parses a zero-terminated text. The file name of each function is "input string". */
NORVANE_PROJ_API PolyHash* calc_import_from_string(const char* text);

NORVANE_END_DECLS

#endif
