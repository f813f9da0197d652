// The sort of the containers: a stable merge sort without recursion. The C library's sort cannot be
// used, because a compare callback may throw, and a throw must not jump over foreign frames.
#ifndef NORVANE_BASE_MERGE_SORT_H
#define NORVANE_BASE_MERGE_SORT_H

#include <algorithm>
#include <cstddef>
#include <utility>

namespace norvane::containers {

// Sorts items[begin..end) by insertion.
template <typename T, typename Compare>
void sort_run(T* items, std::size_t begin, std::size_t end, Compare compare) {
    for (std::size_t i = begin + 1; i < end; ++i) {
        const T item = items[i];
        std::size_t at = i;
        for (; at > begin && compare(items[at - 1], item) > 0; --at)
            items[at] = items[at - 1];
        items[at] = item;
    }
}

// Merges the sorted items[begin..middle) and items[middle..end) into out[begin..end).
template <typename T, typename Compare>
void merge_runs(const T* items, T* out, std::size_t begin, std::size_t middle, std::size_t end,
                Compare compare) {
    std::size_t left = begin;
    std::size_t right = middle;
    T* to = out + begin;
    // Halves that are already in order cost one comparison.
    const bool in_order = middle == end || compare(items[middle - 1], items[middle]) <= 0;
    while (!in_order && left < middle && right < end)
        *to++ = compare(items[left], items[right]) <= 0 ? items[left++] : items[right++];
    to = std::copy(items + left, items + middle, to);
    std::copy(items + right, items + end, to);
}

// Sorts items[0..count), using scratch[0..count), and returns the array that contains the result.
// `compare(a, b)` returns a negative number, zero or a positive number. Items are cheap to copy.
template <typename T, typename Compare>
T* merge_sort(T* items, T* scratch, std::size_t count, Compare compare) {
    constexpr std::size_t run = 8;
    for (std::size_t begin = 0; begin < count; begin += run)
        sort_run(items, begin, std::min(begin + run, count), compare);
    for (std::size_t width = run; width < count; width *= 2) {
        for (std::size_t begin = 0; begin < count; begin += 2 * width)
            merge_runs(items, scratch, begin, std::min(begin + width, count),
                       std::min(begin + 2 * width, count), compare);
        std::swap(items, scratch);
    }
    return items;
}

} // namespace norvane::containers

#endif
