/* PolyList: a singly linked list of pointers. Callers may walk its nodes directly. */
#ifndef NORVANE_BASE_LIST_H
#define NORVANE_BASE_LIST_H

#include <stdio.h>

#include "norvane/base/callbacks.h"
#include "norvane/base/chunk.h"

NORVANE_BEGIN_DECLS

/* A node, owned by its list. */
typedef struct PolyListNode {
    void* element;
    struct PolyListNode* next; /* null in the last node */
} PolyListNode;

/* Callers walk the nodes from `first` and read `len` directly. They change the list only through
 * the functions, which keep `last` and `len` consistent; appending takes constant time. A caller
 * that takes the elements over sets `delete_element` to null before it deletes the list. */
typedef struct PolyList {
    PolyListNode* first;
    PolyListNode* last;
    unsigned len;
    PolyCompare compare;
    PolyCopy copy;
    PolyDelete delete_element;
} PolyList;

/* Writes one element to the stream. */
typedef void (*PolyPrinter)(FILE* stream, void* element);

/* Returns a new empty list, never null, freed with plist_delete. Any callback may be null: without
 * `copy` the list stores the given pointers, without `delete_element` it does not own them, without
 * `compare` it cannot be sorted. */
NORVANE_BASE_API PolyList* plist_new(PolyCompare compare, PolyCopy copy, PolyDelete delete_element);

/* Add an element at the end, or at the start. With a copy callback the list stores a copy and the
 * caller keeps `element`; without one it stores the pointer itself. */
NORVANE_BASE_API void plist_append(PolyList* list, void* element);
NORVANE_BASE_API void plist_prepend(PolyList* list, void* element);

/* Appends each element of `other`, as plist_append does; `other` is not changed. It may be `list`
 * itself, which is then doubled. */
NORVANE_BASE_API void plist_concat(PolyList* list, const PolyList* other);

/* Returns a new list with the same callbacks and with copies by the list's copy callback. */
NORVANE_BASE_API PolyList* plist_copy(const PolyList* list);

/* Returns a new list of copy(element) with the callbacks of the source. It owns the copies if the
 * source owns its elements. */
NORVANE_BASE_API PolyList* plist_copy_with_copycon(const PolyList* list, PolyCopy copy);

/* Delete every element, in order, by the delete callback; plist_delete then frees the list, and
 * plist_empty leaves it empty. plist_delete accepts null. */
NORVANE_BASE_API void plist_delete(PolyList* list);
NORVANE_BASE_API void plist_empty(PolyList* list);

/* Removes element `n`, counted from 0, and deletes it by the delete callback. Does nothing if `n`
 * is out of range. */
NORVANE_BASE_API void plist_delete_nth(PolyList* list, unsigned n);

/* Return the first element, or element `n`, counted from 0: borrowed, null if there is none.
 * plist_nth walks the list from the start, so a loop over all elements should walk the nodes
 * instead. */
NORVANE_BASE_API void* plist_hd(const PolyList* list);
NORVANE_BASE_API void* plist_nth(const PolyList* list, unsigned n);

/* Return non-zero if the list is empty; the number of elements. */
NORVANE_BASE_API int plist_isempty(const PolyList* list);
NORVANE_BASE_API unsigned plist_length(const PolyList* list);

/* Sorts ascending by the compare callback, which must not be null. Stable, in O(n log n). */
NORVANE_BASE_API void plist_sort(PolyList* list);

/* Returns a new array of the elements, in list order, freed with pchunk_delete. */
NORVANE_BASE_API PolyChunk* plist_to_polychunk(const PolyList* list);

/* Writes the elements with `separator` between them and `terminator` after the last one. For an
 * empty list it writes only the terminator. */
NORVANE_BASE_API void plist_print(FILE* stream, const PolyList* list, const char* separator,
                                  const char* terminator, PolyPrinter printer);

NORVANE_END_DECLS

#endif
