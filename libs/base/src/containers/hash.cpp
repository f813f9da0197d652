// PolyHash and IntHash: the ownership of keys and values, on top of the shared core. A table and
// its core are allocated together. Callbacks run while the table is consistent, because they may
// throw, and delete callbacks run last, because the key to remove may be the stored one.
#include "norvane/base/hash.h"

#include <cstdlib>

#include "hash_core.h"
#include "norvane/base/except.h"
#include "norvane/base/memory.h"

namespace norvane::containers {
namespace {

struct PolyHashBlock {
    PolyHash hash;
    HashCore core;
};

struct IntHashBlock {
    IntHash hash;
    HashCore core;
};

inline void* stored_form(PolyCopy copy, void* element) {
    return copy ? copy(element) : element;
}

inline void release(PolyDelete delete_element, void* element) {
    if (delete_element) delete_element(element);
}

// For an empty table the key is not hashed.
template <typename Hash>
HashEntry* find(const Hash* hash, const void* key) {
    if (hash->size == 0) return nullptr;
    return hash_find(hash->core, key, hash_key(hash->hash, key), hash->compare);
}

} // namespace
} // namespace norvane::containers

using namespace norvane::containers;

PolyHash* phash_new(unsigned size, PolyCompare compare, PolyCopy copy_key, PolyCopy copy_value,
                    PolyHashFunction hash, PolyDelete delete_key, PolyDelete delete_value) {
    NORVANE_ASSERT(compare);
    NORVANE_ASSERT(hash);
    PolyHashBlock* block = static_cast<PolyHashBlock*>(util_malloc_throw(sizeof(PolyHashBlock)));
    hash_init(&block->core, size);
    block->hash =
        PolyHash{0, &block->core, compare, copy_key, copy_value, hash, delete_key, delete_value};
    return &block->hash;
}

void phash_insert(PolyHash* hash, void* key, void* value) {
    NORVANE_ASSERT(hash);
    const std::uint32_t key_hash = hash_key(hash->hash, key);
    HashEntry* entry = hash_find(hash->core, key, key_hash, hash->compare);
    if (entry) {
        void* replaced = entry->value.pointer;
        entry->value.pointer = stored_form(hash->copy_value, value);
        // The stored value may be inserted again.
        if (replaced != entry->value.pointer) release(hash->delete_value, replaced);
        return;
    }
    void* stored_key = stored_form(hash->copy_key, key);
    void* stored_value = stored_form(hash->copy_value, value);
    hash_add(hash->core, stored_key, key_hash)->value.pointer = stored_value;
    hash->size = hash->core->live;
}

int phash_peek(const PolyHash* hash, const void* key, void** out) {
    NORVANE_ASSERT(hash);
    const HashEntry* entry = find(hash, key);
    if (!entry) return STATUS_FAILURE;
    if (out) *out = entry->value.pointer;
    return STATUS_SUCCESS;
}

unsigned phash_hash_of(const PolyHash* hash, const void* key) {
    NORVANE_ASSERT(hash);
    return hash_key(hash->hash, key);
}

int phash_peek_hashed(const PolyHash* hash, const void* key, unsigned key_hash, void** out) {
    NORVANE_ASSERT(hash);
    const HashEntry* entry = hash_find(hash->core, key, key_hash, hash->compare);
    if (!entry) return STATUS_FAILURE;
    if (out) *out = entry->value.pointer;
    return STATUS_SUCCESS;
}

int phash_peek_first(const PolyHash* hash, const PolyList* others, const void* key, void** out) {
    NORVANE_ASSERT(hash);
    NORVANE_ASSERT(others);
    const std::uint32_t key_hash = hash_key(hash->hash, key);
    const PolyListNode* node = others->first;
    const HashEntry* entry = nullptr;
    while (!(entry = hash_find(hash->core, key, key_hash, hash->compare)) && node) {
        hash = static_cast<const PolyHash*>(node->element);
        node = node->next;
    }
    if (!entry) return STATUS_FAILURE;
    if (out) *out = entry->value.pointer;
    return STATUS_SUCCESS;
}

void phash_prefetch_slot(const PolyHash* hash, unsigned key_hash) {
    NORVANE_ASSERT(hash);
    __builtin_prefetch(hash_home(hash->core, key_hash));
}

