// Recursion that is deeper than the stack, and throws out of it.
#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <vector>

#include <pthread.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <ucontext.h>

#include "norvane/base.h"
#include "norvane/base/deep.hpp"
#include "support.h"

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

// The address sanitizer keeps memory of its own for each stack.
#ifdef NORVANE_ASAN
constexpr bool faults_count = false;
#else
constexpr bool faults_count = true;
#endif

void nothing() {}

constexpr std::uint64_t sum_to(std::uint64_t n) {
    return n * (n + 1) / 2;
}

// Runs the body on a thread with the stack of these attributes.
void with_stack(pthread_attr_t attributes, const std::function<void()>& body) {
    pthread_t thread;
    const auto run = [](void* user) -> void* {
        (*static_cast<const std::function<void()>*>(user))();
        return nullptr;
    };
    ASSERT_EQ(pthread_create(&thread, &attributes, run, const_cast<std::function<void()>*>(&body)),
              0);
    pthread_join(thread, nullptr);
    pthread_attr_destroy(&attributes);
}

pthread_attr_t stack_size(std::size_t size) {
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    EXPECT_EQ(pthread_attr_setstacksize(&attributes, size), 0);
    return attributes;
}

pthread_attr_t stack_at(char* memory, std::size_t size) {
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    EXPECT_EQ(pthread_attr_setstack(&attributes, memory, size), 0);
    return attributes;
}

// What this process has taken from the system so far: address space in bytes, and page faults.
std::size_t address_space() {
    FILE* status = fopen("/proc/self/statm", "r");
    std::size_t pages = 0;
    EXPECT_EQ(fscanf(status, "%zu", &pages), 1);
    fclose(status);
    return pages * 4096;
}

long page_faults() {
    rusage usage;
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_minflt;
}

TEST(DeepTest, TwoMillionLevelsGiveTheirResultOnAnOrdinaryThread) {
    with_small_stack([] { EXPECT_EQ(sum(2'000'000, nothing), sum_to(2'000'000)); });
}

TEST(DeepTest, TheMainThreadAndThreadsOfAnySizeTakeTurns) {
    for (const std::size_t kilobytes : {8192u, 64u, 1024u, 256u, 16384u, 128u}) {
        with_stack(stack_size(kilobytes << 10),
                   [] { EXPECT_EQ(sum(300'000, nothing), sum_to(300'000)); });
        EXPECT_EQ(sum(300'000, nothing), sum_to(300'000));
    }
}

TEST(DeepTest, AThreadDoesNotTakeTheStackBeforeItAtTheSamePlaceForItsOwn) {
    constexpr std::size_t size = 8 << 20;
    constexpr std::size_t upper = 2 << 20;
    void* const memory =
        mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    ASSERT_NE(memory, MAP_FAILED);
    char* const low = static_cast<char*>(memory);
    const auto body = [] { EXPECT_EQ(sum(300'000, nothing), sum_to(300'000)); };
    with_stack(stack_at(low, size), body);
    mprotect(low, size - upper, PROT_NONE);
    with_stack(stack_at(low + size - upper, upper), body);
    munmap(memory, size);
}

TEST(DeepTest, MemoryIsGivenBackWhenTheRecursionHasReturnedOrThrown) {
    with_small_stack([] {
        sum(2'000'000, nothing);
        const std::size_t before = address_space();
        for (int i = 0; i < 3; ++i) {
            sum(2'000'000, nothing);
            EXPECT_EQ(thrown([] { sum(2'000'000, [] { NORVANE_FAIL("bottom"); }); }), "1: bottom");
        }
        EXPECT_LT(address_space(), before + (8u << 20));
    });
}

TEST(DeepTest, ManyThrowsOutOfSegmentsNeitherLeakNorSlowDown) {
    with_stack(stack_size(128 << 10), [] { // less than the reserve: every call is on a segment
        static ExceptionState state;
        const auto fail = [](void*) { sum(20, [] { NORVANE_FAIL("bottom"); }); };
        except_catch(fail, nullptr, &state);
        const std::size_t before = address_space();
        const long faults_before = page_faults();
        int caught = 0;
        for (int i = 0; i < 100'000; ++i)
            caught += except_catch(fail, nullptr, &state);
        EXPECT_EQ(caught, 100'000);
        EXPECT_LT(address_space(), before + (8u << 20));
        if (faults_count) {
            EXPECT_LT(page_faults() - faults_before, 10'000);
        }
    });
}

TEST(DeepTest, AThrowIsCaughtByAFrameInTheMidstOfTheSegments) {
    with_small_stack([] {
        std::string inner;
        const auto fail = [] { sum(500'000, [] { NORVANE_FAIL("bottom"); }); };
        // The frame lies in a segment, and the recursion goes on behind the catch.
        const auto in_the_midst = [&] {
            inner = thrown(fail);
            EXPECT_EQ(sum(500'000, nothing), sum_to(500'000));
        };
        EXPECT_EQ(sum(500'000, in_the_midst), sum_to(500'000));
        EXPECT_EQ(inner, "1: bottom");
        EXPECT_EQ(thrown([&] {
                      sum(500'000, [&] {
                          in_the_midst();
                          NORVANE_FAIL("midst");
                      });
                  }),
                  "1: midst");
    });
}

TEST(DeepTest, AJumpOfTheHostOutOfASegmentIsNoticed) {
    with_small_stack([] {
        static jmp_buf buffer;
        for (static int i = 0; i < 5; ++i) {
            if (setjmp(buffer) == 0) sum(500'000, [] { longjmp(buffer, 1); });
            EXPECT_EQ(sum(300'000, nothing), sum_to(300'000));
        }
    });
}

// The address sanitizer wants to be told of such a stack, and reserves more address space than any
// limit allows.
#ifndef NORVANE_ASAN
TEST(DeepTest, AStackOfTheHostsOwnMakingIsLeftAtOnce) {
    static ucontext_t host, own;
    static std::uint64_t result;
    std::vector<char> stack(64 << 10);
    getcontext(&own);
    own.uc_stack.ss_sp = stack.data();
    own.uc_stack.ss_size = stack.size();
    own.uc_link = &host;
    makecontext(
        &own, [] { result = sum(300'000, nothing); }, 0);
    swapcontext(&host, &own);
    EXPECT_EQ(result, sum_to(300'000));
    EXPECT_EQ(sum(300'000, nothing), result) << "and nothing of it is left";
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
