/* Memory that never comes back null, and the contract that the runtime's free releases it. */
#ifndef NORVANE_BASE_MEMORY_H
#define NORVANE_BASE_MEMORY_H

#include <stddef.h>

#include "norvane/base/export.h"

NORVANE_BEGIN_DECLS

/* Each returns memory of at least `size` bytes, owned by the caller, who releases it with the
 * runtime's free(). A size of 0 gives a pointer that may be freed. When memory is exhausted they
 * throw kind 1 with the text "Out of memory" (see except.h); they never return null. */

/* Uninitialised memory. */
NORVANE_BASE_API void* util_malloc_throw(size_t size);

/* Memory with every byte zero. */
NORVANE_BASE_API void* util_calloc_throw(size_t size);

/* Resizes `pointer` (null makes new memory) and takes it over: on return only the result is valid.
 * When it throws, `pointer` is still valid and still the caller's. */
NORVANE_BASE_API void* util_realloc_throw(void* pointer, size_t size);

NORVANE_END_DECLS

#endif
