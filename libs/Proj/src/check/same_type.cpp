// Whether two types are the same: by structure, so that two records with the same fields are.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>

#include "norvane/base/chunk.h"
#include "norvane/base/deep.hpp"
#include "norvane/base/except.h"
#include "norvane/base/items.hpp"
#include "norvane/base/memory.h"
#include "norvane/base/set.h"
#include "norvane/base/strings.h"
#include "staticsem_internal.h"
#include "tags.h"

namespace norvane::check {

namespace {

int by_name(const void* a, const void* b) {
    const auto* left = *static_cast<const VarDecl* const*>(a);
    const auto* right = *static_cast<const VarDecl* const*>(b);
    return std::strcmp(left->name, right->name);
}

PolyChunk* fields_by_name(const TypeCon* record) {
    PolyChunk* fields = plist_to_polychunk(record->values.prod.fields);
    fields->compare = by_name;
    pchunk_sort(fields);
    return fields;
}

// Two records that were found to be the same.
struct SamePair {
    const TypeCon* left;
    const TypeCon* right;
};

int compare_pairs(const void* a, const void* b) {
    const auto* one = *static_cast<const SamePair* const*>(a);
    const auto* other = *static_cast<const SamePair* const*>(b);
    return one->left == other->left && one->right == other->right ? 0 : 1;
}

void* copy_pair(void* pair) {
    return new (util_malloc_throw(sizeof(SamePair))) SamePair(*static_cast<SamePair*>(pair));
}

unsigned hash_pair(const void* element, unsigned size) {
    const auto* pair = static_cast<const SamePair*>(element);
    const auto left = reinterpret_cast<std::uintptr_t>(pair->left) >> 4;
    const auto right = reinterpret_cast<std::uintptr_t>(pair->right) >> 4;
    return static_cast<unsigned>((left * 31 + right) % size);
}

// Compares two types. Pairs of records found equal are kept: without them, types that refer to each
// other twice per level would take exponential time. Equal records contain no unbounded type, so
// skipping a known pair skips no assertion.
struct Comparison : Context {
    PolySet* same; // null while there are none
};

bool compare(Comparison& in, TypeCon* typecon1, TypeCon* typecon2);

bool compare_fields(Comparison& in, const PolyChunk* left, const PolyChunk* right) {
    for (int i = 0; i < left->count; ++i) {
        const auto* l = static_cast<const VarDecl*>(left->elements[i]);
        const auto* r = static_cast<const VarDecl*>(right->elements[i]);
        if (std::strcmp(l->name, r->name) != 0 || !compare(in, l->typecon, r->typecon))
            return false;
    }
    return true;
}

bool compare_records(Comparison& in, const TypeCon* left, const TypeCon* right) {
    SamePair pair{left, right};
    if (in.same && pset_peek(in.same, &pair, nullptr) == STATUS_SUCCESS) return true;
    if (plist_length(left->values.prod.fields) != plist_length(right->values.prod.fields))
        return false;
    PolyChunk* left_fields = fields_by_name(left);
    PolyChunk* right_fields = fields_by_name(right);
    const bool same = compare_fields(in, left_fields, right_fields);
    pchunk_delete(left_fields);
    pchunk_delete(right_fields);
    if (!same) return false;
    if (!in.same) in.same = pset_new(16, compare_pairs, copy_pair, hash_pair, std::free);
    pset_insert(in.same, &pair);
    return true;
}

// A label belongs to one enumeration, so the first tells them apart.
bool has_same_labels(const TypeCon* left, const TypeCon* right) {
    if (plist_length(left->values.labels) != plist_length(right->values.labels)) return false;
    return plist_isempty(left->values.labels) ||
           str_is_equal(static_cast<const char*>(plist_hd(left->values.labels)),
                        static_cast<const char*>(plist_hd(right->values.labels)));
}

bool is_same_value(const Context& in, const Expr* left, const Expr* right) {
    return evaluate_int(in, left) == evaluate_int(in, right);
}

bool is_same_dimension(const Context& in, const Expr* left, const Expr* right) {
    return is_static(in, left) && is_static(in, right) && is_same_value(in, left, right);
}

bool compare(Comparison& in, TypeCon* typecon1, TypeCon* typecon2) {
    if (stack_is_low()) return on_fresh_stack([&] { return compare(in, typecon1, typecon2); });
    const TypeCon* left = resolved(in, typecon1, typecon1->linenumber);
    if (!left) return false;
    const TypeCon* right = resolved(in, typecon2, typecon2->linenumber);
    if (!right || left->contype != right->contype) return false;
    const auto& l = left->values;
    const auto& r = right->values;
    switch (model::kind_of(left)) {
    case TC_BOOL: return true;
    case TC_INT: return is_same_value(in, l.upper, r.upper);
    case TC_SUM: return has_same_labels(left, right);
    case TC_PROD: return compare_records(in, left, right);
    case TC_ARRAY:
        return is_same_dimension(in, l.array.size, r.array.size) &&
               compare(in, l.array.element, r.array.element);
    case TC_OPTIONAL: return compare(in, l.base, r.base);
    case TC_UBOUND_FLOAT: NORVANE_FAIL("Method should not be called with float typecon");
    case TC_UBOUND_INTEGER: NORVANE_FAIL("Method should not be called with integer typecon");
    case TC_STRING: NORVANE_FAIL("Method should not be called with string typecon");
    case TC_NAMED: NORVANE_FAIL("Encountered unexpected typecon type : %d", left->contype);
    }
    NORVANE_FAIL("Encountered invalid typecon type : %d", left->contype);
}

} // namespace

bool is_same_type(const Context& in, TypeCon* typecon1, TypeCon* typecon2) {
    Comparison comparison{in, nullptr};
    const bool same = compare(comparison, typecon1, typecon2);
    pset_delete(comparison.same);
    return same;
}

} // namespace norvane::check
