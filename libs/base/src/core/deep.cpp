// Stack segments for deep recursion.
//
// Each thread has a chain of segments: each is entered from the one before it, the first from the
// thread's own stack. One segment after the current one is kept, so that a recursion that returns
// and descends across the same border does not map and unmap memory each time.
#include "norvane/base/deep.hpp"

#include <algorithm>
#include <new>

#include <alloca.h>
#include <pthread.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <unistd.h>

#include "norvane/base/except.h"
#include "stack_jump.h"
#include "stack_tools.h"

// Calls function(user) with the stack pointer at `top`, which is aligned to 16 bytes. The unwinding
// tables let debuggers and C++ exceptions of a sink cross the border.
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

constinit thread_local Window thread_window = {0, 0};

// Kept for compatibility: programs that were built when all threads shared this window read it,
// find every frame outside it, and call outside_window, which uses the window of the thread.
extern NORVANE_BASE_API Window window;
constinit Window window = {0, 0};

namespace {

using namespace core;

// Kept free on every stack for functions without a check: formatting, sorting, sinks of the host.
// Instrumented code has larger frames.
constexpr std::size_t reserve = (has_sanitizer ? 512 : 256) << 10;

constexpr std::size_t smallest_segment = 1 << 20;
constexpr std::size_t largest_segment = 64 << 20;

// A stack segment. The record lies at the upper end of the segment's own memory.
struct Segment {
    Bounds stack;
    char* memory; // starts with the guard page
    std::size_t memory_size;
    unsigned valgrind_id;
    Segment* outer;  // null: it was entered from the thread's own stack
    Segment* next;   // the one entered from here; may be null
    char* departure; // the outer stack is free below this address
    OuterStack outer_stack;
};

// The stacks of a thread.
struct Stacks {
    Bounds own;       // empty until needed
    Bounds usable;    // the part of it that recursion may use
    Segment* first;   // of the chain; kept until the thread ends
    Segment* current; // null: the thread's own stack
};
constinit thread_local Stacks stacks = {};

// Unmaps the segment and all after it.
void unmap_segments(Segment* segment) {
    while (segment) {
        Segment* next = segment->next;
        VALGRIND_STACK_DEREGISTER(segment->valgrind_id);
        sanitizer_forget(segment->memory, segment->memory_size);
        munmap(segment->memory, segment->memory_size);
        segment = next;
    }
}

// Unmaps the chain when the thread ends.
struct ChainOwner {
    ~ChainOwner() {
        unmap_segments(stacks.first);
        stacks.first = nullptr;
    }
    void own() {} // called to construct the thread_local
};
thread_local ChainOwner chain_owner;

Bounds stack_of_this_thread() {
    pthread_attr_t attributes;
    if (pthread_getattr_np(pthread_self(), &attributes) != 0) return {};
    void* low = nullptr;
    std::size_t size = 0;
    std::size_t guard = 0;
    pthread_attr_getstack(&attributes, &low, &size);
    // Some systems include the guard in the stack.
    pthread_attr_getguardsize(&attributes, &guard);
    pthread_attr_destroy(&attributes);
    if (size <= guard) return {};
    const auto begin = reinterpret_cast<std::uintptr_t>(low);
    return {begin + guard, begin + size};
}

NORVANE_UNCHECKED void touch_stack(std::size_t depth) {
    *static_cast<volatile char*>(alloca(depth)) = 0;
}

// True if so many more bytes of addresses can be had.
bool has_room(std::size_t size) {
    void* memory = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    return memory != MAP_FAILED && munmap(memory, size) == 0;
}

// The system maps the stack of the main thread when it is used, and kills a process whose limit of
// addresses is reached then. So under such a limit the stack gets a part of its size at once, and
// recursion goes on in segments, which fail with a report.
Bounds usable_part(const Bounds& stack) {
    rlimit addresses;
    const bool is_limited =
        getrlimit(RLIMIT_AS, &addresses) == 0 && addresses.rlim_cur != RLIM_INFINITY;
    if (!is_limited || gettid() != getpid()) return stack;
    const auto top = reinterpret_cast<std::uintptr_t>(__builtin_frame_address(0));
    if (!stack.hold(top)) return stack; // its bounds are unknown: the system had no memory
    if (top - stack.low < 2 * smallest_segment) return stack;
    if (!has_room(smallest_segment)) return {top, stack.high};
    touch_stack(smallest_segment);
    return {top - smallest_segment, stack.high};
}

const Bounds& own_stack() {
    if (stacks.own.high == 0) {
        stacks.own = stack_of_this_thread();
        stacks.usable = usable_part(stacks.own);
    }
    return stacks.own;
}

const Bounds& usable_stack() {
    own_stack();
    return stacks.usable;
}

// A stack that is smaller than the reserve gets an empty window: recursion leaves it at once.
void open_window(const Bounds& stack) {
    const std::size_t size = stack.high - stack.low;
    thread_window = size > reserve ? Window{stack.low + reserve, size - reserve} : Window{0, 0};
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

// Returns the segment after the current stack; maps it if there is none.
Segment* next_segment() {
    Segment* current = stacks.current;
    if (!current) chain_owner.own();
    Segment*& next = current ? current->next : stacks.first;
    if (!next) {
        next = map_segment(current ? std::min(2 * current->memory_size, largest_segment)
                                   : smallest_segment);
    }
    return next;
}

// Makes the outer stack of the segment the current one. Keeps the segment for the next time, and
// unmaps those after it.
void drop(Segment* segment) {
    stacks.current = segment->outer;
    open_window(segment->outer ? segment->outer->stack : usable_stack());
    unmap_segments(segment->next);
    segment->next = nullptr;
}

// Makes the stack that contains the frame, which is in use, the current one.
void settle(std::uintptr_t frame) {
    while (stacks.current && !stacks.current->stack.hold(frame)) {
        sanitizer_was_left(&stacks.current->outer_stack, frame);
        drop(stacks.current);
    }
    if (stacks.current)
        open_window(stacks.current->stack);
    else if (own_stack().hold(frame))
        open_window(usable_stack());
    else
        thread_window = {0, 0}; // a stack that the host created
}

struct Call {
    Segment* segment;
    void (*body)(void*);
    void* user;
};

NORVANE_UNCHECKED void run_call(void* user) {
    auto* call = static_cast<Call*>(user);
    sanitizer_entered(&call->segment->outer_stack);
    call->body(call->user);
    sanitizer_leave(&call->segment->outer_stack);
}

// The jump that is leaving the segments. Not on a stack, because the stacks are left.
struct PendingJump {
    const void* address;
    void (*jump)(void*);
    void* user;
};
constinit thread_local PendingJump pending_jump = {};

NORVANE_UNCHECKED void hop(void*) {
    sanitizer_left(&stacks.current->outer_stack);
    drop(stacks.current);
    jump_on_stack_of(pending_jump.address, pending_jump.jump, pending_jump.user);
}

std::uintptr_t here() {
    return reinterpret_cast<std::uintptr_t>(__builtin_frame_address(0));
}

} // namespace

bool outside_window(std::uintptr_t frame) {
    settle(frame);
    return frame - thread_window.low >= thread_window.size;
}

NORVANE_UNCHECKED void run_on_segment(void (*body)(void*), void* user) {
    settle(here());
    Segment* segment = next_segment();
    segment->outer = stacks.current;
    segment->departure = static_cast<char*>(__builtin_frame_address(0));
    stacks.current = segment;
    open_window(segment->stack);
    Call call = {segment, body, user};
    sanitizer_enter(&segment->outer_stack, segment->stack);
    norvane_call_on_stack(reinterpret_cast<void*>(segment->stack.high), run_call, &call);
    sanitizer_left(&segment->outer_stack);
    drop(segment);
}

// Leaves one stack after the other, each time for the place from which it was entered.
NORVANE_UNCHECKED void jump_on_stack_of(const void* address, void (*jump)(void*), void* user) {
    if (stacks.current) settle(here());
    const Segment* current = stacks.current;
    if (current && !current->stack.hold(reinterpret_cast<std::uintptr_t>(address)) &&
        !sanitizer_holds(address)) {
        pending_jump = {address, jump, user};
        sanitizer_forget_frames();
        const auto departure = reinterpret_cast<std::uintptr_t>(current->departure);
        sanitizer_leave(&current->outer_stack);
        norvane_call_on_stack(reinterpret_cast<void*>(departure & ~std::uintptr_t{15}), hop,
                              nullptr);
    }
    jump(user);
    __builtin_unreachable();
}

bool may_jump_to(const void* address) {
    settle(here());
    const Bounds& own = own_stack();
    const auto place = reinterpret_cast<std::uintptr_t>(address);
    if (own.hold(place) || sanitizer_holds(address)) return true;
    for (const Segment* segment = stacks.current; segment; segment = segment->outer)
        if (segment->stack.hold(place)) return true;
    // On a stack that the host created, frames of other such stacks may be this thread's too.
    return !stacks.current && !own.hold(here());
}

} // namespace norvane::deep
