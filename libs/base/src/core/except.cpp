// Frames and throws. A throw is a longjmp, after leaving the stack segments of deep recursion.

// A hardened longjmp aborts the process when the target frame is on another stack.
#undef _FORTIFY_SOURCE

#include "norvane/base/except.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <csignal>
#include <fcntl.h>
#include <unistd.h>

#include "norvane/base/call_guard.hpp"
#include "stack_jump.h"
#include "throwing.h"

ExceptionFrame* __exception_last = nullptr;
int __exception_caught = 0;

namespace norvane::core {
namespace {

// The text for the next throw.
char failure_text[MESSAGE_BUFFER_SIZE];

// Truncates the text to fit. Source and target may overlap, because a state may be thrown on to a
// frame with the same state.
void copy_text(char (&place)[MESSAGE_BUFFER_SIZE], const char* text) {
    const std::size_t length = strnlen(text, sizeof place - 1);
    std::memmove(place, text, length);
    place[length] = '\0';
}

bool debugger_is_attached() {
    const int status = open("/proc/self/status", O_RDONLY | O_CLOEXEC);
    if (status < 0) return false;
    char text[4096];
    const ssize_t size = read(status, text, sizeof text - 1);
    close(status);
    if (size <= 0) return false;
    text[size] = '\0';
    const char* tracer = std::strstr(text, "TracerPid:");
    return tracer && std::strtol(tracer + std::strlen("TracerPid:"), nullptr, 10) != 0;
}

// A debugger stops at the signal although the process ignores it. It is ignored because other
// tracers (of system calls, say) deliver it, and then it must have no effect.
void debugger_break() {
    if (!debugger_is_attached()) return;
    struct sigaction ignore = {};
    struct sigaction before;
    ignore.sa_handler = SIG_IGN;
    if (sigaction(SIGTRAP, &ignore, &before) != 0) return;
    raise(SIGTRAP);
    sigaction(SIGTRAP, &before, nullptr);
}

[[noreturn]] void jump_to_frame(void* frame) {
    longjmp(static_cast<ExceptionFrame*>(frame)->buffer, 1);
}

// Removes a frame when its function returns, and when a C++ exception of the host unwinds it.
struct FrameRemoval {
    ExceptionFrame* previous;
    ~FrameRemoval() { __exception_last = previous; }
};

[[noreturn]] void abort_without_frame(int line, const char* file, const char* text) {
    std::fprintf(stderr, "%s:%d: %s\n", file, line, text);
    std::abort();
}

void fill_state(ExceptionState* state, int kind, int line, const char* file, const char* text) {
    state->kind = kind;
    state->line = line;
    copy_text(state->file, file);
    copy_text(state->message, text);
}

} // namespace

void throw_in_this_thread(int line, const char* file, const char* text) {
    ExceptionFrame* frame = __exception_last;
    if (!frame || !deep::is_on_own_stack(frame)) abort_without_frame(line, file, text);
    fill_state(frame->state, EXCEPT_ASSERTION, line, file, text);
    jump_to_frame(frame);
}

} // namespace norvane::core

using namespace norvane::core;

// No local variable changes between setjmp and the jump.
int except_catch(void (*body)(void* user), void* user, ExceptionState* state) {
    NORVANE_ASSERT(body);
    NORVANE_ASSERT(state);
    ExceptionFrame frame;
    frame.previous = __exception_last;
    frame.state = state;
    const FrameRemoval removal = {frame.previous};
    __exception_last = &frame;
    if (setjmp(frame.buffer) == 0) {
        body(user);
        __exception_caught = 0;
    } else {
        __exception_caught = 1;
    }
    return __exception_caught;
}

void except_rethrow(const ExceptionState* state) {
    NORVANE_ASSERT(state);
    except_report_errormsg("%s", state->message);
    except_throw(state->kind, state->line, state->file);
}

void except_report_errormsg(const char* format, ...) {
    NORVANE_ASSERT(format);
    va_list arguments;
    va_start(arguments, format);
    str_vsnprintf(failure_text, sizeof failure_text, format, arguments);
    va_end(arguments);
}

void except_throw(int kind, int line, const char* file) {
    if (!file) file = "";
    ExceptionFrame* frame = __exception_last;
    if (!frame) abort_without_frame(line, file, failure_text);
    fill_state(frame->state, kind, line, file, failure_text);
    norvane::CallGuard::end_inside(frame);
    norvane::deep::jump_on_stack_of(frame, jump_to_frame, frame);
}

void except_assertion_failed(const char* expression, int line, const char* file) {
    debugger_break();
    except_report_errormsg("%s", expression);
    except_throw(EXCEPT_ASSERTION, line, file);
}

void except_fail(int line, const char* file, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    str_vsnprintf(failure_text, sizeof failure_text, format, arguments);
    va_end(arguments);
    except_throw(EXCEPT_ASSERTION, line, file);
}
