// The core of the hash tables and sets: a dense array of entries in the order of insertion, and an
// index of it, an open-addressing table with linear probing. Small tables have no index; a lookup
// scans their cached hashes. A removal leaves a hole in the array, closed when the array is full.
//
// The core owns its arrays, but not the keys and values.
#ifndef NORVANE_BASE_HASH_CORE_H
#define NORVANE_BASE_HASH_CORE_H

#include <cstdint>

#include "norvane/base/callbacks.h"
#include "norvane/base/except.h"
#include "string_hash.h"

struct HashEntry {
    void* key; // or an integer stored in the pointer
    union {
        void* pointer;
        int number;
    } value;
    std::uint32_t hash; // mixed, see hash_key
    bool live;          // false: a hole
};

struct HashSlot {
    std::uint32_t hash;
    std::uint32_t position; // of the entry, plus one; 0: an empty slot
};

// The first insertion allocates the arrays.
struct HashCore {
    HashEntry* entries;
    HashSlot* slots;        // the index, of twice the capacity; null while the table is small
    std::uint32_t first;    // all entries before this position are holes
    std::uint32_t used;     // the number of entries, holes included
    std::uint32_t live;     // the number of entries that are not holes
    std::uint32_t capacity; // of `entries`; a power of two
    std::uint32_t hint;     // the first capacity of a table that is not small
};

namespace norvane::containers {

void hash_init(HashCore* core, unsigned hint);

// Mask that maps a hash to an index slot.
inline std::uint32_t mask_of(const HashCore* core) {
    return 2 * core->capacity - 1;
}

// Returns the hash of a key: the callback's result, mixed so that weak hashes (multiples,
// addresses) spread over the index. The callback gets the largest prime that fits into an int,
// because some callbacks use ints, and a remainder by it loses almost nothing. The callback for
// strings is not called: its 64 bits are mixed already.
inline std::uint32_t hash_key(PolyHashFunction function, const void* key) {
    if (function == poly_hash_string) {
        NORVANE_ASSERT_TEXT(key, "element");
        return static_cast<std::uint32_t>(string_hash(static_cast<const char*>(key)) >> 32);
    }
    std::uint32_t hash = function(key, 2147483647u);
    hash = (hash ^ (hash >> 16)) * 0x85EBCA6Bu;
    hash = (hash ^ (hash >> 13)) * 0xC2B2AE35u;
    return hash ^ (hash >> 16);
}

// The compare callback takes addresses of pointers. That of strings, which most tables have, is not
// called.
inline bool is_equal(const HashEntry* entry, const void* key, PolyCompare compare) {
    if (entry->key == key) return true;
    if (compare == poly_compare_string)
        return std::strcmp(static_cast<const char*>(key), static_cast<const char*>(entry->key)) ==
               0;
    return compare && compare(&key, &entry->key) == 0;
}

// Returns the entry of an equal key, or null. Without `compare`, keys are equal if the pointers
// are. Inline, since a lookup in a stack of tables searches several small ones.
inline HashEntry* hash_find(const HashCore* core, const void* key, std::uint32_t hash,
                            PolyCompare compare) {
    if (!core->slots) {
        HashEntry* const end = core->entries + core->used;
        for (HashEntry* entry = core->entries + core->first; entry < end; ++entry) {
            if (entry->hash == hash && entry->live && is_equal(entry, key, compare)) return entry;
        }
        return nullptr;
    }
    const std::uint32_t mask = mask_of(core);
    for (std::uint32_t at = hash & mask; core->slots[at].position != 0; at = (at + 1) & mask) {
        if (core->slots[at].hash != hash) continue;
        HashEntry* entry = &core->entries[core->slots[at].position - 1];
        if (is_equal(entry, key, compare)) return entry;
    }
    return nullptr;
}

// For prefetching: the index slot where a lookup starts, null if the table has no index; and the
// entry that the lookup compares first, or null.
inline const HashSlot* hash_home(const HashCore* core, std::uint32_t hash) {
    return core->slots ? &core->slots[hash & mask_of(core)] : nullptr;
}
const HashEntry* hash_candidate(const HashCore* core, std::uint32_t hash);

// Adds an entry for an absent key; the caller sets the value.
HashEntry* hash_add(HashCore* core, void* key, std::uint32_t hash);

// Removes an entry. The others keep their positions until the next hash_add or hash_shrink.
void hash_remove(HashCore* core, HashEntry* entry);

// Shrinks the arrays if few entries are left, so that iterating is linear in their number. Called
// after a removal, when no callback will run any more.
void hash_shrink(HashCore* core);

// Returns the first live entry from `*position` on and sets the position after it, or null.
inline HashEntry* hash_next(const HashCore* core, unsigned* position) {
    for (std::uint32_t at = *position < core->first ? core->first : *position; at < core->used;
         ++at) {
        if (!core->entries[at].live) continue;
        *position = at + 1;
        return &core->entries[at];
    }
    return nullptr;
}

// Empties the table and frees its arrays; it may be used again.
void hash_release(HashCore* core);

// Empties the table, then calls `release(entry)` for each entry that it had, in order.
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

} // namespace norvane::containers

#endif
