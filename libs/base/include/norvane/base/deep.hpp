// Deep recursion on a small stack.
//
// Trees are as deep as their input makes them: a loop of a million turns unfolds into a chain of a
// million nodes. Every function that recurses along a tree starts with
//
//     if (stack_is_low()) return on_fresh_stack([&] { return self(arguments); });
//
// and so goes on, on a new stack segment, when the current one runs low. Segments are taken from
// the system as they are needed, and given back when the recursion has returned. A throw
// (except.h) out of a segment is allowed: whatever was left is taken back at the next look.
#ifndef NORVANE_BASE_DEEP_HPP
#define NORVANE_BASE_DEEP_HPP

#include <cstddef>
#include <cstdint>
#include <type_traits>
#include <utility>

#include "norvane/base/export.h"

namespace norvane {

namespace deep {

// The part of the current stack that recursion may use: `size` bytes from `low`. Outside of it
// either the stack runs low, or a throw has left the segment that is described here.
struct Window {
    std::uintptr_t low;
    std::uintptr_t size;
};
// That of the stack that is in use.
NORVANE_BASE_API extern Window window;

// The slow half of stack_is_low: the current frame is outside of the window.
NORVANE_BASE_API bool outside_window(std::uintptr_t frame);

// Calls body(user) on a fresh segment.
NORVANE_BASE_API void run_on_segment(void (*body)(void*), void* user);

} // namespace deep

// True when less than the reserve is left on the current stack.
[[gnu::always_inline]] inline bool stack_is_low() {
    const auto frame = reinterpret_cast<std::uintptr_t>(__builtin_frame_address(0));
    if (__builtin_expect(frame - deep::window.low < deep::window.size, 1)) return false;
    return deep::outside_window(frame);
}

// Runs `body` on a fresh stack segment and returns its result, which must be trivial.
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
