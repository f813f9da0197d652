/* Diagnostics: structured reports of faults in a user's input.
 *
 * A report has a stable name, a one-line title, and a description in paragraphs, whose runs are
 * text, code, and references to a manual. A builder creates the report, the reporting module
 * records its own source position in it, and msg_report_error passes it to the installed sink. */
#ifndef NORVANE_BASE_DIAGNOSTICS_H
#define NORVANE_BASE_DIAGNOSTICS_H

#include <stdio.h>

#include "norvane/base/list.h"
#include "norvane/base/strings.h"

NORVANE_BEGIN_DECLS

/* The severity of a report. */
typedef enum ErrorType {
    ERROR_TYPE_ERROR = 2,
    ERROR_TYPE_WARNING = 3 /* processing goes on */
} ErrorType;

/* How a paragraph is laid out. */
typedef enum ErrorPAlign {
    ERROR_P_ORDINARY = 0,
    ERROR_P_DISPLAY = 2 /* a code run as an indented block */
} ErrorPAlign;

/* The kind of a run of a paragraph. */
typedef enum ErrorRunKind {
    ERROR_RUN_TEXT,
    ERROR_RUN_CODE,
    ERROR_RUN_SECREF, /* a section of a manual: `document`, `text` is its title, `anchor` */
    ERROR_RUN_MANREF  /* a manual as a whole: `document` */
} ErrorRunKind;

/* A run. Texts that its kind does not use are null. The run owns its texts. */
typedef struct ErrorDescRun {
    ErrorRunKind kind;
    char* text;
    char* document;
    char* anchor;
} ErrorDescRun;

/* A paragraph of a description. */
typedef struct ErrorDescParagraph {
    ErrorPAlign align;
    PolyList* runs; /* of ErrorDescRun; owned */
} ErrorDescParagraph;

/* A report: the fault, its place, and a longer description. */
typedef struct ErrorInfo {
    char name[MESSAGE_BUFFER_SIZE];    /* the builder's name, which identifies the error */
    char message[MESSAGE_BUFFER_SIZE]; /* the title, with the position in the user's file */
    PolyList* paragraphs;              /* of ErrorDescParagraph; owned; may be empty */
    char file[MESSAGE_BUFFER_SIZE];    /* the module that reported; empty until it is set */
    int line;
} ErrorInfo;

/* Returns a new report with empty texts and no paragraphs. The caller owns it until it passes it to
 * msg_report_error, or frees it with err_delete. */
NORVANE_BASE_API ErrorInfo* err_new(void);
NORVANE_BASE_API void err_delete(ErrorInfo* error); /* accepts null */

/* Returns a new paragraph without runs. The caller owns it until it appends it to the `paragraphs`
 * of a report, which then owns it. */
NORVANE_BASE_API ErrorDescParagraph* err_p_new(ErrorPAlign align);

/* Append a run; the texts are copied. */
NORVANE_BASE_API void err_p_append_text(ErrorDescParagraph* p, const char* text);
NORVANE_BASE_API void err_p_append_code(ErrorDescParagraph* p, const char* text);
NORVANE_BASE_API void err_p_append_secref(ErrorDescParagraph* p, const char* document,
                                          const char* section, const char* anchor);
NORVANE_BASE_API void err_p_append_manref(ErrorDescParagraph* p, const char* document);

/* Records the reporting module's source position; `file` is copied. */
NORVANE_BASE_API void err_set_position(ErrorInfo* error, int line, const char* file);

/* Receives each report and takes it over: the sink frees it with err_delete. It must not start
 * another load, check or simplification; a load inside a load of the same kind throws. It may leave
 * the reporting call by a throw (except.h) or a C++ exception, but not by a jump of its own: the
 * memory of that call is then leaked, and later calls work as usual. */
typedef void (*MsgErrorSink)(ErrorType type, ErrorInfo* error, void* user);

/* Installs the sink of msg_report_error, which gets `user` with each report. Null restores the
 * default sink, which prints one line to standard error: "error: TITLE [NAME]" or
 * "warning: TITLE [NAME]". */
NORVANE_BASE_API void msg_set_error_sink(MsgErrorSink sink, void* user);

/* Returns the installed sink, null for the default one, and stores its `user`, so that a caller can
 * install another sink for a while and restore this one. */
NORVANE_BASE_API MsgErrorSink msg_get_error_sink(void** user);

/* Passes the report to the sink, which takes it over. Returns when the sink does, so that the
 * caller can go on and report more. */
NORVANE_BASE_API void msg_report_error(ErrorType type, ErrorInfo* error);

/* What err_print writes after the title. */
enum {
    ERR_PRINT_TITLE = 0,
    ERR_PRINT_DESCRIPTION = 1, /* the paragraphs, code and references included */
};

/* Writes the report for a person to read: the title, then, with ERR_PRINT_DESCRIPTION, the
 * description: text folded to 78 columns, code indented with its own line breaks, and references as
 * "section (manual)". The report is borrowed. */
NORVANE_BASE_API void err_print(FILE* stream, ErrorType type, const ErrorInfo* error, int flags);

/* Writes only the description. */
NORVANE_BASE_API void err_print_description(FILE* stream, const ErrorInfo* error);

/* The reports of the base library. Each returns a new ErrorInfo, which the caller owns. Null texts
 * count as empty. */

/* The preprocessor failed or could not be started. */
NORVANE_BASE_API ErrorInfo* ERR_CPP(void);
/* The preprocessor succeeded, but its output `name` cannot be opened. */
NORVANE_BASE_API ErrorInfo* ERR_CPP_OUTPUT_NOT_FOUND(const char* name);
NORVANE_BASE_API ErrorInfo* ERR_FILE_NOT_EXISTS(const char* name);
/* The file cannot be opened for reading; printers also report it when they cannot open a file for
 * writing. */
NORVANE_BASE_API ErrorInfo* ERR_FILE_OPEN(const char* name);
NORVANE_BASE_API ErrorInfo* ERR_FILE_OPEN_WRITE(const char* name);
/* A library that is loaded on first use cannot be loaded; `reason` is the loader's message. */
NORVANE_BASE_API ErrorInfo* ERR_LIBRARY_LOAD(const char* library, const char* reason);
NORVANE_BASE_API ErrorInfo* ERR_MUB_MODULE_NOT_FOUND(const char* model, const char* package);
/* `text` is the XML parser's message. */
NORVANE_BASE_API ErrorInfo* ERR_XML_MALFORMED(const char* file, int line, const char* text);
NORVANE_BASE_API ErrorInfo* ERR_XML_NO_TAGS(void);
NORVANE_BASE_API ErrorInfo* ERR_XML_PARSER(const char* message);

NORVANE_END_DECLS

#endif
