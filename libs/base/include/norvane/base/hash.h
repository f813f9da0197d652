/* PolyHash, a hash table from keys to pointers, and IntHash, a hash table from keys to integers.
 *
 * Both iterate in the order of insertion, also after removals, so that results built from a table
 * are the same on every run. */
#ifndef NORVANE_BASE_HASH_H
#define NORVANE_BASE_HASH_H

#include "norvane/base/callbacks.h"
#include "norvane/base/list.h"

NORVANE_BEGIN_DECLS

/* Callers read `size`, the number of pairs. A caller that takes the keys or values over sets their
 * delete callback to null before it empties or deletes the table. The other members are private. */
typedef struct PolyHash {
    unsigned size;
    struct HashCore* core;
    PolyCompare compare;
    PolyCopy copy_key;
    PolyCopy copy_value;
    PolyHashFunction hash;
    PolyDelete delete_key;
    PolyDelete delete_value;
} PolyHash;

/* A table with int values; see PolyHash. */
typedef struct IntHash {
    unsigned size;
    struct HashCore* core;
    PolyCompare compare;
    PolyCopy copy;
    PolyHashFunction hash;
    PolyDelete delete_key;
} IntHash;

/* An iterator, on the caller's stack. The table must not change while it is in use. */
typedef struct PolyHashIter {
    const PolyHash* hash;
    unsigned position;
} PolyHashIter;

/* An iterator over an IntHash; see PolyHashIter. */
typedef struct IntHashIter {
    const IntHash* hash;
    unsigned position;
} IntHashIter;

/* Returns a new empty table, freed with phash_delete. `size` is a hint of how many pairs to expect.
 * `compare` and `hash`, which apply to the keys, are required. Without copy callbacks the table
 * stores the given pointers, without delete callbacks it does not own them. */
NORVANE_BASE_API PolyHash* phash_new(unsigned size, PolyCompare compare, PolyCopy copy_key,
                                     PolyCopy copy_value, PolyHashFunction hash,
                                     PolyDelete delete_key, PolyDelete delete_value);

/* Stores the pair, or copies if there are copy callbacks. If the key is present, its key object and
 * its position stay, and the new value replaces the old one, which the delete callback deletes. */
NORVANE_BASE_API void phash_insert(PolyHash* hash, void* key, void* value);

/* Returns 0 if the key is present, and stores its value (borrowed) in `out` unless `out` is null.
 * Returns non-zero otherwise, and leaves `out` unchanged. */
NORVANE_BASE_API int phash_peek(const PolyHash* hash, const void* key, void** out);

/* The two halves of phash_peek, so that a caller which looks one key up in several tables with the
 * same callbacks hashes it once: the hash of a key, and the lookup by a known hash. */
NORVANE_BASE_API unsigned phash_hash_of(const PolyHash* hash, const void* key);
NORVANE_BASE_API int phash_peek_hashed(const PolyHash* hash, const void* key, unsigned key_hash,
                                       void** out);

/* phash_peek in the first table that has the key: `hash`, then those of `others`, a list of
 * PolyHash. All have the same callbacks, so that the key is hashed once. */
NORVANE_BASE_API int phash_peek_first(const PolyHash* hash, const PolyList* others, const void* key,
                                      void** out);

/* Prefetch for a later lookup, for callers that know the keys in advance: each call starts to load
 * what the next one reads and returns at once, so that the steps of several lookups overlap. They
 * change nothing and are optional; the table must not change between them. phash_prefetch_entry
 * returns the pair that the lookup will compare first, or null; phash_prefetch_key returns the
 * value of that pair, though the keys have not been compared. Small tables need no prefetch: both
 * return null. */
NORVANE_BASE_API void phash_prefetch_slot(const PolyHash* hash, unsigned key_hash);
NORVANE_BASE_API const struct HashEntry* phash_prefetch_entry(const PolyHash* hash,
                                                              unsigned key_hash);
NORVANE_BASE_API void* phash_prefetch_key(const struct HashEntry* entry); /* accepts null */

/* Removes the pair and deletes it by the delete callbacks. Returns 0, or -1 if the key is absent.
 * `key` may be the stored key itself. */
NORVANE_BASE_API int phash_remove(PolyHash* hash, const void* key);

/* phash_empty deletes all pairs by the delete callbacks; phash_delete frees the table as well.
 * phash_size returns the number of pairs. */
NORVANE_BASE_API void phash_empty(PolyHash* hash);
NORVANE_BASE_API void phash_delete(PolyHash* hash); /* accepts null */
NORVANE_BASE_API unsigned phash_size(const PolyHash* hash);

/* phash_iter_next returns non-zero while it stores a pair (borrowed). Either `out` may be null. */
NORVANE_BASE_API void phash_iter_init(PolyHashIter* iter, const PolyHash* hash);
NORVANE_BASE_API int phash_iter_next(PolyHashIter* iter, void** key_out, void** value_out);

/* The same with int values. Keys are pointers, or integers stored in the pointer. */
NORVANE_BASE_API IntHash* ihash_new(unsigned size, PolyCompare compare, PolyCopy copy,
                                    PolyHashFunction hash, PolyDelete delete_key);
NORVANE_BASE_API void ihash_insert(IntHash* hash, void* key, int value);
NORVANE_BASE_API int ihash_peek(const IntHash* hash, const void* key, int* out);
NORVANE_BASE_API void ihash_delete(IntHash* hash); /* accepts null */
NORVANE_BASE_API unsigned ihash_size(const IntHash* hash);
NORVANE_BASE_API void ihash_iter_init(IntHashIter* iter, const IntHash* hash);
NORVANE_BASE_API int ihash_iter_next(IntHashIter* iter, void** key_out, int* value_out);

NORVANE_END_DECLS

#endif
