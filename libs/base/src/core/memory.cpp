// Memory that never comes back null. Plain malloc underneath, because callers release records with
// free().
#include "norvane/base/memory.h"

#include <cstdlib>

#include "norvane/base/except.h"

namespace {

// Not inlined, so that the functions that call it stay a call and a test.
[[noreturn, gnu::cold, gnu::noinline]] void out_of_memory() {
    except_report_errormsg("Out of memory");
    except_throw(EXCEPT_ASSERTION, __LINE__, __FILE__);
}

// The C library may answer a request for nothing with null, which is no failure, and its realloc
// may free the block instead.
inline size_t at_least_one(size_t size) {
    return size == 0 ? 1 : size;
}

} // namespace

void* util_malloc_throw(size_t size) {
    void* memory = std::malloc(at_least_one(size));
    if (memory == nullptr) out_of_memory();
    return memory;
}

void* util_calloc_throw(size_t size) {
    void* memory = std::calloc(1, at_least_one(size));
    if (memory == nullptr) out_of_memory();
    return memory;
}

void* util_realloc_throw(void* pointer, size_t size) {
    void* memory = std::realloc(pointer, at_least_one(size));
    if (memory == nullptr) out_of_memory();
    return memory;
}
