// Stack segments for deep recursion.
//
// Segments form a chain: each is entered from the one before it, the first from the thread's own
// stack. The chain goes one segment beyond the current one at most, which is kept so that a
// recursion that goes up and down across a border does not map and unmap memory at every turn.
//
// The library serves one thread at a time, and the chain is shared by all of them: what another
// thread left in it is dead.
#include "norvane/base/deep.hpp"

#include <algorithm>
#include <atomic>
#include <new>

#include <pthread.h>
#include <sys/mman.h>
#include <unistd.h>

#include "norvane/base/except.h"
#include "stack_jump.h"

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

// Calls function(user) with the stack pointer at `top`, which is aligned to 16 bytes. The unwinding
// tables lead a debugger, and a C++ exception of a sink, back across the border.
extern "C" void norvane_call_on_stack(void* top, void (*function)(void*), void* user);

#if defined(__x86_64__)
asm(R"(
    .text
    .globl norvane_call_on_stack
    .hidden norvane_call_on_stack
    .type norvane_call_on_stack, @function
norvane_call_on_stack:
    .cfi_startproc
    pushq %rbp
    .cfi_def_cfa_offset 16
    .cfi_offset %rbp, -16
    movq %rsp, %rbp
    .cfi_def_cfa_register %rbp
    movq %rdi, %rsp
    movq %rdx, %rdi
    callq *%rsi
    movq %rbp, %rsp
    popq %rbp
    .cfi_def_cfa %rsp, 8
    retq
    .cfi_endproc
    .size norvane_call_on_stack, . - norvane_call_on_stack
)");
#elif defined(__aarch64__)
asm(R"(
    .text
    .globl norvane_call_on_stack
    .hidden norvane_call_on_stack
    .type norvane_call_on_stack, %function
norvane_call_on_stack:
    .cfi_startproc
    stp x29, x30, [sp, #-16]!
    .cfi_def_cfa_offset 16
    .cfi_offset 29, -16
    .cfi_offset 30, -8
    mov x29, sp
    .cfi_def_cfa_register 29
    mov sp, x0
    mov x0, x2
    blr x1
    mov sp, x29
    .cfi_def_cfa_register 31
    ldp x29, x30, [sp], #16
    .cfi_def_cfa_offset 0
    .cfi_restore 29
    .cfi_restore 30
    ret
    .cfi_endproc
    .size norvane_call_on_stack, . - norvane_call_on_stack
)");
#else
#include <ucontext.h>

namespace {

// makecontext passes integers only.
struct ContextCall {
    void (*function)(void*);
    void* user;
} context_call;

void run_context_call() {
    const ContextCall call = context_call;
    call.function(call.user);
}

} // namespace

extern "C" [[gnu::visibility("hidden")]] void
norvane_call_on_stack(void* top, void (*function)(void*), void* user) {
    constexpr std::size_t size = 32 << 10; // of the place that is known to be free below `top`
    ucontext_t caller;
    ucontext_t callee;
    getcontext(&callee);
    callee.uc_stack.ss_sp = static_cast<char*>(top) - size;
    callee.uc_stack.ss_size = size;
    callee.uc_link = &caller;
    context_call = {function, user};
    makecontext(&callee, run_context_call, 0);
    swapcontext(&caller, &callee);
}
#endif

namespace norvane::deep {

constinit Window window = {0, 0};

namespace {

// What every stack keeps for code that does not look: formatting, sorting, sinks of the host. The
// frames of instrumented code are larger.
#ifdef NORVANE_ASAN
constexpr std::size_t reserve = 512 << 10;
#else
constexpr std::size_t reserve = 256 << 10;
#endif

constexpr std::size_t smallest_segment = 1 << 20;
constexpr std::size_t largest_segment = 64 << 20;

// The bytes of a stack, from `low` to below `high`.
struct Bounds {
    std::uintptr_t low = 0;
    std::uintptr_t high = 0;
    bool hold(std::uintptr_t address) const { return address - low < high - low; }
};

// What the address sanitizer knows about the stack that a segment was entered from.
struct OuterStack {
    void* fake_stack;
    const void* low;
    std::size_t size;
};

// Lies at the upper end of its own memory.
struct Segment {
    Bounds stack;
    char* memory; // with the guard page, which is the first
    std::size_t memory_size;
    unsigned valgrind_id;
    Segment* outer;  // null: it was entered from the thread's own stack
    Segment* next;   // the one to be entered from here; may be null
    char* departure; // all of the outer stack below it is free
    OuterStack outer_stack;
};

// A thread's own stack. Another thread may get the same place for its stack later on, with other
// bounds, so the window goes with the thread.
struct Thread {
    Bounds stack;
    ~Thread();
};

constinit thread_local Thread this_thread;
constinit std::atomic<Thread*> owner = nullptr; // whose stacks the window and the chain describe
constinit Segment* first = nullptr;             // of the chain; kept for good
constinit Segment* current = nullptr;           // null: the thread's own stack

Thread::~Thread() {
    Thread* self = this;
    if (owner.compare_exchange_strong(self, nullptr)) window = {0, 0};
}

// How the address sanitizer learns about a change of stacks: _enter and _leave come before it,
// _entered and _left behind it, on the other stack.
#ifdef NORVANE_ASAN
#define NORVANE_UNCHECKED [[gnu::noinline]] __attribute__((no_sanitize("address")))

void sanitizer_enter(Segment* segment) {
    __sanitizer_start_switch_fiber(&segment->outer_stack.fake_stack,
                                   reinterpret_cast<void*>(segment->stack.low),
                                   segment->stack.high - segment->stack.low);
}
void sanitizer_entered(Segment* segment) {
    __sanitizer_finish_switch_fiber(nullptr, &segment->outer_stack.low, &segment->outer_stack.size);
}
void sanitizer_leave(Segment* segment) {
    __sanitizer_start_switch_fiber(nullptr, segment->outer_stack.low, segment->outer_stack.size);
}
void sanitizer_left(Segment* segment) {
    __sanitizer_finish_switch_fiber(segment->outer_stack.fake_stack, nullptr, nullptr);
}
// Somebody else's jump has left the segment long ago. Functions that were called since may have
// their locals in what the sanitizer holds for the segment, so that is not thrown away.
void sanitizer_was_left(Segment* segment, std::uintptr_t frame) {
    void* kept;
    __sanitizer_start_switch_fiber(&kept, segment->outer_stack.low, segment->outer_stack.size);
    sanitizer_left(segment);
    const auto low = reinterpret_cast<std::uintptr_t>(segment->outer_stack.low);
    if (frame > low && frame - low < segment->outer_stack.size)
        __asan_unpoison_memory_region(segment->outer_stack.low, frame - low);
}
void sanitizer_forget_frames() {
    __asan_handle_no_return();
}
void sanitizer_forget(Segment* segment) {
    __asan_unpoison_memory_region(segment->memory, segment->memory_size);
}
// Locals whose use after the return is watched for do not lie on the stack itself.
bool sanitizer_holds(const void* address) {
    void* fake_stack = __asan_get_current_fake_stack();
    return fake_stack &&
           __asan_addr_is_in_fake_stack(fake_stack, const_cast<void*>(address), nullptr, nullptr);
}
#else
#define NORVANE_UNCHECKED [[gnu::noinline]]

void sanitizer_enter(Segment*) {}
void sanitizer_entered(Segment*) {}
void sanitizer_leave(Segment*) {}
void sanitizer_left(Segment*) {}
void sanitizer_was_left(Segment*, std::uintptr_t) {}
void sanitizer_forget_frames() {}
void sanitizer_forget(Segment*) {}
bool sanitizer_holds(const void*) {
    return false;
}
#endif

Bounds stack_of_this_thread() {
    pthread_attr_t attributes;
    if (pthread_getattr_np(pthread_self(), &attributes) != 0) return {};
    void* low = nullptr;
    std::size_t size = 0;
    std::size_t guard = 0;
    pthread_attr_getstack(&attributes, &low, &size);
    // Some systems count the guard as part of the stack.
    pthread_attr_getguardsize(&attributes, &guard);
    pthread_attr_destroy(&attributes);
    if (size <= guard) return {};
    const auto begin = reinterpret_cast<std::uintptr_t>(low);
    return {begin + guard, begin + size};
}

// A stack that is smaller than the reserve has no usable part: recursion leaves it at once.
void open_window(const Bounds& stack) {
    const std::size_t size = stack.high - stack.low;
    window = size > reserve ? Window{stack.low + reserve, size - reserve} : Window{0, 0};
}

Segment* map_segment(std::size_t size) {
    void* memory = mmap(nullptr, size, PROT_READ | PROT_WRITE,
                        MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (memory == MAP_FAILED) NORVANE_FAIL("Out of memory");
    const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    if (mprotect(memory, page, PROT_NONE) != 0) {
        munmap(memory, size);
        NORVANE_FAIL("Out of memory");
    }
    char* begin = static_cast<char*>(memory);
    char* header = begin + size - (sizeof(Segment) + 63) / 64 * 64;
    auto* segment = new (header) Segment{};
    segment->stack = {reinterpret_cast<std::uintptr_t>(begin + page),
                      reinterpret_cast<std::uintptr_t>(header)};
    segment->memory = begin;
    segment->memory_size = size;
    segment->valgrind_id = VALGRIND_STACK_REGISTER(begin + page, header);
    return segment;
}

// Gives the segment and all behind it back to the system.
void unmap_segments(Segment* segment) {
    while (segment) {
        Segment* next = segment->next;
        VALGRIND_STACK_DEREGISTER(segment->valgrind_id);
        sanitizer_forget(segment);
        munmap(segment->memory, segment->memory_size);
        segment = next;
    }
}

// The segment to go on with, which may be there already.
Segment* next_segment() {
    Segment*& next = current ? current->next : first;
    if (!next) {
        next = map_segment(current ? std::min(2 * current->memory_size, largest_segment)
                                   : smallest_segment);
    }
    return next;
}

// Makes the outer stack of the segment the current one, and keeps the segment for the next time.
void drop(Segment* segment) {
    current = segment->outer;
    open_window(current ? current->stack : this_thread.stack);
    unmap_segments(segment->next);
    segment->next = nullptr;
}

// Makes the stack that holds the frame, which is one in use, the current one.
void settle(std::uintptr_t frame) {
    Thread* self = &this_thread;
    if (owner.load(std::memory_order_relaxed) != self) {
        if (first) drop(first);
        current = nullptr;
        owner.store(self, std::memory_order_relaxed);
    }
    if (self->stack.high == 0) self->stack = stack_of_this_thread();
    while (current && !current->stack.hold(frame)) {
        sanitizer_was_left(current, frame);
        drop(current);
    }
    if (current)
        open_window(current->stack);
    else if (self->stack.hold(frame))
        open_window(self->stack);
    else
        window = {0, 0}; // a stack of the host's own making
}

struct Call {
    Segment* segment;
    void (*body)(void*);
    void* user;
};

NORVANE_UNCHECKED void run_call(void* user) {
    auto* call = static_cast<Call*>(user);
    sanitizer_entered(call->segment);
    call->body(call->user);
    sanitizer_leave(call->segment);
}

// A jump on its way out. Not on a stack, because those are left.
struct {
    const void* address;
    void (*jump)(void*);
    void* user;
} pending_jump;

NORVANE_UNCHECKED void hop(void*) {
    sanitizer_left(current);
    drop(current);
    jump_on_stack_of(pending_jump.address, pending_jump.jump, pending_jump.user);
}

std::uintptr_t here() {
    return reinterpret_cast<std::uintptr_t>(__builtin_frame_address(0));
}

} // namespace

bool outside_window(std::uintptr_t frame) {
    settle(frame);
    return frame - window.low >= window.size;
}

NORVANE_UNCHECKED void run_on_segment(void (*body)(void*), void* user) {
    settle(here());
    Segment* segment = next_segment();
    segment->outer = current;
    segment->departure = static_cast<char*>(__builtin_frame_address(0));
    current = segment;
    open_window(segment->stack);
    Call call = {segment, body, user};
    sanitizer_enter(segment);
    norvane_call_on_stack(reinterpret_cast<void*>(segment->stack.high), run_call, &call);
    sanitizer_left(segment);
    drop(segment);
}

// Goes back stack by stack, each time to the place on it from which the next one was entered.
NORVANE_UNCHECKED void jump_on_stack_of(const void* address, void (*jump)(void*), void* user) {
    if (current) settle(here());
    if (current && !current->stack.hold(reinterpret_cast<std::uintptr_t>(address)) &&
        !sanitizer_holds(address)) {
        pending_jump = {address, jump, user};
        sanitizer_forget_frames();
        const auto departure = reinterpret_cast<std::uintptr_t>(current->departure);
        sanitizer_leave(current);
        norvane_call_on_stack(reinterpret_cast<void*>(departure & ~std::uintptr_t{15}), hop,
                              nullptr);
    }
    jump(user);
    __builtin_unreachable();
}

} // namespace norvane::deep
