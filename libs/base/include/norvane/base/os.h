/* The operating system, as the load pipeline needs it. */
#ifndef NORVANE_BASE_OS_H
#define NORVANE_BASE_OS_H

#include "norvane/base/list.h"

NORVANE_BEGIN_DECLS

/* Non-zero if the file exists. In this and the next two a backslash separates directories too, and
 * the names between separators that are not UTF-8 are taken to be in code page 1252. */
NORVANE_BASE_API int os_file_exists(const char* path);

/* Non-zero if the file exists and its mode lets no user write it. Looks at the mode alone, so that
 * the result is the same for root. */
NORVANE_BASE_API int os_file_is_readonly(const char* path);

/* Deletes a file; a file that does not exist is no failure. */
NORVANE_BASE_API void os_delete_file(const char* path);

/* Runs the C preprocessor on `input` and writes the result to the new file `output`, which must not
 * exist and gets mode 0600. The result carries line directives of the form `#line 12 "file"`.
 * Borrows its arguments.
 *
 * `cpp_args` is a list of strings: -I with a directory, -D with a macro name, which a value may
 * follow as in NAME=VALUE, and -U with a macro name; the value follows in the same string or is the
 * next one. A macro name begins with a letter or an underscore. Anything else is refused, since the
 * preprocessor has options that write files and run programs.
 *
 * Returns 0 on success. Returns non-zero, after a message (os_set_preprocessor_sink), if an
 * argument is refused, if the preprocessor cannot be started, fails, or exceeds a limit (1 GiB of
 * output, 2 GiB of memory, 60 s of processor time, os_set_preprocessor_time), or if the output
 * cannot be written; `output` may then hold a part.
 *
 * A source that the preprocessor would only copy is copied without it, and no `cpp` is needed: if
 * it has no "#", no backslash, no two underscores in a row and no control characters but tab and
 * line feed, if a comment that begins also ends, and if the only options are -I with directories
 * that exist. The result is the same to the byte.
 *
 * Waits for the preprocessor, which ends when the calling process does, even if that is killed. A
 * host that ignores SIGCHLD, or that reaps children which it does not know, takes its exit status
 * away, and gets a failure. */
NORVANE_BASE_API int os_pre_process_file(const char* output, const char* input,
                                         const PolyList* cpp_args);

/* A line of a file. */
typedef struct OsPlace {
    const char* file;
    unsigned line; /* from 1 */
} OsPlace;

/* A message of the preprocessor, or about why it could not be run. */
typedef struct OsPreprocessorMessage {
    int is_error;                 /* 0 for a warning or a note */
    OsPlace place;                /* the file is null if the message is about none */
    const char* text;             /* without place and severity */
    const OsPlace* included_from; /* the #include lines that led to the file, innermost first */
    unsigned included_count;
    int is_note; /* explains the message before it */
} OsPreprocessorMessage;

/* Receives each message of a run after the run has ended; all of it is borrowed. */
typedef void (*OsPreprocessorSink)(const OsPreprocessorMessage* message, void* user);

/* Installs the sink. Null, the default, lets the preprocessor write to standard error itself. */
NORVANE_BASE_API void os_set_preprocessor_sink(OsPreprocessorSink sink, void* user);

/* Lets the preprocessor warn: of macros that are redefined, of a macro in an #if that is not
 * defined, of #warning lines and of what else it warns of by default. Off at first, since every
 * program that takes messages would get these. */
NORVANE_BASE_API void os_set_preprocessor_warnings(int are_wanted);

/* Lets the preprocessor leave each #define and #undef in the text, on a line of its own, those of
 * options first. Off at first, since the reader of models takes no such lines. */
NORVANE_BASE_API void os_set_preprocessor_definitions(int are_kept);

/* Receives the name of each file that the source includes, as often as the preprocessor enters it,
 * as the name would open it from the current directory. The name is borrowed. */
typedef void (*OsIncludeSink)(const char* file, void* user);

/* Installs the sink, which is called while the preprocessor runs. Null is the default. */
NORVANE_BASE_API void os_set_include_sink(OsIncludeSink sink, void* user);

/* Sets how long a run of the preprocessor may take, in seconds of wall-clock time; 120 at first. */
NORVANE_BASE_API void os_set_preprocessor_time(unsigned seconds);

NORVANE_END_DECLS

#endif
