/* What a container may be told about its elements: how to compare, copy, hash and delete them; and
 * the ready-made sets of such callbacks for strings, integers and poly values. */
#ifndef NORVANE_BASE_CALLBACKS_H
#define NORVANE_BASE_CALLBACKS_H

#include "norvane/base/export.h"

NORVANE_BEGIN_DECLS

/* Negative, zero or positive, for the elements in the slots `a` and `b`: the arguments are the
 * addresses of the slots and not the elements themselves, so a container of `Expr*` passes
 * `Expr**`. Who calls a compare callback directly passes the addresses of locals. */
typedef int (*PolyCompare)(const void* a, const void* b);

/* Returns a new element that the container owns. */
typedef void* (*PolyCopy)(void* element);

/* A number below `size`, for the element itself (not its slot). `size` is at least 1; that of the
 * containers fits into an int. They call it once for an element and keep the result. */
typedef unsigned (*PolyHashFunction)(const void* element, unsigned size);

/* Releases the element. */
typedef void (*PolyDelete)(void* element);

/* Strings (`char*`), compared as unsigned bytes. poly_copy_string gives a heap copy;
 * poly_delete_string frees and accepts null. */
NORVANE_BASE_API int poly_compare_string(const void* a, const void* b);
NORVANE_BASE_API void* poly_copy_string(void* element);
NORVANE_BASE_API unsigned poly_hash_string(const void* element, unsigned size);
NORVANE_BASE_API void poly_delete_string(void* element);

/* Integers. poly_compare_int reads one 32-bit int at each address. poly_hash_int and
 * ichunk_hash_int take an integer that is carried in the pointer itself. */
NORVANE_BASE_API int poly_compare_int(const void* a, const void* b);
NORVANE_BASE_API unsigned poly_hash_int(const void* element, unsigned size);
NORVANE_BASE_API unsigned ichunk_hash_int(const void* element, unsigned size);

/* A boxed number. */
typedef struct PolyValue {
    double number;
} PolyValue;

/* A new box, owned by the caller, who releases it with poly_delete_poly_value. */
NORVANE_BASE_API PolyValue* pchunk_new_poly_double(double number);

/* Callbacks over `PolyValue*`, in the order of the numbers. So that they may serve as keys, NaN
 * equals itself and comes before all other numbers, and 0.0 and -0.0 are one value. */
NORVANE_BASE_API int poly_compare_poly_value(const void* a, const void* b);
NORVANE_BASE_API unsigned poly_hash_poly_value(const void* element, unsigned size);
NORVANE_BASE_API void* poly_copy_poly_value(void* element);
NORVANE_BASE_API void poly_delete_poly_value(void* element);

NORVANE_END_DECLS

#endif
