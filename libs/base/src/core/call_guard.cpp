// The guards of the calls that are running. They belong to one thread and form a chain.
#include "norvane/base/call_guard.hpp"

#include <atomic>
#include <cstdio>

#include "throwing.h"

namespace norvane {
namespace {

constinit thread_local char this_thread = 0; // its address identifies the thread
constinit std::atomic<const char*> running_thread = nullptr;
constinit CallGuard* innermost = nullptr;

[[noreturn, gnu::cold]] void refuse_thread(const char* function) {
    char text[MESSAGE_BUFFER_SIZE];
    std::snprintf(text, sizeof text, "%s: another thread is using the library", function);
    core::throw_text(EXCEPT_ASSERTION, __LINE__, __FILE__, text);
}

} // namespace

CallGuard::CallGuard(const char* function, const void* state)
    : outer_(nullptr), frame_(core::innermost_frame()), state_(state) {
    const char* none = nullptr;
    if (running_thread.load(std::memory_order_relaxed) != &this_thread &&
        !running_thread.compare_exchange_strong(none, &this_thread))
        refuse_thread(function);
    for (const CallGuard* guard = innermost; guard && state; guard = guard->outer_)
        if (guard->state_ == state)
            NORVANE_FAIL("%s: called while such a call is running", function);
    outer_ = innermost;
    innermost = this;
}

CallGuard::~CallGuard() {
    leave(outer_);
}

void CallGuard::leave(CallGuard* outer) {
    innermost = outer;
    if (!outer) running_thread.store(nullptr, std::memory_order_release);
}

void CallGuard::end_inside(const ExceptionFrame* frame) {
    if (running_thread.load(std::memory_order_relaxed) != &this_thread) return;
    while (innermost && innermost->frame_ == frame)
        leave(innermost->outer_);
}

} // namespace norvane
