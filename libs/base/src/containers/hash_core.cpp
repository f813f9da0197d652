// The core of the hash tables and sets.
#include "hash_core.h"

#include <algorithm>
#include <bit>
#include <cstdlib>
#include <cstring>

#include "norvane/base/memory.h"

namespace norvane::containers {
namespace {

// Up to this capacity, scanning the cached hashes is as fast as an index.
constexpr std::uint32_t small_capacity = 8;

// Larger hints are ignored, because callers only guess and tables grow.
constexpr unsigned largest_hint = 1024;

void index_entry(HashCore* core, std::uint32_t position) {
    const std::uint32_t mask = mask_of(core);
    const std::uint32_t hash = core->entries[position].hash;
    std::uint32_t at = hash & mask;
    while (core->slots[at].position != 0)
        at = (at + 1) & mask;
    core->slots[at] = HashSlot{hash, position + 1};
}

// Closes the holes and rebuilds the index, whose slots are empty.
void compact(HashCore* core) {
    std::uint32_t to = 0;
    for (std::uint32_t from = core->first; from < core->used; ++from) {
        if (!core->entries[from].live) continue;
        if (to != from) core->entries[to] = core->entries[from];
        if (core->slots) index_entry(core, to);
        ++to;
    }
    core->first = 0;
    core->used = to;
}

// Changes the capacity, which must suffice for the live entries.
void resize(HashCore* core, std::uint32_t capacity) {
    HashSlot* slots = nullptr;
    if (capacity > small_capacity) {
        slots = static_cast<HashSlot*>(util_calloc_throw(2 * sizeof(HashSlot) * capacity));
    }
    // A smaller array would cut off entries after holes.
    std::free(core->slots);
    core->slots = nullptr;
    if (capacity < core->capacity) compact(core);
    core->entries =
        static_cast<HashEntry*>(util_realloc_throw(core->entries, sizeof(HashEntry) * capacity));
    core->slots = slots;
    core->capacity = capacity;
    compact(core);
}

// Makes room for one more entry at the end.
void make_room(HashCore* core) {
    if (core->capacity == 0) return resize(core, small_capacity);
    if (core->live > core->capacity - core->capacity / 4) {
        const std::uint32_t capacity = std::max(2 * core->capacity, core->hint);
        core->hint = 0;
        return resize(core, capacity);
    }
    if (core->slots) {
        std::memset(core->slots, 0, 2 * sizeof(HashSlot) * core->capacity);
    }
    compact(core);
}

// Removes the slot of an entry, and moves later slots of the same probe sequence up.
void unindex_entry(HashCore* core, const HashEntry* entry) {
    const std::uint32_t mask = mask_of(core);
    const std::uint32_t position = static_cast<std::uint32_t>(entry - core->entries) + 1;
    std::uint32_t hole = entry->hash & mask;
    while (core->slots[hole].position != position)
        hole = (hole + 1) & mask;
    for (std::uint32_t at = (hole + 1) & mask; core->slots[at].position != 0;
         at = (at + 1) & mask) {
        const std::uint32_t home = core->slots[at].hash & mask;
        if (((at - home) & mask) < ((at - hole) & mask)) continue;
        core->slots[hole] = core->slots[at];
        hole = at;
    }
    core->slots[hole].position = 0;
}

} // namespace

void hash_init(HashCore* core, unsigned hint) {
    *core = HashCore{};
    core->hint = std::bit_ceil(std::min(hint, largest_hint));
}

const HashEntry* hash_candidate(const HashCore* core, std::uint32_t hash) {
    if (!core->slots) return nullptr;
    const std::uint32_t mask = mask_of(core);
    for (std::uint32_t at = hash & mask; core->slots[at].position != 0; at = (at + 1) & mask) {
        if (core->slots[at].hash == hash) return &core->entries[core->slots[at].position - 1];
    }
    return nullptr;
}

HashEntry* hash_add(HashCore* core, void* key, std::uint32_t hash) {
    if (core->used == core->capacity) make_room(core);
    HashEntry* entry = &core->entries[core->used];
    entry->key = key;
    entry->value.pointer = nullptr;
    entry->hash = hash;
    entry->live = true;
    if (core->slots) index_entry(core, core->used);
    ++core->used;
    ++core->live;
    return entry;
}

void hash_remove(HashCore* core, HashEntry* entry) {
    if (core->slots) unindex_entry(core, entry);
    entry->live = false;
    --core->live;
    // Holes at both ends are closed at once, because callers use tables as stacks and queues.
    while (core->used > core->first && !core->entries[core->used - 1].live)
        --core->used;
    while (core->first < core->used && !core->entries[core->first].live)
        ++core->first;
    if (core->live == 0) core->first = core->used = 0;
}

void hash_shrink(HashCore* core) {
    if (core->capacity <= 4 * small_capacity || core->live >= core->capacity / 8) return;
    resize(core, std::max(small_capacity, std::bit_ceil(2 * core->live)));
}

void hash_release(HashCore* core) {
    std::free(core->entries);
    std::free(core->slots);
    hash_init(core, 0);
}

} // namespace norvane::containers
