/* PolySet, a hash set of pointers, and IntSet, a hash set of integers.
 *
 * Both keep their elements in the order of insertion, and iterate in that order; a removal keeps
 * the order of the rest. So everything that is built from a set is the same on every run. */
#ifndef NORVANE_BASE_SET_H
#define NORVANE_BASE_SET_H

#include "norvane/base/callbacks.h"
#include "norvane/base/chunk.h"

NORVANE_BEGIN_DECLS

/* `size` is the number of elements, read directly by callers. The rest is private. */
typedef struct PolySet {
    unsigned size;
    struct HashCore* core;
    PolyCompare compare;
    PolyCopy copy;
    PolyHashFunction hash;
    PolyDelete delete_element;
} PolySet;

/* The same for integers. */
typedef struct IntSet {
    unsigned size;
    struct HashCore* core;
    PolyHashFunction hash;
} IntSet;

/* Iterators live on the caller's stack. The set must not be changed while one is in use. */
typedef struct PolySetIter {
    const PolySet* set;
    unsigned position;
} PolySetIter;

/* The same for an IntSet. */
typedef struct IntSetIter {
    const IntSet* set;
    unsigned position;
} IntSetIter;

/* A new empty set, freed with pset_delete. `size` is the number of elements to make room for: a
 * hint. `compare` and `hash` are required; without `copy` the pointers are stored as given, without
 * `delete_element` the set does not own them. */
NORVANE_BASE_API PolySet* pset_new(unsigned size, PolyCompare compare, PolyCopy copy,
                                   PolyHashFunction hash, PolyDelete delete_element);

/* Inserts, through the copy callback if there is one, and returns the stored element (borrowed).
 * If an equal element is there already, nothing changes and that one is returned: without a copy
 * callback the given element is then still the caller's, who compares the two pointers. */
NORVANE_BASE_API void* pset_insert(PolySet* set, void* element);

/* 0 if an equal element is there, storing it (borrowed) in `out` unless `out` is null; non-zero if
 * absent, leaving `out` alone. */
NORVANE_BASE_API int pset_peek(const PolySet* set, const void* key, void** out);

/* Removes the equal element, if there is one, through the delete callback. `key` may be the stored
 * element itself. */
NORVANE_BASE_API void pset_remove(PolySet* set, const void* key);

/* pset_empty removes all elements through the delete callback; pset_delete frees the set too.
 * pset_size is the number of elements. */
NORVANE_BASE_API void pset_empty(PolySet* set);
NORVANE_BASE_API void pset_delete(PolySet* set); /* accepts null */
NORVANE_BASE_API unsigned pset_size(const PolySet* set);

/* pset_iter_next returns non-zero while it stored an element (borrowed) in `out`. */
NORVANE_BASE_API void pset_iter_init(PolySetIter* iter, const PolySet* set);
NORVANE_BASE_API int pset_iter_next(PolySetIter* iter, void** out);

/* A new view of the elements in order of insertion, freed with pchunk_delete. */
NORVANE_BASE_API PolyChunk* pset_to_polychunk(const PolySet* set);

/* The same for integers. `hash` gets the integer carried in the pointer. */
NORVANE_BASE_API IntSet* iset_new(unsigned size, PolyHashFunction hash);
NORVANE_BASE_API void iset_insert(IntSet* set, int value);
NORVANE_BASE_API int iset_has(const IntSet* set, int value); /* non-zero if present */
NORVANE_BASE_API void iset_delete(IntSet* set);              /* accepts null */
NORVANE_BASE_API void iset_iter_init(IntSetIter* iter, const IntSet* set);
NORVANE_BASE_API int iset_iter_next(IntSetIter* iter, int* out);
NORVANE_BASE_API IntChunk* iset_to_intchunk(const IntSet* set); /* freed with ichunk_delete */

NORVANE_END_DECLS

#endif
