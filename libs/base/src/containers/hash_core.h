// What the hash tables and sets share: entries in the order of insertion in one dense array, and an
// index into it, an open-addressing table with linear probing. Small tables have no index; their
// cached hashes are scanned. A removal leaves a hole in the array, closed when the array is full.
//
// The core owns its arrays and knows nothing of who owns keys and values.
#ifndef NORVANE_BASE_HASH_CORE_H
#define NORVANE_BASE_HASH_CORE_H

#include <cstdint>

#include "norvane/base/callbacks.h"

struct HashEntry {
    void* key; // or an integer carried in the pointer
    union {
        void* pointer;
        int number;
    } value;
    std::uint32_t hash; // mixed, see hash_key
    bool live;          // false in a hole
};

struct HashSlot {
    std::uint32_t hash;
    std::uint32_t position; // of the entry, plus one; 0 in an empty slot
};

// The arrays are made at the first insertion.
struct HashCore {
    HashEntry* entries;
    HashSlot* slots;        // null while the table is small; twice as many as `capacity`
    std::uint32_t first;    // no live entry is before this one
    std::uint32_t used;     // nor at or behind this one
    std::uint32_t live;     // number of pairs
    std::uint32_t capacity; // of `entries`; a power of two
    std::uint32_t hint;     // capacity to take when the table outgrows the smallest one
};

namespace norvane {

void hash_init(HashCore* core, unsigned hint);

// What is left of a hash as a place in the index.
inline std::uint32_t mask_of(const HashCore* core) {
    return 2 * core->capacity - 1;
}

// The hash of a key: the callback's number, mixed so that weak hashes (integers in steps,
// addresses) spread over the index. The size is the largest prime that an int holds too, because
// some callbacks take it as one; a callback that takes a remainder loses next to nothing.
inline std::uint32_t hash_key(PolyHashFunction function, const void* key) {
    std::uint32_t hash = function(key, 2147483647u);
    hash = (hash ^ (hash >> 16)) * 0x85EBCA6Bu;
    hash = (hash ^ (hash >> 13)) * 0xC2B2AE35u;
    return hash ^ (hash >> 16);
}

// The entry of an equal key, or null. Without `compare`, equal keys are equal pointers.
HashEntry* hash_find(const HashCore* core, const void* key, std::uint32_t hash,
                     PolyCompare compare);

// Where a look-up begins to read the index, or null while there is none; and the entry that it is
// going to compare first, or null.
inline const HashSlot* hash_home(const HashCore* core, std::uint32_t hash) {
    return core->slots == nullptr ? nullptr : &core->slots[hash & mask_of(core)];
}
const HashEntry* hash_candidate(const HashCore* core, std::uint32_t hash);

// Adds an entry for a key that is not there; the caller fills in the value.
HashEntry* hash_add(HashCore* core, void* key, std::uint32_t hash);

// Takes an entry out. Entries stay where they are until the next hash_add or hash_shrink.
void hash_remove(HashCore* core, HashEntry* entry);

// Gives memory back if few entries are left, so that iterating takes time by their number. To be
// called after removals, when all callbacks are done.
void hash_shrink(HashCore* core);

// The first live entry at or behind `*position`, moving the position behind it, or null.
inline HashEntry* hash_next(const HashCore* core, unsigned* position) {
    for (std::uint32_t at = *position < core->first ? core->first : *position; at < core->used;
         ++at) {
        if (!core->entries[at].live) continue;
        *position = at + 1;
        return &core->entries[at];
    }
    return nullptr;
}

// Frees the arrays: the table is empty and may be used again.
void hash_release(HashCore* core);

// Empties the table and calls `release(entry)` for each entry that was in it, in order.
template <typename Release>
void hash_drain(HashCore* core, Release release) {
    HashCore drained = *core;
    hash_init(core, 0);
    unsigned position = 0;
    while (const HashEntry* entry = hash_next(&drained, &position))
        release(entry);
    hash_release(&drained);
}

// Integers as keys.
inline void* key_of(int value) {
    return reinterpret_cast<void*>(static_cast<std::intptr_t>(value));
}
inline int int_of(const void* key) {
    return static_cast<int>(reinterpret_cast<std::intptr_t>(key));
}

} // namespace norvane

#endif
