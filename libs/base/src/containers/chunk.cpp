// Arrays of the elements of a container, and their sorts.
#include "norvane/base/chunk.h"

#include <algorithm>
#include <cstdlib>

#include "merge_sort.h"
#include "norvane/base/except.h"
#include "norvane/base/memory.h"

void pchunk_sort(PolyChunk* chunk) {
    NORVANE_ASSERT(chunk);
    if (chunk->count < 2) return;
    NORVANE_ASSERT(chunk->compare);

    const PolyCompare compare = chunk->compare;
    const size_t count = static_cast<size_t>(chunk->count);
    void** scratch = static_cast<void**>(util_malloc_throw(count * sizeof(void*)));
    void** sorted = norvane::containers::merge_sort(
        chunk->elements, scratch, count,
        [compare](void* const& a, void* const& b) { return compare(&a, &b); });
    if (sorted == scratch) std::copy(scratch, scratch + count, chunk->elements);
    std::free(scratch);
}

void ichunk_sort(IntChunk* chunk) {
    NORVANE_ASSERT(chunk);
    std::sort(chunk->elements, chunk->elements + chunk->count);
}

void pchunk_delete(PolyChunk* chunk) {
    NORVANE_ASSERT(chunk);
    std::free(chunk->elements);
    std::free(chunk);
}

void ichunk_delete(IntChunk* chunk) {
    NORVANE_ASSERT(chunk);
    std::free(chunk->elements);
    std::free(chunk);
}
