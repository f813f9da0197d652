/* Counted array views over the elements of a container. */
#ifndef NORVANE_BASE_CHUNK_H
#define NORVANE_BASE_CHUNK_H

#include "norvane/base/callbacks.h"

NORVANE_BEGIN_DECLS

/* The elements of a container in an array. It borrows them and must not outlive them. Freed with
 * pchunk_delete. */
typedef struct PolyChunk {
    int count;
    void** elements; /* owned array, borrowed elements */
    PolyCompare compare;
} PolyChunk;

/* A copy of the integers of a set. Freed with ichunk_delete. */
typedef struct IntChunk {
    int count;
    int* elements; /* owned */
} IntChunk;

/* Sorts ascending by the compare callback of the source container; stable. Asserts "chunk", and
 * "chunk->compare" when there is more than one element. */
NORVANE_BASE_API void pchunk_sort(PolyChunk* chunk);

/* Sorts ascending. */
NORVANE_BASE_API void ichunk_sort(IntChunk* chunk);

/* Free the view; the elements of a PolyChunk stay. */
NORVANE_BASE_API void pchunk_delete(PolyChunk* chunk);
NORVANE_BASE_API void ichunk_delete(IntChunk* chunk);

NORVANE_END_DECLS

#endif
