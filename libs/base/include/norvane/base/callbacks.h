/* The callbacks by which a container compares, copies, hashes and deletes its elements, and
 * ready-made ones for strings, integers and poly values. */
#ifndef NORVANE_BASE_CALLBACKS_H
#define NORVANE_BASE_CALLBACKS_H

#include "norvane/base/export.h"

NORVANE_BEGIN_DECLS

/* Returns a negative number, zero or a positive number for the elements in the slots `a` and `b`.
 * The arguments are addresses of slots, not the elements: a container of `Expr*` passes `Expr**`.
 * Code that calls a compare callback directly passes addresses of local variables. */
typedef int (*PolyCompare)(const void* a, const void* b);

/* Returns a new element, which the container owns. */
typedef void* (*PolyCopy)(void* element);

/* Returns a number below `size` for the element (not its slot). `size` is at least 1; the
 * containers pass one that fits into an int. They call it once per element and keep the result. */
typedef unsigned (*PolyHashFunction)(const void* element, unsigned size);

/* Releases the element. */
typedef void (*PolyDelete)(void* element);

/* Strings (`char*`), compared as unsigned bytes. poly_copy_string returns a heap copy;
 * poly_delete_string frees one and accepts null. */
NORVANE_BASE_API int poly_compare_string(const void* a, const void* b);
NORVANE_BASE_API void* poly_copy_string(void* element);
NORVANE_BASE_API unsigned poly_hash_string(const void* element, unsigned size);
NORVANE_BASE_API void poly_delete_string(void* element);

/* Integers. poly_compare_int reads a 32-bit int at each address. poly_hash_int and ichunk_hash_int
 * take an integer stored in the pointer itself. */
NORVANE_BASE_API int poly_compare_int(const void* a, const void* b);
NORVANE_BASE_API unsigned poly_hash_int(const void* element, unsigned size);
NORVANE_BASE_API unsigned ichunk_hash_int(const void* element, unsigned size);

/* A boxed number. */
typedef struct PolyValue {
    double number;
} PolyValue;

/* Returns a new box, which the caller frees with poly_delete_poly_value. */
NORVANE_BASE_API PolyValue* pchunk_new_poly_double(double number);

/* Callbacks for `PolyValue*`, ordered by number. So that every number can be a key, NaN equals
 * itself and sorts before all other numbers, and 0.0 equals -0.0. */
NORVANE_BASE_API int poly_compare_poly_value(const void* a, const void* b);
NORVANE_BASE_API unsigned poly_hash_poly_value(const void* element, unsigned size);
NORVANE_BASE_API void* poly_copy_poly_value(void* element);
NORVANE_BASE_API void poly_delete_poly_value(void* element);

NORVANE_END_DECLS

#endif
