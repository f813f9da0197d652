// Deep recursion on a small stack.
//
// Input decides how deep a tree is: a loop of a million turns unfolds into a chain of a million
// nodes. Every function that recurses along a tree starts with
//
//     if (stack_is_low()) return on_fresh_stack([&] { return self(arguments); });
//
// and so continues on a new stack segment when the current stack runs low. Segments are mapped when
// they are needed and unmapped after the recursion returns. A throw (except.h), a C++ exception or
// a jump of the host may leave a segment; the next check notices it and unmaps what is unused.
#ifndef NORVANE_BASE_DEEP_HPP
#define NORVANE_BASE_DEEP_HPP

#include <cstdint>
#include <type_traits>

#include "norvane/base/export.h"

namespace norvane {

namespace deep {

// The part of the current stack that recursion may use: `size` bytes from `low`. For a frame
// outside it, the stack runs low, or the segment described here was left by a jump.
struct Window {
    std::uintptr_t low;
    std::uintptr_t size;
};
// The window of the calling thread. "initial-exec" makes the access as cheap as that to a global
// variable of a shared library, and `constinit`, which C++17 lacks, avoids a call per access.
extern NORVANE_BASE_API
#if __cplusplus >= 202002L
    constinit
#endif
    thread_local Window thread_window __attribute__((tls_model("initial-exec")));

// The slow path of stack_is_low, for a frame outside the window.
NORVANE_BASE_API bool outside_window(std::uintptr_t frame);

// Calls body(user) on the next segment.
NORVANE_BASE_API void run_on_segment(void (*body)(void*), void* user);

} // namespace deep

// True if less than the reserve is left on the current stack.
[[gnu::always_inline]] inline bool stack_is_low() {
    const auto frame = reinterpret_cast<std::uintptr_t>(__builtin_frame_address(0));
    if (__builtin_expect(frame - deep::thread_window.low < deep::thread_window.size, 1))
        return false;
    return deep::outside_window(frame);
}

// Runs `body` on the next stack segment and returns its result, which must be trivially
// destructible.
template <typename F>
auto on_fresh_stack(F&& body) {
    using Result = std::invoke_result_t<F&>;
    if constexpr (std::is_void_v<Result>) {
        deep::run_on_segment(
            [](void* user) { (*static_cast<std::remove_reference_t<F>*>(user))(); }, &body);
    } else {
        static_assert(std::is_trivially_destructible_v<Result>);
        struct Call {
            std::remove_reference_t<F>* body;
            Result result;
        } call{&body, Result{}};
        deep::run_on_segment(
            [](void* user) {
                auto* c = static_cast<Call*>(user);
                c->result = (*c->body)();
            },
            &call);
        return call.result;
    }
}

} // namespace norvane

#endif
