// What the address sanitizer and valgrind are told about stack segments (deep.cpp). Without them
// the functions do nothing.
#ifndef NORVANE_BASE_STACK_TOOLS_H
#define NORVANE_BASE_STACK_TOOLS_H

#include <cstddef>
#include <cstdint>

#if __has_include(<valgrind/valgrind.h>)
#include <valgrind/valgrind.h>
#else
#define VALGRIND_STACK_REGISTER(low, high) 0u
#define VALGRIND_STACK_DEREGISTER(id) static_cast<void>(id)
#endif

#if defined(__SANITIZE_ADDRESS__)
#define NORVANE_ASAN 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define NORVANE_ASAN 1
#endif
#endif

#ifdef NORVANE_ASAN
#include <sanitizer/asan_interface.h>
#include <sanitizer/common_interface_defs.h>
#endif

namespace norvane::core {

// The bytes of a stack, from `low` to below `high`.
struct Bounds {
    std::uintptr_t low = 0;
    std::uintptr_t high = 0;
    bool hold(std::uintptr_t address) const { return address - low < high - low; }
};

// What the address sanitizer knows about the stack from which a segment was entered.
struct OuterStack {
    void* fake_stack;
    const void* low;
    std::size_t size;
};

// A change of stacks takes two calls: enter or leave before it, entered or left after it, on the
// other stack. The functions that call them are not instrumented (NORVANE_UNCHECKED).
#define NORVANE_UNCHECKED [[gnu::noinline]] __attribute__((no_sanitize("address")))

#ifdef NORVANE_ASAN
constexpr bool has_sanitizer = true;

inline void sanitizer_enter(OuterStack* outer, const Bounds& segment) {
    __sanitizer_start_switch_fiber(&outer->fake_stack, reinterpret_cast<void*>(segment.low),
                                   segment.high - segment.low);
}
inline void sanitizer_entered(OuterStack* outer) {
    __sanitizer_finish_switch_fiber(nullptr, &outer->low, &outer->size);
}
inline void sanitizer_leave(const OuterStack* outer) {
    __sanitizer_start_switch_fiber(nullptr, outer->low, outer->size);
}
inline void sanitizer_left(const OuterStack* outer) {
    __sanitizer_finish_switch_fiber(outer->fake_stack, nullptr, nullptr);
}
// The host has left the segment by a jump of its own or an exception, some time ago. Functions that
// were called since may have locals in the sanitizer's memory for the segment, so that is kept.
inline void sanitizer_was_left(const OuterStack* outer, std::uintptr_t frame) {
    void* kept;
    __sanitizer_start_switch_fiber(&kept, outer->low, outer->size);
    sanitizer_left(outer);
    const auto low = reinterpret_cast<std::uintptr_t>(outer->low);
    if (frame > low && frame - low < outer->size)
        __asan_unpoison_memory_region(outer->low, frame - low);
}
inline void sanitizer_forget_frames() {
    __asan_handle_no_return();
}
inline void sanitizer_forget(const void* memory, std::size_t size) {
    __asan_unpoison_memory_region(memory, size);
}
// Locals whose use after the return is watched for do not lie on the stack itself.
inline bool sanitizer_holds(const void* address) {
    void* fake_stack = __asan_get_current_fake_stack();
    return fake_stack &&
           __asan_addr_is_in_fake_stack(fake_stack, const_cast<void*>(address), nullptr, nullptr);
}
#else

constexpr bool has_sanitizer = false;

inline void sanitizer_enter(OuterStack*, const Bounds&) {}
inline void sanitizer_entered(OuterStack*) {}
inline void sanitizer_leave(const OuterStack*) {}
inline void sanitizer_left(const OuterStack*) {}
inline void sanitizer_was_left(const OuterStack*, std::uintptr_t) {}
inline void sanitizer_forget_frames() {}
inline void sanitizer_forget(const void*, std::size_t) {}
inline bool sanitizer_holds(const void*) {
    return false;
}
#endif

} // namespace norvane::core

#endif
