/* Frames, throws and assertions: how a broken invariant, or malformed input deep inside a reader,
 * reaches a caller that can handle it.
 *
 * A throw is a longjmp to the innermost frame. It runs no destructors: memory owned by the
 * functions between the throw and the frame is leaked, and objects whose destructors matter must
 * not live there. All of this serves one thread at a time; where a host lets two in, a throw goes
 * to a frame of its own thread, or aborts the process. */
#ifndef NORVANE_BASE_EXCEPT_H
#define NORVANE_BASE_EXCEPT_H

#include <setjmp.h>

#include "norvane/base/export.h"
#include "norvane/base/strings.h"

NORVANE_BEGIN_DECLS

/* The kinds of throw. Readers turn EXCEPT_MALFORMED_INPUT into a report, and the checker of
 * calculations ends a faulty function with EXCEPT_CHECKER. All others are thrown on to the next
 * frame. */
enum {
    EXCEPT_ASSERTION = 1,       /* a broken invariant: a bug in this library or in its caller */
    EXCEPT_MALFORMED_INPUT = 2, /* raised by the readers of files */
    EXCEPT_CHECKER = 3,         /* ends the check of a function of a calculation, after a report */
    EXCEPT_STOPPED = 4          /* the host's watch ended the run (norvane/base/work.h) */
};

/* What was thrown. The owner of the frame reads it after the jump. */
typedef struct ExceptionState {
    int kind;
    char file[MESSAGE_BUFFER_SIZE]; /* the module that threw */
    int line;
    char message[MESSAGE_BUFFER_SIZE];
} ExceptionState;

/* A frame lives on the stack of the function that catches. */
typedef struct ExceptionFrame {
    struct ExceptionFrame* previous;
    ExceptionState* state;
    jmp_buf buffer;
} ExceptionFrame;

/* The innermost frame, or null. Callers use except_catch; one that manages a frame itself saves
 * this pointer, points it to its frame, calls setjmp on the frame's buffer, and restores the
 * pointer on both returns. */
NORVANE_BASE_API extern ExceptionFrame* __exception_last;
/* 1 if the frame that ended last caught a throw, 0 if its body returned. */
NORVANE_BASE_API extern int __exception_caught;

/* Runs body(user) inside a frame. Returns 0 if the body returned, and 1 if it threw, with `state`
 * filled in. Never returns by a throw itself. A C++ exception passes through it. In each case the
 * frames are left as they were. */
NORVANE_BASE_API int except_catch(void (*body)(void* user), void* user, ExceptionState* state);

/* Throws `state` to the innermost frame, with its kind, line, file and message unchanged. Never
 * returns. */
NORVANE_BASE_API NORVANE_NORETURN void except_rethrow(const ExceptionState* state);

/* Stores the text for the next except_throw, truncated to 2047 bytes. */
NORVANE_BASE_API void except_report_errormsg(const char* format, ...) NORVANE_PRINTF(1, 2);

/* Fills the state of the innermost frame with the arguments and the stored text, and jumps to it.
 * Without a frame it prints "file:line: text" to standard error and aborts the process. */
NORVANE_BASE_API NORVANE_NORETURN void except_throw(int kind, int line, const char* file);

/* Called by NORVANE_ASSERT when its condition is false: stops in a debugger if one is attached,
 * stores `expression` as the text, and throws EXCEPT_ASSERTION. */
NORVANE_BASE_API NORVANE_NORETURN void except_assertion_failed(const char* expression, int line,
                                                               const char* file);

/* Stores the formatted text and throws EXCEPT_ASSERTION, without stopping in a debugger: for values
 * outside their enumeration and other impossible data. */
NORVANE_BASE_API NORVANE_NORETURN void except_fail(int line, const char* file, const char* format,
                                                   ...) NORVANE_PRINTF(3, 4);

/* Checks an invariant. The text of the failure is `text`, for callers that rely on the words. */
#define NORVANE_ASSERT_TEXT(condition, text)                                                       \
    ((condition) ? (void)0 : except_assertion_failed((text), __LINE__, __FILE__))

/* Checks an invariant. The text of the failure is the condition as written in the source. */
#define NORVANE_ASSERT(condition) NORVANE_ASSERT_TEXT(condition, #condition)

/* Throws EXCEPT_ASSERTION with a formatted text and the place of the call. */
#define NORVANE_FAIL(...) except_fail(__LINE__, __FILE__, __VA_ARGS__)

NORVANE_END_DECLS

#endif
