// Frames and throws. A throw is a longjmp, after leaving the stack segments of deep recursion.
//
// The innermost frame is a global that hosts write, so it is one for all threads. A host that lets
// two threads in may thus find another thread's frame there, or one that has ended. A throw never
// jumps to these: each thread knows the frames that except_catch made for it.

// A hardened longjmp aborts the process when the target frame is on another stack.
#undef _FORTIFY_SOURCE

#include "norvane/base/except.h"

#include <cstdarg>
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

// The innermost frame that except_catch made in this thread.
constinit thread_local ExceptionFrame* own_frame = nullptr;
// A frame of this thread ended while another thread's was the innermost. That thread will put the
// ended frame back, so from here on this thread takes no frame but those that except_catch made.
constinit thread_local bool is_mixed = false;

// The text for the next throw.
char failure_text[MESSAGE_BUFFER_SIZE];

// Not by str_vsnprintf, whose own assertions throw.
void store_text(const char* format, va_list arguments) {
    // After a failure the C library may leave the buffer without a terminator.
    if (std::vsnprintf(failure_text, sizeof failure_text, format, arguments) < 0)
        failure_text[0] = '\0';
}

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

// Makes a frame the innermost until its function returns, or a C++ exception of the host unwinds
// it.
class FrameScope {
  public:
    explicit FrameScope(ExceptionFrame* frame) : frame_(frame), outer_(own_frame) {
        frame->previous = __exception_last;
        __exception_last = own_frame = frame;
    }
    FrameScope(const FrameScope&) = delete;
    FrameScope& operator=(const FrameScope&) = delete;
    ~FrameScope() {
        own_frame = outer_;
        const ExceptionFrame* last = __exception_last;
        if (last == frame_ || deep::may_jump_to(last))
            __exception_last = frame_->previous;
        else
            is_mixed = true;
    }

  private:
    ExceptionFrame* frame_;
    ExceptionFrame* outer_;
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

ExceptionFrame* innermost_frame() {
    ExceptionFrame* const last = __exception_last;
    const bool is_own = last == own_frame || (!is_mixed && (!last || deep::may_jump_to(last)));
    return is_own ? last : own_frame;
}

void throw_text(int kind, int line, const char* file, const char* text) {
    ExceptionFrame* frame = innermost_frame();
    if (!frame) abort_without_frame(line, file, text);
    fill_state(frame->state, kind, line, file, text);
    CallGuard::end_inside(frame);
    deep::jump_on_stack_of(frame, jump_to_frame, frame);
}

} // namespace norvane::core

using namespace norvane::core;

// No local variable changes between setjmp and the jump.
int except_catch(void (*body)(void* user), void* user, ExceptionState* state) {
    NORVANE_ASSERT(body);
    NORVANE_ASSERT(state);
    ExceptionFrame frame;
    frame.state = state;
    const FrameScope scope(&frame);
    if (setjmp(frame.buffer) != 0) {
        __exception_caught = 1;
        return 1;
    }
    body(user);
    __exception_caught = 0;
    return 0;
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
    store_text(format, arguments);
    va_end(arguments);
}

void except_throw(int kind, int line, const char* file) {
    throw_text(kind, line, file ? file : "", failure_text);
}

void except_assertion_failed(const char* expression, int line, const char* file) {
    debugger_break();
    except_report_errormsg("%s", expression);
    except_throw(EXCEPT_ASSERTION, line, file);
}

void except_fail(int line, const char* file, const char* format, ...) {
    NORVANE_ASSERT(format);
    va_list arguments;
    va_start(arguments, format);
    store_text(format, arguments);
    va_end(arguments);
    except_throw(EXCEPT_ASSERTION, line, file);
}
