/* Allocation that never returns null. Memory is released with the C library's free(). */
#ifndef NORVANE_BASE_MEMORY_H
#define NORVANE_BASE_MEMORY_H

#include <stddef.h>

#include "norvane/base/export.h"

NORVANE_BEGIN_DECLS

/* Each returns at least `size` bytes, which the caller releases with free(). A size of 0 gives a
 * pointer that may be freed. When they run out of memory they throw EXCEPT_ASSERTION with the text
 * "Out of memory" (except.h); they never return null. */

/* Uninitialised memory. */
NORVANE_BASE_API void* util_malloc_throw(size_t size);

/* Memory with every byte zero. */
NORVANE_BASE_API void* util_calloc_throw(size_t size);

/* Resizes `pointer`, which may be null, and takes it over: after the return only the result is
 * valid. If it throws, `pointer` is still valid, and the caller still owns it. */
NORVANE_BASE_API void* util_realloc_throw(void* pointer, size_t size);

NORVANE_END_DECLS

#endif
