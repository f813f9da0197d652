/* Frames, throws and assertions: how a broken invariant, or malformed input deep inside a reader,
 * gets to somebody who can deal with it.
 *
 * A throw is a longjmp to the innermost frame. It runs no clean-up on its way: memory that the code
 * between the throw and the frame held is lost, and no object whose destructor matters may live
 * there. Everything here is single-threaded. */
#ifndef NORVANE_BASE_EXCEPT_H
#define NORVANE_BASE_EXCEPT_H

#include <setjmp.h>

#include "norvane/base/export.h"
#include "norvane/base/strings.h"

NORVANE_BEGIN_DECLS

/* The kinds of throw. Only EXCEPT_MALFORMED_INPUT ever becomes a report; all others are passed on
 * to the next frame out. */
enum {
    EXCEPT_ASSERTION = 1,       /* a broken invariant: a bug in this library or in its caller */
    EXCEPT_MALFORMED_INPUT = 2, /* raised by the readers of files */
    EXCEPT_CHECKER = 3,         /* an internal failure of the calculation type checker */
    EXCEPT_STOPPED = 4          /* the host's watch ended the run (norvane/base/work.h) */
};

/* What was thrown: readable by the owner of the frame after the jump. */
typedef struct ExceptionState {
    int kind;
    char file[MESSAGE_BUFFER_SIZE]; /* the module that threw */
    int line;
    char message[MESSAGE_BUFFER_SIZE];
} ExceptionState;

/* A frame lies on the stack of the function that catches. */
typedef struct ExceptionFrame {
    struct ExceptionFrame* previous;
    ExceptionState* state;
    jmp_buf buffer;
} ExceptionFrame;

/* The innermost frame, or null. A caller who catches by hand saves it, sets it, calls setjmp on the
 * frame's buffer, and puts it back on both returns; except_catch does all that. */
NORVANE_BASE_API extern ExceptionFrame* __exception_last;
/* 1 if the last frame to end was reached by a throw, 0 if its body returned. */
NORVANE_BASE_API extern int __exception_caught;

/* Runs body(user) inside a frame. Returns 0 if the body returned, and 1 if it threw, with `state`
 * filled in. Never returns by a throw itself. A C++ exception passes through it. In each case the
 * frames are left as they were. */
NORVANE_BASE_API int except_catch(void (*body)(void* user), void* user, ExceptionState* state);

/* Throws `state` on to the next frame out, with its own kind, line, file and message. */
NORVANE_BASE_API NORVANE_NORETURN void except_rethrow(const ExceptionState* state);

/* Stores the text of the failure in progress, cut at 2047 bytes. */
NORVANE_BASE_API void except_report_errormsg(const char* format, ...) NORVANE_PRINTF(1, 2);

/* Fills the state of the innermost frame with the arguments and the stored text, and jumps to it.
 * Without a frame it prints "file:line: text" to standard error and aborts the process. */
NORVANE_BASE_API NORVANE_NORETURN void except_throw(int kind, int line, const char* file);

/* What NORVANE_ASSERT does when the condition does not hold: stops in a debugger if one is
 * attached, stores `expression` as the text, and throws EXCEPT_ASSERTION. */
NORVANE_BASE_API NORVANE_NORETURN void except_assertion_failed(const char* expression, int line,
                                                               const char* file);

/* Stores the formatted text and throws EXCEPT_ASSERTION, without a debugger break: for a tag
 * outside its enumeration and the like. */
NORVANE_BASE_API NORVANE_NORETURN void except_fail(int line, const char* file, const char* format,
                                                   ...) NORVANE_PRINTF(3, 4);

/* Checks an invariant. The text of the failure is `text`, where callers rely on the words. */
#define NORVANE_ASSERT_TEXT(condition, text)                                                       \
    ((condition) ? (void)0 : except_assertion_failed((text), __LINE__, __FILE__))

/* Checks an invariant. The text of the failure is the condition as it is spelled. */
#define NORVANE_ASSERT(condition) NORVANE_ASSERT_TEXT(condition, #condition)

/* Ends in a failure with a formatted text. */
#define NORVANE_FAIL(...) except_fail(__LINE__, __FILE__, __VA_ARGS__)

NORVANE_END_DECLS

#endif
