// The hash of a string, inline for the tables: most of their keys are names.
#ifndef NORVANE_BASE_STRING_HASH_H
#define NORVANE_BASE_STRING_HASH_H

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace norvane::containers {

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

inline std::uint64_t string_hash(const char* text) {
    const std::size_t length = std::strlen(text);
    std::uint64_t hash = length * multiplier;
    if (length < 8) return mix(mix(hash ^ short_word(text, length), multiplier), finisher);
    for (std::size_t at = 0; at + 8 < length; at += 8)
        hash = mix(hash ^ word_at(text + at), multiplier);
    // The last word overlaps the one before it unless the length is a multiple of eight.
    return mix(mix(hash ^ word_at(text + length - 8), multiplier), finisher);
}

} // namespace norvane::containers

#endif
