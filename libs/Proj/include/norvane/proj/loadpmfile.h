/* Loads PM source into a Project. */
#ifndef NORVANE_PROJ_LOADPMFILE_H
#define NORVANE_PROJ_LOADPMFILE_H

#include <stdio.h>

#include "norvane/base/list.h"
#include "norvane/proj/export.h"
#include "norvane/proj/project.h"

NORVANE_BEGIN_DECLS

/* Runs the C preprocessor on a file and loads its output. Borrows and asserts both arguments;
 * `cpp_args` is a list of strings, possibly empty, as os_pre_process_file takes it (os.h). Returns
 * a new project, freed with proj_delete, or null after a report: ERR_FILE_OPEN if there is no such
 * file, ERR_CPP if the preprocessor failed or refused an argument (its output so far stays in the
 * directory for temporary files), ERR_CPP_OUTPUT_NOT_FOUND if its output cannot be opened, or a
 * report of lpm_load_file. A null without a report means that no name for a temporary file could be
 * made.
 *
 * One load runs at a time in a process; an error sink must not start another. */
NORVANE_PROJ_API Project* proj_import_from_pmfile(char* user_filename, PolyList* cpp_args);

/* Parses a stream of preprocessed source. Borrows and asserts both arguments: the caller closes the
 * stream, and copies of `filename` become the name and the file name of the project. Returns a new
 * project, freed with proj_delete, or null after reporting ERR_PARSER and the ERR_GRAM_ error of
 * the construct that was open, or ERR_GRAM_INT_ZERO. ERR_INVALID_TOKEN or ERR_INVALID_INT comes
 * first if the scanner rejected a token. A read error is reported as ERR_FILE_OPEN.
 *
 * After a file that ended inside a comment or a string, the next load of the process starts
 * there. */
NORVANE_PROJ_API Project* lpm_load_file(FILE* file, char* filename);

NORVANE_END_DECLS

#endif
