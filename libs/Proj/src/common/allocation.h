// Memory for the nodes of trees, which are made by the million: malloc without a detour, except
// where it fails.
#ifndef NORVANE_PROJ_ALLOCATION_H
#define NORVANE_PROJ_ALLOCATION_H

#include <cstddef>
#include <cstdlib>
#include <cstring>

#include "norvane/base/memory.h"

namespace norvane {

// util_malloc_throw, for a size that is not 0.
inline void* new_memory(std::size_t size) {
    void* memory = std::malloc(size);
    return memory ? memory : util_malloc_throw(size);
}

// A copy of a name of known length.
inline char* new_name(const char* name, std::size_t length) {
    auto* copy = static_cast<char*>(new_memory(length + 1));
    std::memcpy(copy, name, length + 1);
    return copy;
}

} // namespace norvane

#endif
