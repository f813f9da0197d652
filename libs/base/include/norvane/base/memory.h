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

/* Where a scanner of the project library finds no memory for its buffer, it ends the process: by
 * default with status 2, after a text on standard error, since existing hosts expect that. With
 * `are_thrown` not 0 it throws EXCEPT_ASSERTION with the text "Out of memory" instead. */
NORVANE_BASE_API void util_throw_scanner_failures(int are_thrown);

/* Ends the process, or throws, as just described; for scanners. */
NORVANE_BASE_API void util_fail_scanner(const char* text);

NORVANE_END_DECLS

#endif
