/* PolyList: a singly linked list of pointers whose nodes are open to the caller. */
#ifndef NORVANE_BASE_LIST_H
#define NORVANE_BASE_LIST_H

#include <stdio.h>

#include "norvane/base/callbacks.h"
#include "norvane/base/chunk.h"

NORVANE_BEGIN_DECLS

/* A node; its list owns it. */
typedef struct PolyListNode {
    void* element;
    struct PolyListNode* next; /* null in the last node */
} PolyListNode;

/* Callers walk the nodes from `first` and read `len` directly. All else goes through the
 * functions, which keep `last` and `len` right; appending takes constant time. `delete_element`
 * may be set to null to take the elements over before the list is deleted. */
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

/* A new empty list, never null, freed with plist_delete. Any callback may be null: without `copy`
 * pointers are stored as they are given, without `delete_element` the list does not own them,
 * without `compare` it cannot be sorted. */
NORVANE_BASE_API PolyList* plist_new(PolyCompare compare, PolyCopy copy, PolyDelete delete_element);

/* Store the element, through the copy callback if the list has one: the list then owns a copy and
 * the caller keeps `element`. Without one, the pointer itself is stored. */
NORVANE_BASE_API void plist_append(PolyList* list, void* element);
NORVANE_BASE_API void plist_prepend(PolyList* list, void* element);

/* Appends each element of `other`, by the rules of plist_append; `other` stays as it is, and may
 * be `list` itself, which is then doubled. */
NORVANE_BASE_API void plist_concat(PolyList* list, const PolyList* other);

/* A new list with the same callbacks; each element goes through the list's copy callback. */
NORVANE_BASE_API PolyList* plist_copy(const PolyList* list);

/* A new list of copy(element). It has the callbacks of the source, delete among them, so that the
 * copy owns its elements. */
NORVANE_BASE_API PolyList* plist_copy_with_copycon(const PolyList* list, PolyCopy copy);

/* Apply the delete callback to every element, in order; plist_delete then frees the list, and
 * plist_empty leaves it with `len` 0. plist_delete accepts null. */
NORVANE_BASE_API void plist_delete(PolyList* list);
NORVANE_BASE_API void plist_empty(PolyList* list);

/* Removes node `n`, counted from 0, through the delete callback. Out of range: nothing. */
NORVANE_BASE_API void plist_delete_nth(PolyList* list, unsigned n);

/* First element; element `n`, counted from 0. Borrowed; null if there is none. plist_nth walks the
 * list: a loop over all elements walks the nodes instead. */
NORVANE_BASE_API void* plist_hd(const PolyList* list);
NORVANE_BASE_API void* plist_nth(const PolyList* list, unsigned n);

/* Non-zero if empty; the number of elements. */
NORVANE_BASE_API int plist_isempty(const PolyList* list);
NORVANE_BASE_API unsigned plist_length(const PolyList* list);

/* Sorts ascending by the compare callback, which must not be null; stable, n log n. */
NORVANE_BASE_API void plist_sort(PolyList* list);

/* A new view of the elements in list order, freed with pchunk_delete. */
NORVANE_BASE_API PolyChunk* plist_to_polychunk(const PolyList* list);

/* Writes the elements with `separator` between them and `terminator` behind the last. The
 * terminator is written for an empty list too. */
NORVANE_BASE_API void plist_print(FILE* stream, const PolyList* list, const char* separator,
                                  const char* terminator, PolyPrinter printer);

NORVANE_END_DECLS

#endif
