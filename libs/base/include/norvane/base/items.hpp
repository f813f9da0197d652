// Walks the elements of a PolyList as values of one type: for (VarDecl* v : items<VarDecl>(list)).
// Appending to the list during the walk is allowed, removing is not.
#ifndef NORVANE_BASE_ITEMS_HPP
#define NORVANE_BASE_ITEMS_HPP

#include <cstddef>
#include <iterator>

#include "norvane/base/list.h"

namespace norvane {

// A list as a range; made by items().
template <typename T>
class Items {
  public:
    // With the members that the standard algorithms require.
    class iterator {
      public:
        using iterator_category = std::input_iterator_tag;
        using value_type = T*;
        using difference_type = std::ptrdiff_t;
        using pointer = T**;
        using reference = T*;

        iterator() = default;
        explicit iterator(const PolyListNode* node) : node_(node) {}
        T* operator*() const { return static_cast<T*>(node_->element); }
        iterator& operator++() {
            node_ = node_->next;
            return *this;
        }
        iterator operator++(int) {
            iterator before = *this;
            node_ = node_->next;
            return before;
        }
        bool operator==(const iterator& other) const { return node_ == other.node_; }
        bool operator!=(const iterator& other) const { return node_ != other.node_; }

      private:
        const PolyListNode* node_ = nullptr;
    };

    explicit Items(const PolyList* list) : first_(list->first) {}
    iterator begin() const { return iterator(first_); }
    iterator end() const { return iterator(nullptr); }

  private:
    const PolyListNode* first_;
};

// The elements of a list, which is borrowed, as pointers to T.
template <typename T>
Items<T> items(const PolyList* list) {
    return Items<T>(list);
}

} // namespace norvane

#endif
