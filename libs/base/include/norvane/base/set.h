/* PolySet, a hash set of pointers, and IntSet, a hash set of integers.
 *
 * Both iterate in the order of insertion, also after removals, so that results built from a set are
 * the same on every run. */
#ifndef NORVANE_BASE_SET_H
#define NORVANE_BASE_SET_H

#include "norvane/base/callbacks.h"
#include "norvane/base/chunk.h"

NORVANE_BEGIN_DECLS

/* Callers read `size`, the number of elements. The other members are private. */
typedef struct PolySet {
    unsigned size;
    struct HashCore* core;
    PolyCompare compare;
    PolyCopy copy;
    PolyHashFunction hash;
    PolyDelete delete_element;
} PolySet;

/* A set of integers; see PolySet. */
typedef struct IntSet {
    unsigned size;
    struct HashCore* core;
    PolyHashFunction hash;
} IntSet;

/* An iterator, on the caller's stack. The set must not change while it is in use. */
typedef struct PolySetIter {
    const PolySet* set;
    unsigned position;
} PolySetIter;

/* An iterator over an IntSet; see PolySetIter. */
typedef struct IntSetIter {
    const IntSet* set;
    unsigned position;
} IntSetIter;

/* Returns a new empty set, freed with pset_delete. `size` is a hint of how many elements to expect.
 * `compare` and `hash` are required. Without `copy` the set stores the given pointers, without
 * `delete_element` it does not own them. */
NORVANE_BASE_API PolySet* pset_new(unsigned size, PolyCompare compare, PolyCopy copy,
                                   PolyHashFunction hash, PolyDelete delete_element);

/* Inserts the element, or its copy if there is a copy callback, and returns the stored element
 * (borrowed). If the set holds an equal element, nothing changes and that element is returned; a
 * set without a copy callback has then not taken `element` over, which the caller sees by comparing
 * the two pointers. */
NORVANE_BASE_API void* pset_insert(PolySet* set, void* element);

/* Returns 0 if the set holds an equal element, and stores it (borrowed) in `out` unless `out` is
 * null. Returns non-zero otherwise, and leaves `out` unchanged. */
NORVANE_BASE_API int pset_peek(const PolySet* set, const void* key, void** out);

/* Removes the equal element, if there is one, and deletes it by the delete callback. `key` may be
 * the stored element itself. */
NORVANE_BASE_API void pset_remove(PolySet* set, const void* key);

/* pset_empty deletes all elements by the delete callback; pset_delete frees the set as well.
 * pset_size returns the number of elements. */
NORVANE_BASE_API void pset_empty(PolySet* set);
NORVANE_BASE_API void pset_delete(PolySet* set); /* accepts null */
NORVANE_BASE_API unsigned pset_size(const PolySet* set);

/* pset_iter_next returns non-zero while it stored an element (borrowed) in `out`. */
NORVANE_BASE_API void pset_iter_init(PolySetIter* iter, const PolySet* set);
NORVANE_BASE_API int pset_iter_next(PolySetIter* iter, void** out);

/* Returns a new array of the elements, in the order of insertion, freed with pchunk_delete. */
NORVANE_BASE_API PolyChunk* pset_to_polychunk(const PolySet* set);

/* The same for integers. `hash` gets the integer stored in the pointer. */
NORVANE_BASE_API IntSet* iset_new(unsigned size, PolyHashFunction hash);
NORVANE_BASE_API void iset_insert(IntSet* set, int value);
NORVANE_BASE_API int iset_has(const IntSet* set, int value); /* non-zero if present */
NORVANE_BASE_API void iset_delete(IntSet* set);              /* accepts null */
NORVANE_BASE_API void iset_iter_init(IntSetIter* iter, const IntSet* set);
NORVANE_BASE_API int iset_iter_next(IntSetIter* iter, int* out);
NORVANE_BASE_API IntChunk* iset_to_intchunk(const IntSet* set); /* freed with ichunk_delete */

NORVANE_END_DECLS

#endif
