// The ready-made callbacks of the containers. Hashes are the same on every run.
#include "norvane/base/callbacks.h"

#include <bit>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "norvane/base/except.h"
#include "norvane/base/memory.h"
#include "norvane/base/strings.h"
#include "string_hash.h"

namespace norvane::containers {
namespace {

inline const char* string_in(const void* slot) {
    return *static_cast<const char* const*>(slot);
}

inline int int_at(const void* address) {
    std::int32_t value;
    std::memcpy(&value, address, sizeof value);
    return value;
}

// Returns the integer stored in a pointer: 32 bits, because the compare callback reads no more.
inline unsigned carried(const void* element) {
    return static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(element));
}

inline double number_in(const void* slot) {
    return (*static_cast<const PolyValue* const*>(slot))->number;
}

} // namespace
} // namespace norvane::containers

using namespace norvane::containers;

int poly_compare_string(const void* a, const void* b) {
    NORVANE_ASSERT(a);
    NORVANE_ASSERT(b);
    return std::strcmp(string_in(a), string_in(b));
}

void* poly_copy_string(void* element) {
    return str_copy(static_cast<const char*>(element));
}

unsigned poly_hash_string(const void* element, unsigned size) {
    NORVANE_ASSERT(element);
    return below(string_hash(static_cast<const char*>(element)), size);
}

void poly_delete_string(void* element) {
    std::free(element);
}

int poly_compare_int(const void* a, const void* b) {
    NORVANE_ASSERT(a);
    NORVANE_ASSERT(b);
    const int left = int_at(a);
    const int right = int_at(b);
    return (left > right) - (left < right);
}

unsigned poly_hash_int(const void* element, unsigned size) {
    return carried(element) % size;
}

unsigned ichunk_hash_int(const void* element, unsigned size) {
    return carried(element) % size;
}

PolyValue* pchunk_new_poly_double(double number) {
    PolyValue* value = static_cast<PolyValue*>(util_malloc_throw(sizeof(PolyValue)));
    value->number = number;
    return value;
}

int poly_compare_poly_value(const void* a, const void* b) {
    NORVANE_ASSERT(a);
    NORVANE_ASSERT(b);
    const double left = number_in(a);
    const double right = number_in(b);
    if (std::isnan(left) || std::isnan(right)) return std::isnan(right) - std::isnan(left);
    return (left > right) - (left < right);
}

unsigned poly_hash_poly_value(const void* element, unsigned size) {
    NORVANE_ASSERT(element);
    double number = static_cast<const PolyValue*>(element)->number;
    // These are the only equal values with different bits.
    if (std::isnan(number)) return 0;
    if (number == 0.0) number = 0.0;
    return below(mix(mix(std::bit_cast<std::uint64_t>(number), multiplier), finisher), size);
}

void* poly_copy_poly_value(void* element) {
    NORVANE_ASSERT(element);
    return pchunk_new_poly_double(static_cast<const PolyValue*>(element)->number);
}

void poly_delete_poly_value(void* element) {
    std::free(element);
}
