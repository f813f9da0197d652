// Recursion that is deeper than the stack, and throws out of it.
#include <sys/mman.h>
#include <sys/resource.h>
#include <ucontext.h>

#include "norvane/base/deep.hpp"
#include "test.h"

#if defined(__SANITIZE_ADDRESS__)
#define NORVANE_ASAN 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define NORVANE_ASAN 1
#endif
#endif

namespace {

using norvane::on_fresh_stack;
using norvane::stack_is_low;
using norvane::test::thrown;
using norvane::test::with_small_stack;

// The sum of the numbers up to n, by a recursion of n levels; calls `at_the_end` in the last.
[[gnu::noinline]] std::uint64_t sum(std::uint64_t n, const std::function<void()>& at_the_end) {
    if (stack_is_low()) return on_fresh_stack([&] { return sum(n, at_the_end); });
    if (n == 0) {
        at_the_end();
        return 0;
    }
    const std::uint64_t rest = sum(n - 1, at_the_end);
    asm volatile("" ::: "memory"); // keeps the compiler from making it a loop
    return n + rest;
}

void nothing() {}

void fail() {
    NORVANE_FAIL("bottom");
}

void expect_depth(std::uint64_t n, const std::function<void()>& at_the_end = nothing) {
    EXPECT_EQ(sum(n, at_the_end), n * (n + 1) / 2);
}

// What this process has taken from the system so far: address space in bytes, and page faults.
std::size_t address_space() {
    FILE* status = fopen("/proc/self/statm", "r");
    std::size_t pages = 0;
    EXPECT_EQ(fscanf(status, "%zu", &pages), 1);
    fclose(status);
    return pages * 4096;
}

// The address sanitizer keeps memory of its own for each stack.
long page_faults() {
#ifdef NORVANE_ASAN
    return 0;
#else
    rusage usage;
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_minflt;
#endif
}

TEST(DeepTest, TheMainThreadAndThreadsOfAnySizeTakeTurns) {
    for (const std::size_t kilobytes : {8192u, 64u, 1024u, 256u, 16384u, 128u}) {
        with_small_stack([] { expect_depth(300'000); }, kilobytes << 10);
        expect_depth(300'000);
    }
}

TEST(DeepTest, AThreadDoesNotTakeTheStackBeforeItAtTheSamePlaceForItsOwn) {
    constexpr std::size_t size = 8 << 20;
    constexpr std::size_t upper = 2 << 20;
    void* const memory =
        mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    ASSERT_NE(memory, MAP_FAILED);
    char* const low = static_cast<char*>(memory);
    const auto body = [] { expect_depth(300'000); };
    with_small_stack(body, size, low);
    mprotect(low, size - upper, PROT_NONE);
    with_small_stack(body, upper, low + size - upper);
    munmap(memory, size);
}

TEST(DeepTest, MemoryIsGivenBackWhenTheRecursionHasReturnedOrThrown) {
    with_small_stack([] {
        expect_depth(2'000'000);
        const std::size_t before = address_space();
        for (int i = 0; i < 3; ++i) {
            expect_depth(2'000'000);
            EXPECT_EQ(thrown([] { sum(2'000'000, fail); }), "1: bottom");
        }
        EXPECT_LT(address_space(), before + (8u << 20));
    });
}

TEST(DeepTest, ManyThrowsOutOfSegmentsNeitherLeakNorSlowDown) {
    const auto many_throws = [] {
        static ExceptionState state;
        const auto body = [](void*) { sum(20, fail); };
        except_catch(body, nullptr, &state);
        const std::size_t before = address_space();
        const long faults_before = page_faults();
        int caught = 0;
        for (int i = 0; i < 100'000; ++i)
            caught += except_catch(body, nullptr, &state);
        EXPECT_EQ(caught, 100'000);
        EXPECT_LT(address_space(), before + (8u << 20));
        EXPECT_LT(page_faults() - faults_before, 10'000);
    };
    with_small_stack(many_throws, 128 << 10); // less than the reserve: every call is on a segment
}

TEST(DeepTest, AThrowIsCaughtByAFrameBetweenSegments) {
    with_small_stack([] {
        // The frame lies in a segment, and the recursion goes on after the catch.
        const auto between = [] {
            EXPECT_EQ(thrown([] { sum(500'000, fail); }), "1: bottom");
            expect_depth(500'000);
        };
        expect_depth(500'000, between);
        const auto between_and_fail = [&] {
            between();
            NORVANE_FAIL("between");
        };
        EXPECT_EQ(thrown([&] { sum(500'000, between_and_fail); }), "1: between");
    });
}

TEST(DeepTest, AJumpOfTheHostOutOfASegmentIsNoticed) {
    with_small_stack([] {
        static jmp_buf buffer;
        for (static int i = 0; i < 5; ++i) {
            if (setjmp(buffer) == 0) sum(500'000, [] { longjmp(buffer, 1); });
            expect_depth(300'000);
        }
    });
}

// The address sanitizer must be told of such a stack, and reserves more address space than any
// limit allows.
#ifndef NORVANE_ASAN
TEST(DeepTest, AStackOfTheHostsOwnMakingIsLeftAtOnce) {
    static ucontext_t host, own;
    std::vector<char> stack(64 << 10);
    getcontext(&own);
    own.uc_stack.ss_sp = stack.data();
    own.uc_stack.ss_size = stack.size();
    own.uc_link = &host;
    static bool has_run = false;
    makecontext(
        &own, [] { has_run = (expect_depth(300'000), true); }, 0);
    swapcontext(&host, &own);
    EXPECT_TRUE(has_run);
    expect_depth(300'000); // on the stack of the thread again
}

TEST(DeepTest, ASegmentThatCannotBeMappedIsAFailure) {
    const auto endless = [] {
        rlimit limit = {};
        limit.rlim_cur = limit.rlim_max = address_space() + (16u << 20);
        setrlimit(RLIMIT_AS, &limit);
        const std::string text = thrown([] { sum(UINT64_MAX, nothing); });
        fprintf(stderr, "%s\n", text.c_str());
        std::_Exit(0);
    };
    EXPECT_EXIT(endless(), testing::ExitedWithCode(0), "^1: Out of memory\n$");
}
#endif

} // namespace
