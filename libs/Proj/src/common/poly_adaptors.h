// Callbacks of containers: typed functions of this library as untyped callbacks, and callbacks that
// compare and hash addresses.
//
// Calling a function through a pointer of another type is undefined behaviour, so each typed
// function gets a callback of its own that calls it.
#ifndef NORVANE_PROJ_POLY_ADAPTORS_H
#define NORVANE_PROJ_POLY_ADAPTORS_H

#include <cstdint>
#include <cstdio>

namespace norvane {

template <auto function>
struct PolyAdaptor;

// void f(T*): a delete callback.
template <typename T, void (*function)(T*)>
struct PolyAdaptor<function> {
    static void call(void* element) { function(static_cast<T*>(element)); }
};

// T* f(T*): a copy callback.
template <typename T, T* (*function)(T*)>
struct PolyAdaptor<function> {
    static void* call(void* element) { return function(static_cast<T*>(element)); }
};

template <typename T, T* (*function)(const T*)>
struct PolyAdaptor<function> {
    static void* call(void* element) { return function(static_cast<const T*>(element)); }
};

// int f(T**, T**): a compare callback, given the addresses of the slots.
template <typename T, int (*function)(T**, T**)>
struct PolyAdaptor<function> {
    static int call(const void* a, const void* b) {
        T* left = *static_cast<T* const*>(a);
        T* right = *static_cast<T* const*>(b);
        return function(&left, &right);
    }
};

// void f(FILE*, T*): prints an element of a list.
template <typename T, void (*function)(std::FILE*, T*)>
struct PolyAdaptor<function> {
    static void call(std::FILE* stream, void* element) {
        function(stream, static_cast<T*>(element));
    }
};

// poly<expr_delete> is expr_delete as a callback.
template <auto function>
inline constexpr auto* poly = &PolyAdaptor<function>::call;

// Callbacks for containers whose elements are equal only if they are the same object.
inline int compare_addresses(const void* a, const void* b) {
    const void* left = *static_cast<const void* const*>(a);
    const void* right = *static_cast<const void* const*>(b);
    return (left > right) - (left < right);
}

inline unsigned hash_address(const void* element, unsigned size) {
    return static_cast<unsigned>((reinterpret_cast<std::uintptr_t>(element) >> 4) % size);
}

} // namespace norvane

#endif
