/* PolyHash, a hash table from a key to a pointer, and IntHash, one from a key to an int.
 *
 * Both keep their pairs in the order of insertion, and iterate in that order; a removal keeps the
 * order of the rest. Whatever is written from a table is the same on every run. */
#ifndef NORVANE_BASE_HASH_H
#define NORVANE_BASE_HASH_H

#include "norvane/base/callbacks.h"

NORVANE_BEGIN_DECLS

/* The delete callbacks may be set to null, to take the keys or values over before the table is
 * emptied or deleted. `size` is the number of pairs. The rest is private. */
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

/* The same with int values. */
typedef struct IntHash {
    unsigned size;
    struct HashCore* core;
    PolyCompare compare;
    PolyCopy copy;
    PolyHashFunction hash;
    PolyDelete delete_key;
} IntHash;

/* Iterators live on the caller's stack. The table must not be changed while one is in use. */
typedef struct PolyHashIter {
    const PolyHash* hash;
    unsigned position;
} PolyHashIter;

/* The same for an IntHash. */
typedef struct IntHashIter {
    const IntHash* hash;
    unsigned position;
} IntHashIter;

/* A new empty table, freed with phash_delete. `size` is the number of pairs to make room for: a
 * hint. `compare` and `hash` serve the keys and are required. Without copy callbacks the pointers
 * are stored as given, without delete callbacks the table does not own them. */
NORVANE_BASE_API PolyHash* phash_new(unsigned size, PolyCompare compare, PolyCopy copy_key,
                                     PolyCopy copy_value, PolyHashFunction hash,
                                     PolyDelete delete_key, PolyDelete delete_value);

/* Stores the pair, through the copy callbacks if given. A key that is present keeps its key object
 * and its place; its value is replaced, the old one going through the delete callback. Later
 * definitions win. */
NORVANE_BASE_API void phash_insert(PolyHash* hash, void* key, void* value);

/* 0 if found, storing the value (borrowed) in `out` unless `out` is null; non-zero if absent,
 * leaving `out` alone. */
NORVANE_BASE_API int phash_peek(const PolyHash* hash, const void* key, void** out);

/* The two halves of phash_peek, for who looks one key up in several tables that have the same
 * callbacks: the key's hash, and the look-up of a key whose hash is known. */
NORVANE_BASE_API unsigned phash_hash_of(const PolyHash* hash, const void* key);
NORVANE_BASE_API int phash_peek_hashed(const PolyHash* hash, const void* key, unsigned key_hash,
                                       void** out);

/* The steps of a look-up that wait for memory, one by one, for who knows early which keys come:
 * each asks for what the next one reads, and returns at once, so that other work can be done in
 * between, such as the steps of other keys. Nothing depends on them, and nothing is changed; the
 * table must not be, until all are done. phash_prefetch_entry returns the pair that is likely
 * meant, or null; phash_prefetch_key the value of it, before the key was looked at. Small tables
 * are at hand: they give null. */
NORVANE_BASE_API void phash_prefetch_slot(const PolyHash* hash, unsigned key_hash);
NORVANE_BASE_API const struct HashEntry* phash_prefetch_entry(const PolyHash* hash,
                                                              unsigned key_hash);
NORVANE_BASE_API void* phash_prefetch_key(const struct HashEntry* entry); /* accepts null */

/* Removes the pair through the delete callbacks: 0 if it was there, -1 if not. `key` may be the
 * stored key itself. */
NORVANE_BASE_API int phash_remove(PolyHash* hash, const void* key);

/* phash_empty removes all pairs through the delete callbacks; phash_delete frees the table too.
 * phash_size is the number of pairs. */
NORVANE_BASE_API void phash_empty(PolyHash* hash);
NORVANE_BASE_API void phash_delete(PolyHash* hash); /* accepts null */
NORVANE_BASE_API unsigned phash_size(const PolyHash* hash);

/* phash_iter_next returns non-zero while it stored a pair (borrowed). Either out may be null. */
NORVANE_BASE_API void phash_iter_init(PolyHashIter* iter, const PolyHash* hash);
NORVANE_BASE_API int phash_iter_next(PolyHashIter* iter, void** key_out, void** value_out);

/* The same with int values. Keys are pointers, or integers carried in the pointer. */
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
