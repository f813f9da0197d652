/* The operating system, as the load pipeline needs it. */
#ifndef NORVANE_BASE_OS_H
#define NORVANE_BASE_OS_H

#include "norvane/base/list.h"

NORVANE_BEGIN_DECLS

/* Non-zero if the file exists. In this and the next two a backslash separates folders too, and
 * of the names that it separates those that are not UTF-8 are in code page 1252. */
NORVANE_BASE_API int os_file_exists(const char* path);

/* Non-zero if the file exists and nobody may write it, by its mode: so it means the same to a user
 * who may do everything. */
NORVANE_BASE_API int os_file_is_readonly(const char* path);

/* Deletes a file; a file that is not there is no failure. */
NORVANE_BASE_API void os_delete_file(const char* path);

/* Runs the C preprocessor on `input` with the strings of the list `cpp_args` (trusted, passed on as
 * they are) and writes the result to the new file `output`, which must not exist and gets mode
 * 0600. The result carries line directives of the form `#line 12 "file"`. Returns 0 on success, and
 * non-zero if the preprocessor cannot be started, fails, or exceeds its limits (1 GiB of output,
 * 2 GiB of memory, 60 s of processor time), or if the output cannot be written; `output` may then
 * hold a part. The preprocessor's own messages go to standard error. Borrows its arguments.
 *
 * Waits for the preprocessor. A host that ignores SIGCHLD, or that reaps children which it does not
 * know, takes its exit status away, and gets a failure. */
NORVANE_BASE_API int os_pre_process_file(const char* output, const char* input,
                                         const PolyList* cpp_args);

NORVANE_END_DECLS

#endif
