// Array, a growable array of plain elements.
#ifndef NORVANE_BASE_ARRAY_HPP
#define NORVANE_BASE_ARRAY_HPP

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <type_traits>

#include "norvane/base/memory.h"

namespace norvane {

// An array in zeroed memory is empty and may be used. A throw (except.h) that skips an array leaks
// its memory, and nothing else.
template <typename T>
class Array {
    static_assert(std::is_trivially_copyable_v<T>);

  public:
    Array() = default;
    ~Array() { release(); }
    Array(const Array&) = delete;
    Array& operator=(const Array&) = delete;

    T* data() { return data_; }
    std::size_t size() const { return size_; }
    bool empty() const { return size_ == 0; }
    T& operator[](std::size_t index) { return data_[index]; }
    const T& operator[](std::size_t index) const { return data_[index]; }
    T& last() { return data_[size_ - 1]; }
    const T& last() const { return data_[size_ - 1]; }
    T* begin() { return data_; }
    T* end() { return data_ + size_; }

    bool has_room_for(std::size_t count) const { return capacity_ - size_ >= count; }
    // Makes room for `count` more elements. Throws when it runs out of memory.
    void reserve(std::size_t count) {
        if (has_room_for(count)) return;
        const std::size_t capacity = larger_capacity(count);
        data_ = static_cast<T*>(util_realloc_throw(data_, capacity * sizeof(T)));
        capacity_ = capacity;
    }
    // The same for functions that must not throw: returns false when it runs out of memory.
    bool try_reserve(std::size_t count) {
        if (has_room_for(count)) return true;
        const std::size_t capacity = larger_capacity(count);
        void* memory = std::realloc(static_cast<void*>(data_), capacity * sizeof(T));
        if (!memory) return false;
        data_ = static_cast<T*>(memory);
        capacity_ = capacity;
        return true;
    }

    // Appends an element. Throws when it runs out of memory.
    void push(const T& element) {
        const T copy = element; // it may be an element of this array, which moves
        reserve(1);
        data_[size_++] = copy;
    }
    // Appends elements for which there is room, and returns the copies.
    T* append_reserved(const T* elements, std::size_t count) {
        T* place = data_ + size_;
        if (count > 0) std::memcpy(place, elements, count * sizeof(T));
        size_ += count;
        return place;
    }
    // Remove elements at the end.
    void pop() { --size_; }
    void truncate(std::size_t size) { size_ = size; }
    // Empties the array and frees its memory.
    void release() {
        std::free(data_);
        data_ = nullptr;
        size_ = capacity_ = 0;
    }

  private:
    std::size_t larger_capacity(std::size_t count) const {
        return std::max({2 * capacity_, size_ + count, std::size_t{8}});
    }

    T* data_ = nullptr;
    std::size_t size_ = 0;
    std::size_t capacity_ = 0;
};

} // namespace norvane

#endif
