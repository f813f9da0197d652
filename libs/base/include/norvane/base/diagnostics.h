/* Diagnostics: structured reports of what is wrong with somebody's input.
 *
 * A report has a stable name, a title of one line, and a description in paragraphs, whose runs are
 * text, code, and references into a manual. A builder makes it, the reporting module stamps it with
 * its own place, and msg_report_error hands it to the installed sink. */
#ifndef NORVANE_BASE_DIAGNOSTICS_H
#define NORVANE_BASE_DIAGNOSTICS_H

#include <stdio.h>

#include "norvane/base/list.h"
#include "norvane/base/strings.h"

NORVANE_BEGIN_DECLS

/* How bad it is. */
typedef enum ErrorType {
    ERROR_TYPE_ERROR = 2,
    ERROR_TYPE_WARNING = 3 /* processing goes on */
} ErrorType;

/* How a paragraph is set. */
typedef enum ErrorPAlign {
    ERROR_P_ORDINARY = 0,
    ERROR_P_DISPLAY = 2 /* a code run that stands alone, indented */
} ErrorPAlign;

/* What a run of a paragraph is. */
typedef enum ErrorRunKind {
    ERROR_RUN_TEXT,
    ERROR_RUN_CODE,
    ERROR_RUN_SECREF, /* a section of a manual: `document`, `text` is its title, `anchor` */
    ERROR_RUN_MANREF  /* a manual as a whole: `document` */
} ErrorRunKind;

/* The texts that a kind does not use are null. All are owned by the run. */
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

/* A report: what is wrong, where, and a description of it for who wants to know more. */
typedef struct ErrorInfo {
    char name[MESSAGE_BUFFER_SIZE];    /* the builder's own name: the identity of the error */
    char message[MESSAGE_BUFFER_SIZE]; /* the title, with the position in the user's file */
    PolyList* paragraphs;              /* of ErrorDescParagraph; owned; may be empty */
    char file[MESSAGE_BUFFER_SIZE];    /* the module that reported; empty until stamped */
    int line;
} ErrorInfo;

/* A new report with empty texts and no paragraphs, owned by the caller: freed with err_delete, or
 * taken over by msg_report_error. */
NORVANE_BASE_API ErrorInfo* err_new(void);
NORVANE_BASE_API void err_delete(ErrorInfo* error); /* accepts null */

/* A new paragraph without runs, owned by the caller until it is appended to `paragraphs`. */
NORVANE_BASE_API ErrorDescParagraph* err_p_new(ErrorPAlign align);

/* Append a run, copying the texts. */
NORVANE_BASE_API void err_p_append_text(ErrorDescParagraph* p, const char* text);
NORVANE_BASE_API void err_p_append_code(ErrorDescParagraph* p, const char* text);
NORVANE_BASE_API void err_p_append_secref(ErrorDescParagraph* p, const char* document,
                                          const char* section, const char* anchor);
NORVANE_BASE_API void err_p_append_manref(ErrorDescParagraph* p, const char* document);

/* Stamps the place of the report: the reporting module's own line and file. */
NORVANE_BASE_API void err_set_position(ErrorInfo* error, int line, const char* file);

/* Receives each report, and owns it from then on: it calls err_delete when it is done. It must not
 * start another load, check or simplification. It may end the call that reports by a throw
 * (except.h) or a C++ exception: what that call held is then lost, and the next one is as usual. */
typedef void (*MsgErrorSink)(ErrorType type, ErrorInfo* error, void* user);

/* Installs the sink of msg_report_error. Null puts the default one back, which prints one line to
 * standard error: "error: TITLE [NAME]" or "warning: TITLE [NAME]". */
NORVANE_BASE_API void msg_set_error_sink(MsgErrorSink sink, void* user);

/* The sink that is installed, or null for the default one, and in `user` what it is called with: for
 * a caller who installs another one for a while and puts this one back. */
NORVANE_BASE_API MsgErrorSink msg_get_error_sink(void** user);

/* Delivers the report to the sink, and takes it over. Returns normally: a caller may go on and
 * report more. */
NORVANE_BASE_API void msg_report_error(ErrorType type, ErrorInfo* error);

/* What err_print shows behind the title. */
enum {
    ERR_PRINT_TITLE = 0,
    ERR_PRINT_DESCRIPTION = 1, /* the paragraphs, code and references included */
};

/* Writes the report for a person: the title, then, if asked for, the description with its text
 * folded to 78 columns, code indented as it stands, and references as "section (manual)". */
NORVANE_BASE_API void err_print(FILE* stream, ErrorType type, const ErrorInfo* error, int flags);

/* Writes the description alone. */
NORVANE_BASE_API void err_print_description(FILE* stream, const ErrorInfo* error);

/* The reports of the base library itself. Each returns a new ErrorInfo, owned by the caller. Null
 * texts count as empty. */

/* The preprocessor failed or could not be started. */
NORVANE_BASE_API ErrorInfo* ERR_CPP(void);
/* The preprocessor ended well, but its output `name` cannot be opened. */
NORVANE_BASE_API ErrorInfo* ERR_CPP_OUTPUT_NOT_FOUND(const char* name);
NORVANE_BASE_API ErrorInfo* ERR_FILE_NOT_EXISTS(const char* name);
/* The file cannot be opened for reading, or, by the printers, at all. */
NORVANE_BASE_API ErrorInfo* ERR_FILE_OPEN(const char* name);
NORVANE_BASE_API ErrorInfo* ERR_FILE_OPEN_WRITE(const char* name);
/* A library that is only loaded when it is needed cannot be; `reason` is the loader's own text. */
NORVANE_BASE_API ErrorInfo* ERR_LIBRARY_LOAD(const char* library, const char* reason);
NORVANE_BASE_API ErrorInfo* ERR_MUB_MODULE_NOT_FOUND(const char* model, const char* package);
/* `text` is the XML parser's own message. */
NORVANE_BASE_API ErrorInfo* ERR_XML_MALFORMED(const char* file, int line, const char* text);
NORVANE_BASE_API ErrorInfo* ERR_XML_NO_TAGS(void);
NORVANE_BASE_API ErrorInfo* ERR_XML_PARSER(const char* message);

NORVANE_END_DECLS

#endif
