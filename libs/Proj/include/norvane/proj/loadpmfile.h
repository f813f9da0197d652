/* From PM source to a Project. */
#ifndef NORVANE_PROJ_LOADPMFILE_H
#define NORVANE_PROJ_LOADPMFILE_H

#include <stdio.h>

#include "norvane/base/list.h"
#include "norvane/proj/export.h"
#include "norvane/proj/project.h"

NORVANE_BEGIN_DECLS

/* Loads a file through the C preprocessor. Both arguments are required and borrowed; `cpp_args` is
 * a list of strings, trusted, passed on to the preprocessor, and may be empty. Returns a new
 * project, or null after reporting: ERR_FILE_OPEN if there is no such file, ERR_CPP if the
 * preprocessor failed (what it wrote so far then stays in the folder for temporary files),
 * ERR_CPP_OUTPUT_NOT_FOUND if its output cannot be opened, or what lpm_load_file reports. Null
 * without a report: no name for a temporary file could be made.
 *
 * One load at a time in a process; an error sink must not start another. */
NORVANE_PROJ_API Project* proj_import_from_pmfile(char* user_filename, PolyList* cpp_args);

/* Parses a stream of preprocessed source. `filename` is required and copied: it becomes the name
 * and the file name of the project. The caller closes the stream. Returns a new project, or null
 * after reporting ERR_PARSER and the ERR_GRAM_ error of the construct that was open, or
 * ERR_GRAM_INT_ZERO; behind ERR_INVALID_TOKEN or ERR_INVALID_INT if the scanner refused a token.
 *
 * A file that ended inside a comment or a string leaves the scanner in that state for the next load
 * of the process. */
NORVANE_PROJ_API Project* lpm_load_file(FILE* file, char* filename);

NORVANE_END_DECLS

#endif