const HashEntry* phash_prefetch_entry(const PolyHash* hash, unsigned key_hash) {
    NORVANE_ASSERT(hash);
    const HashEntry* entry = hash_candidate(hash->core, key_hash);
    __builtin_prefetch(entry);
    return entry;
}

void* phash_prefetch_key(const HashEntry* entry) {
    if (!entry) return nullptr;
    __builtin_prefetch(entry->key);
    return entry->value.pointer;
}

int phash_remove(PolyHash* hash, const void* key) {
    NORVANE_ASSERT(hash);
    HashEntry* entry = find(hash, key);
    if (!entry) return STATUS_FAILURE;
    const HashEntry removed = *entry;
    hash_remove(hash->core, entry);
    hash->size = hash->core->live;
    release(hash->delete_key, removed.key);
    release(hash->delete_value, removed.value.pointer);
    hash_shrink(hash->core);
    return STATUS_SUCCESS;
}

void phash_empty(PolyHash* hash) {
    NORVANE_ASSERT(hash);
    hash->size = 0;
    hash_drain(hash->core, [hash](const HashEntry* entry) {
        release(hash->delete_key, entry->key);
        release(hash->delete_value, entry->value.pointer);
    });
}

void phash_delete(PolyHash* hash) {
    if (!hash) return;
    phash_empty(hash);
    std::free(hash);
}

unsigned phash_size(const PolyHash* hash) {
    NORVANE_ASSERT(hash);
    return hash->size;
}

void phash_iter_init(PolyHashIter* iter, const PolyHash* hash) {
    NORVANE_ASSERT(iter);
    NORVANE_ASSERT(hash);
    *iter = PolyHashIter{hash, 0};
}

int phash_iter_next(PolyHashIter* iter, void** key_out, void** value_out) {
    NORVANE_ASSERT(iter);
    const HashEntry* entry = hash_next(iter->hash->core, &iter->position);
    if (!entry) return 0;
    if (key_out) *key_out = entry->key;
    if (value_out) *value_out = entry->value.pointer;
    return 1;
}

IntHash* ihash_new(unsigned size, PolyCompare compare, PolyCopy copy, PolyHashFunction hash,
                   PolyDelete delete_key) {
    NORVANE_ASSERT(compare);
    NORVANE_ASSERT(hash);
    IntHashBlock* block = static_cast<IntHashBlock*>(util_malloc_throw(sizeof(IntHashBlock)));
    hash_init(&block->core, size);
    block->hash = IntHash{0, &block->core, compare, copy, hash, delete_key};
    return &block->hash;
}

void ihash_insert(IntHash* hash, void* key, int value) {
    NORVANE_ASSERT(hash);
    const std::uint32_t key_hash = hash_key(hash->hash, key);
    HashEntry* entry = hash_find(hash->core, key, key_hash, hash->compare);
    if (!entry) {
        entry = hash_add(hash->core, stored_form(hash->copy, key), key_hash);
        hash->size = hash->core->live;
    }
    entry->value.number = value;
}

int ihash_peek(const IntHash* hash, const void* key, int* out) {
    NORVANE_ASSERT(hash);
    const HashEntry* entry = find(hash, key);
    if (!entry) return STATUS_FAILURE;
    if (out) *out = entry->value.number;
    return STATUS_SUCCESS;
}

void ihash_delete(IntHash* hash) {
    if (!hash) return;
    hash_drain(hash->core,
               [hash](const HashEntry* entry) { release(hash->delete_key, entry->key); });
    std::free(hash);
}

unsigned ihash_size(const IntHash* hash) {
    NORVANE_ASSERT(hash);
    return hash->size;
}

void ihash_iter_init(IntHashIter* iter, const IntHash* hash) {
    NORVANE_ASSERT(iter);
    NORVANE_ASSERT(hash);
    *iter = IntHashIter{hash, 0};
}

int ihash_iter_next(IntHashIter* iter, void** key_out, int* value_out) {
    NORVANE_ASSERT(iter);
    const HashEntry* entry = hash_next(iter->hash->core, &iter->position);
    if (!entry) return 0;
    if (key_out) *key_out = entry->key;
    if (value_out) *value_out = entry->value.number;
    return 1;
}
