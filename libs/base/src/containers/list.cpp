// PolyList. Callbacks run while the list is consistent, because they may throw.
#include "norvane/base/list.h"

#include <cstdlib>

#include "merge_sort.h"
#include "norvane/base/except.h"
#include "norvane/base/memory.h"

namespace norvane::containers {
namespace {

PolyListNode* new_node(void* element) {
    PolyListNode* node = static_cast<PolyListNode*>(util_malloc_throw(sizeof(PolyListNode)));
    node->element = element;
    node->next = nullptr;
    return node;
}

// Appends the pointer itself, without the copy callback.
void append_stored(PolyList* list, void* element) {
    PolyListNode* node = new_node(element);
    if (!list->last) {
        list->first = node;
    } else {
        list->last->next = node;
    }
    list->last = node;
    ++list->len;
}

void* stored_form(const PolyList* list, void* element) {
    return list->copy ? list->copy(element) : element;
}

} // namespace
} // namespace norvane::containers

using namespace norvane::containers;

PolyList* plist_new(PolyCompare compare, PolyCopy copy, PolyDelete delete_element) {
    PolyList* list = static_cast<PolyList*>(util_malloc_throw(sizeof(PolyList)));
    *list = PolyList{nullptr, nullptr, 0, compare, copy, delete_element};
    return list;
}

void plist_append(PolyList* list, void* element) {
    NORVANE_ASSERT(list);
    append_stored(list, stored_form(list, element));
}

void plist_prepend(PolyList* list, void* element) {
    NORVANE_ASSERT(list);
    PolyListNode* node = new_node(stored_form(list, element));
    node->next = list->first;
    list->first = node;
    if (!list->last) list->last = node;
    ++list->len;
}

void plist_concat(PolyList* list, const PolyList* other) {
    NORVANE_ASSERT(list);
    NORVANE_ASSERT(other);
    // Counts the nodes, because a list may be appended to itself.
    const PolyListNode* node = other->first;
    for (unsigned left = other->len; left > 0; --left) {
        append_stored(list, stored_form(list, node->element));
        node = node->next;
    }
}

PolyList* plist_copy(const PolyList* list) {
    NORVANE_ASSERT(list);
    return plist_copy_with_copycon(list, list->copy);
}

PolyList* plist_copy_with_copycon(const PolyList* list, PolyCopy copy) {
    NORVANE_ASSERT(list);
    PolyList* result = plist_new(list->compare, list->copy, list->delete_element);
    for (const PolyListNode* node = list->first; node; node = node->next) {
        append_stored(result, copy ? copy(node->element) : node->element);
    }
    return result;
}

void plist_delete(PolyList* list) {
    if (!list) return;
    plist_empty(list);
    std::free(list);
}

void plist_empty(PolyList* list) {
    NORVANE_ASSERT(list);
    PolyListNode* node = list->first;
    list->first = nullptr;
    list->last = nullptr;
    list->len = 0;
    while (node) {
        PolyListNode* next = node->next;
        if (list->delete_element) list->delete_element(node->element);
        std::free(node);
        node = next;
    }
}

void plist_delete_nth(PolyList* list, unsigned n) {
    NORVANE_ASSERT(list);
    if (n >= list->len) return;
    PolyListNode* before = nullptr;
    PolyListNode* node = list->first;
    for (unsigned left = n; left > 0; --left) {
        before = node;
        node = node->next;
    }
    if (!before) {
        list->first = node->next;
    } else {
        before->next = node->next;
    }
    if (list->last == node) list->last = before;
    --list->len;

    void* element = node->element;
    std::free(node);
    if (list->delete_element) list->delete_element(element);
}

void* plist_hd(const PolyList* list) {
    NORVANE_ASSERT(list);
    return list->first ? list->first->element : nullptr;
}

void* plist_nth(const PolyList* list, unsigned n) {
    NORVANE_ASSERT(list);
    if (n >= list->len) return nullptr;
    const PolyListNode* node = list->first;
    for (; n > 0; --n)
        node = node->next;
    return node->element;
}

int plist_isempty(const PolyList* list) {
    NORVANE_ASSERT(list);
    return list->len == 0;
}

unsigned plist_length(const PolyList* list) {
    NORVANE_ASSERT(list);
    return list->len;
}

void plist_sort(PolyList* list) {
    NORVANE_ASSERT(list);
    NORVANE_ASSERT(list->compare);
    if (list->len < 2) return;

    const PolyCompare compare = list->compare;
    const size_t count = list->len;
    PolyListNode** nodes =
        static_cast<PolyListNode**>(util_malloc_throw(2 * count * sizeof(PolyListNode*)));
    size_t filled = 0;
    for (PolyListNode* node = list->first; node; node = node->next) {
        nodes[filled++] = node;
    }
    // The links are left alone until the order is known.
    PolyListNode** sorted = merge_sort(nodes, nodes + count, count,
                                       [compare](const PolyListNode* a, const PolyListNode* b) {
                                           return compare(&a->element, &b->element);
                                       });
    for (size_t i = 0; i + 1 < count; ++i)
        sorted[i]->next = sorted[i + 1];
    list->first = sorted[0];
    list->last = sorted[count - 1];
    list->last->next = nullptr;
    std::free(nodes);
}

PolyChunk* plist_to_polychunk(const PolyList* list) {
    NORVANE_ASSERT(list);
    PolyChunk* chunk = static_cast<PolyChunk*>(util_malloc_throw(sizeof(PolyChunk)));
    void** elements = static_cast<void**>(util_malloc_throw(list->len * sizeof(void*)));
    *chunk = PolyChunk{static_cast<int>(list->len), elements, list->compare};
    for (const PolyListNode* node = list->first; node; node = node->next) {
        *elements++ = node->element;
    }
    return chunk;
}

void plist_print(FILE* stream, const PolyList* list, const char* separator, const char* terminator,
                 PolyPrinter printer) {
    NORVANE_ASSERT(stream);
    NORVANE_ASSERT(list);
    NORVANE_ASSERT(separator);
    NORVANE_ASSERT(terminator);
    NORVANE_ASSERT(printer);
    for (const PolyListNode* node = list->first; node; node = node->next) {
        printer(stream, node->element);
        if (node->next) fputs(separator, stream);
    }
    fputs(terminator, stream);
}
