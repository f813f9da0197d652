// Frames and throws. A throw is a longjmp, possibly from a stack segment of deep recursion, which
// is left first.

// A hardened setjmp.h would take a jump that ends on another stack for an attack.
#undef _FORTIFY_SOURCE

#include "norvane/base/except.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <csignal>
#include <fcntl.h>
#include <unistd.h>

#include "stack_jump.h"

ExceptionFrame* __exception_last = nullptr;
int __exception_caught = 0;

namespace norvane {
namespace {

// The text of the failure in progress.
char failure_text[MESSAGE_BUFFER_SIZE];

// Cuts the text where it does not fit. The places may overlap: a state may be thrown on to a frame
// that fills the very same state.
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
    return tracer != nullptr && std::strtol(tracer + std::strlen("TracerPid:"), nullptr, 10) != 0;
}

// A debugger sees the signal although it is ignored; whatever else traces the process (to list its
// system calls, say) passes it on, and then it must do no harm.
void debugger_break() {
    if (!debugger_is_attached()) return;
    struct sigaction ignore = {};
    struct sigaction before;
    ignore.sa_handler = SIG_IGN;
    if (sigaction(SIGTRAP, &ignore, &before) != 0) return;
    raise(SIGTRAP);
    sigaction(SIGTRAP, &before, nullptr);
}

void jump_to_frame(void* frame) {
    longjmp(static_cast<ExceptionFrame*>(frame)->buffer, 1);
}

// Removes a frame whichever way its owner is left: by a return, by a throw that it caught, or by a
// C++ exception of the host, which unwinds the owner.
struct FrameRemoval {
    ExceptionFrame* previous;
    ~FrameRemoval() { __exception_last = previous; }
};

} // namespace
} // namespace norvane

// No local changes between setjmp and the jump.
int except_catch(void (*body)(void* user), void* user, ExceptionState* state) {
    NORVANE_ASSERT(body);
    NORVANE_ASSERT(state);
    ExceptionFrame frame;
    frame.previous = __exception_last;
    frame.state = state;
    const norvane::FrameRemoval removal = {frame.previous};
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
    str_vsnprintf(norvane::failure_text, sizeof norvane::failure_text, format, arguments);
    va_end(arguments);
}

void except_throw(int kind, int line, const char* file) {
    if (file == nullptr) file = "";
    ExceptionFrame* frame = __exception_last;
    if (frame == nullptr) {
        std::fprintf(stderr, "%s:%d: %s\n", file, line, norvane::failure_text);
        std::abort();
    }
    frame->state->kind = kind;
    frame->state->line = line;
    norvane::copy_text(frame->state->file, file);
    norvane::copy_text(frame->state->message, norvane::failure_text);
    norvane::deep::jump_on_stack_of(frame, norvane::jump_to_frame, frame);
}

void except_assertion_failed(const char* expression, int line, const char* file) {
    norvane::debugger_break();
    except_report_errormsg("%s", expression);
    except_throw(EXCEPT_ASSERTION, line, file);
}

void except_fail(int line, const char* file, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    str_vsnprintf(norvane::failure_text, sizeof norvane::failure_text, format, arguments);
    va_end(arguments);
    except_throw(EXCEPT_ASSERTION, line, file);
}
