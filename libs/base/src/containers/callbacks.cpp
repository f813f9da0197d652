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

namespace norvane::containers {
namespace {

// Odd multipliers with irregular bits.
constexpr std::uint64_t multiplier = 0x9E3779B97F4A7C15u;
constexpr std::uint64_t finisher = 0xD6E8FEB86659FD93u;

__extension__ using Wide = unsigned __int128;

// Multiplies and folds the upper half into the lower one, so that every bit of `x` affects all
// bits.
inline std::uint64_t mix(std::uint64_t x, std::uint64_t factor) {
    const Wide product = static_cast<Wide>(x) * factor;
    return static_cast<std::uint64_t>(product) ^ static_cast<std::uint64_t>(product >> 64);
}

// Scales a hash to a number below `size`; faster than a remainder.
inline unsigned below(std::uint64_t hash, unsigned size) {
    return static_cast<unsigned>(((hash >> 32) * size) >> 32);
}

inline std::uint64_t word_at(const char* text) {
    std::uint64_t word;
    std::memcpy(&word, text, sizeof word);
    return word;
}

// Returns a text of fewer than eight bytes as a word, padded with zeros. Most names are that short,
// and a call of memcpy with a variable length would cost more than the rest of the hash.
inline std::uint64_t short_word(const char* text, std::size_t length) {
    const auto byte = [text](std::size_t at) {
        return std::uint64_t{static_cast<unsigned char>(text[at])} << (8 * at);
    };
    if (length == 0) return 0;
    if (length < 4) return byte(0) | byte(length / 2) | byte(length - 1);
    std::uint32_t first, last; // which may overlap
    std::memcpy(&first, text, sizeof first);
    std::memcpy(&last, text + length - sizeof last, sizeof last);
    return first | std::uint64_t{last} << (8 * (length - sizeof last));
}

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
    const char* text = static_cast<const char*>(element);
    const std::size_t length = std::strlen(text);
    std::uint64_t hash = length * multiplier;
    if (length < 8)
        return below(mix(mix(hash ^ short_word(text, length), multiplier), finisher), size);
    for (std::size_t at = 0; at + 8 < length; at += 8) {
        hash = mix(hash ^ word_at(text + at), multiplier);
    }
    // The last word overlaps the one before it unless the length is a multiple of eight.
    hash = mix(hash ^ word_at(text + length - 8), multiplier);
    return below(mix(hash, finisher), size);
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
