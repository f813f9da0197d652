// PolySet and IntSet: the ownership of elements, on top of the shared core. A set and its core are
// allocated together. Callbacks run while the set is consistent, because they may throw, and delete
// callbacks run last, because the key to remove may be the stored element.
#include "norvane/base/set.h"

#include <cstdlib>

#include "hash_core.h"
#include "norvane/base/except.h"
#include "norvane/base/memory.h"

namespace norvane::containers {
namespace {

struct PolySetBlock {
    PolySet set;
    HashCore core;
};

struct IntSetBlock {
    IntSet set;
    HashCore core;
};

// For an empty set the key is not hashed.
HashEntry* find(const PolySet* set, const void* key) {
    if (set->size == 0) return nullptr;
    return hash_find(set->core, key, hash_key(set->hash, key), set->compare);
}

} // namespace
} // namespace norvane::containers

using namespace norvane::containers;

PolySet* pset_new(unsigned size, PolyCompare compare, PolyCopy copy, PolyHashFunction hash,
                  PolyDelete delete_element) {
    NORVANE_ASSERT(compare);
    NORVANE_ASSERT(hash);
    PolySetBlock* block = static_cast<PolySetBlock*>(util_malloc_throw(sizeof(PolySetBlock)));
    hash_init(&block->core, size);
    block->set = PolySet{0, &block->core, compare, copy, hash, delete_element};
    return &block->set;
}

void* pset_insert(PolySet* set, void* element) {
    NORVANE_ASSERT(set);
    const std::uint32_t hash = hash_key(set->hash, element);
    if (const HashEntry* entry = hash_find(set->core, element, hash, set->compare)) {
        return entry->key;
    }
    void* stored = set->copy ? set->copy(element) : element;
    hash_add(set->core, stored, hash);
    set->size = set->core->live;
    return stored;
}

int pset_peek(const PolySet* set, const void* key, void** out) {
    NORVANE_ASSERT(set);
    const HashEntry* entry = find(set, key);
    if (!entry) return STATUS_FAILURE;
    if (out) *out = entry->key;
    return STATUS_SUCCESS;
}

void pset_remove(PolySet* set, const void* key) {
    NORVANE_ASSERT(set);
    HashEntry* entry = find(set, key);
    if (!entry) return;
    void* element = entry->key;
    hash_remove(set->core, entry);
    set->size = set->core->live;
    if (set->delete_element) set->delete_element(element);
    hash_shrink(set->core);
}

void pset_empty(PolySet* set) {
    NORVANE_ASSERT(set);
    set->size = 0;
    hash_drain(set->core, [set](const HashEntry* entry) {
        if (set->delete_element) set->delete_element(entry->key);
    });
}

void pset_delete(PolySet* set) {
    if (!set) return;
    pset_empty(set);
    std::free(set);
}

unsigned pset_size(const PolySet* set) {
    NORVANE_ASSERT(set);
    return set->size;
}

void pset_iter_init(PolySetIter* iter, const PolySet* set) {
    NORVANE_ASSERT(iter);
    NORVANE_ASSERT(set);
    *iter = PolySetIter{set, 0};
}

int pset_iter_next(PolySetIter* iter, void** out) {
    NORVANE_ASSERT(iter);
    NORVANE_ASSERT(out);
    const HashEntry* entry = hash_next(iter->set->core, &iter->position);
    if (!entry) return 0;
    *out = entry->key;
    return 1;
}

PolyChunk* pset_to_polychunk(const PolySet* set) {
    NORVANE_ASSERT(set);
    PolyChunk* chunk = static_cast<PolyChunk*>(util_malloc_throw(sizeof(PolyChunk)));
    void** elements = static_cast<void**>(util_malloc_throw(set->size * sizeof(void*)));
    *chunk = PolyChunk{static_cast<int>(set->size), elements, set->compare};
    unsigned position = 0;
    while (const HashEntry* entry = hash_next(set->core, &position))
        *elements++ = entry->key;
    return chunk;
}

IntSet* iset_new(unsigned size, PolyHashFunction hash) {
    NORVANE_ASSERT(hash);
    IntSetBlock* block = static_cast<IntSetBlock*>(util_malloc_throw(sizeof(IntSetBlock)));
    hash_init(&block->core, size);
    block->set = IntSet{0, &block->core, hash};
    return &block->set;
}

void iset_insert(IntSet* set, int value) {
    NORVANE_ASSERT(set);
    const std::uint32_t hash = hash_key(set->hash, key_of(value));
    if (hash_find(set->core, key_of(value), hash, nullptr)) return;
    hash_add(set->core, key_of(value), hash);
    set->size = set->core->live;
}

int iset_has(const IntSet* set, int value) {
    NORVANE_ASSERT(set);
    if (set->size == 0) return 0;
    const std::uint32_t hash = hash_key(set->hash, key_of(value));
    return hash_find(set->core, key_of(value), hash, nullptr) != nullptr;
}

void iset_delete(IntSet* set) {
    if (!set) return;
    hash_release(set->core);
    std::free(set);
}

void iset_iter_init(IntSetIter* iter, const IntSet* set) {
    NORVANE_ASSERT(iter);
    NORVANE_ASSERT(set);
    *iter = IntSetIter{set, 0};
}

int iset_iter_next(IntSetIter* iter, int* out) {
    NORVANE_ASSERT(iter);
    NORVANE_ASSERT(out);
    const HashEntry* entry = hash_next(iter->set->core, &iter->position);
    if (!entry) return 0;
    *out = int_of(entry->key);
    return 1;
}

IntChunk* iset_to_intchunk(const IntSet* set) {
    NORVANE_ASSERT(set);
    IntChunk* chunk = static_cast<IntChunk*>(util_malloc_throw(sizeof(IntChunk)));
    int* elements = static_cast<int*>(util_malloc_throw(set->size * sizeof(int)));
    *chunk = IntChunk{static_cast<int>(set->size), elements};
    unsigned position = 0;
    while (const HashEntry* entry = hash_next(set->core, &position)) {
        *elements++ = int_of(entry->key);
    }
    return chunk;
}
