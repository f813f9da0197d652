// Allocation that never returns null. It uses malloc, because callers release records with free().
#include "norvane/base/memory.h"

#include <cstdio>
#include <cstdlib>

#include "norvane/base/except.h"

namespace norvane::core {
namespace {

// Not inlined, so that its callers stay small.
[[noreturn, gnu::cold, gnu::noinline]] void out_of_memory() {
    except_report_errormsg("Out of memory");
    except_throw(EXCEPT_ASSERTION, __LINE__, __FILE__);
}

bool are_scanner_failures_thrown = false;

// For size 0 malloc may return null without a failure, and realloc may free the block.
inline size_t at_least_one(size_t size) {
    return size == 0 ? 1 : size;
}

} // namespace
} // namespace norvane::core

using namespace norvane::core;

void* util_malloc_throw(size_t size) {
    void* memory = std::malloc(at_least_one(size));
    if (!memory) out_of_memory();
    return memory;
}

void* util_calloc_throw(size_t size) {
    void* memory = std::calloc(1, at_least_one(size));
    if (!memory) out_of_memory();
    return memory;
}

void* util_realloc_throw(void* pointer, size_t size) {
    void* memory = std::realloc(pointer, at_least_one(size));
    if (!memory) out_of_memory();
    return memory;
}

void util_throw_scanner_failures(int are_thrown) {
    are_scanner_failures_thrown = are_thrown != 0;
}

void util_fail_scanner(const char* text) {
    if (are_scanner_failures_thrown) out_of_memory();
    std::fprintf(stderr, "%s\n", text);
    std::exit(2);
}
