// Makes, frees, copies and merges types, and makes the labels that stand for the value classes of
// an unbounded type.
#include "norvane/proj/typecon.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <new>
#include <string_view>

#include "norvane/base/chunk.h"
#include "norvane/base/deep.hpp"
#include "norvane/base/except.h"
#include "norvane/base/items.hpp"
#include "norvane/base/memory.h"
#include "norvane/base/strings.h"
#include "norvane/base/util.h"
#include "norvane/proj/decl.h"
#include "poly_adaptors.h"
#include "tags.h"

namespace norvane::model {
namespace {

// Initial capacity of the containers of an unbounded type.
constexpr unsigned value_count_hint = 64;

TypeCon* new_typecon(ConType contype, unsigned linenumber) {
    auto* typecon = new (util_malloc_throw(sizeof(TypeCon))) TypeCon{};
    typecon->contype = static_cast<unsigned char>(contype);
    typecon->linenumber = linenumber;
    typecon->p = typecon;
    return typecon;
}

void delete_parts(TypeCon* typecon) {
    auto& values = typecon->values;
    switch (kind_of(typecon)) {
    case TC_BOOL: return;
    case TC_INT: return expr_delete(values.upper);
    case TC_UBOUND_FLOAT:
        pset_delete(values.enum_float.float_set);
        ihash_delete(values.enum_float.value_index);
        return plist_delete(values.enum_float.labellist);
    case TC_UBOUND_INTEGER:
        iset_delete(values.enum_int.int_set);
        ihash_delete(values.enum_int.value_index);
        return plist_delete(values.enum_int.labellist);
    case TC_STRING:
        pset_delete(values.enum_string.string_set);
        ihash_delete(values.enum_string.value_index);
        return plist_delete(values.enum_string.labellist);
    case TC_PROD: plist_delete(values.prod.fields); return plist_delete(values.prod.rules);
    case TC_SUM: return plist_delete(values.labels);
    case TC_ARRAY: expr_delete(values.array.size); return tc_delete_typecon(values.array.element);
    case TC_NAMED: return str_delete(values.name);
    case TC_OPTIONAL: return tc_delete_typecon(values.base);
    }
    NORVANE_FAIL("Invalid type constructor type '%d'", typecon->contype);
}

using KeyCopy = void* (*)(void*);

// `copy` copies each key; null where the table copies what it is given or the key is a number.
void copy_index(const IntHash* from, IntHash* to, KeyCopy copy) {
    IntHashIter iter;
    void* key;
    int index;
    ihash_iter_init(&iter, from);
    while (ihash_iter_next(&iter, &key, &index))
        ihash_insert(to, copy ? copy(key) : key, index);
}

TypeCon* copy_float(const TypeCon* typecon) {
    TypeCon* copy = tc_new_float_tc(typecon->linenumber);
    const auto& from = typecon->values.enum_float;
    auto& to = copy->values.enum_float;
    PolySetIter iter;
    void* value;
    pset_iter_init(&iter, from.float_set);
    while (pset_iter_next(&iter, &value))
        pset_insert(to.float_set, poly_copy_poly_value(value));
    copy_index(from.value_index, to.value_index, poly_copy_poly_value);
    plist_delete(to.labellist);
    to.labellist = plist_copy_with_copycon(from.labellist, poly_copy_string);
    return copy;
}

TypeCon* copy_integer(const TypeCon* typecon) {
    TypeCon* copy = tc_new_integer_tc(typecon->linenumber);
    const auto& from = typecon->values.enum_int;
    auto& to = copy->values.enum_int;
    IntSetIter iter;
    int value;
    iset_iter_init(&iter, from.int_set);
    while (iset_iter_next(&iter, &value))
        iset_insert(to.int_set, value);
    copy_index(from.value_index, to.value_index, nullptr);
    plist_delete(to.labellist);
    to.labellist = plist_copy_with_copycon(from.labellist, poly_copy_string);
    return copy;
}

// The string set stays empty, unlike the sets of numbers: callers rely on a copy that has the
// labels and collects strings afresh.
TypeCon* copy_string(const TypeCon* typecon) {
    TypeCon* copy = tc_new_string_tc(typecon->linenumber);
    const auto& from = typecon->values.enum_string;
    auto& to = copy->values.enum_string;
    copy_index(from.value_index, to.value_index, nullptr);
    plist_delete(to.labellist);
    to.labellist = plist_copy(from.labellist);
    return copy;
}

TypeCon* copy_record(const TypeCon* typecon) {
    PolyList* fields =
        plist_copy_with_copycon(typecon->values.prod.fields, poly<decl_copy_vardecl>);
    PolyList* rules = plist_copy_with_copycon(typecon->values.prod.rules, poly<decl_copy_ruledecl>);
    return tc_new_prod_tc_varlist(fields, rules, typecon->linenumber);
}

TypeCon* copy_array(const TypeCon* typecon) {
    Expr* size = expr_copy_expr(typecon->values.array.size);
    TypeCon* element = tc_copy_typecon(typecon->values.array.element);
    return tc_new_array_tc(size, element, typecon->linenumber);
}

// The text of a label. Texts of floats may be long; what exceeds the size of a label is cut off.
class LabelText {
  public:
    void add(std::string_view part) {
        const std::size_t length = std::min(part.size(), sizeof text_ - 1 - length_);
        std::memcpy(text_ + length_, part.data(), length);
        length_ += length;
    }
    void add(long long number) {
        char digits[24];
        add({digits, std::to_chars(digits, std::end(digits), number).ptr});
    }
    char* copy() const {
        auto* result = static_cast<char*>(util_malloc_throw(length_ + 1));
        std::memcpy(result, text_, length_);
        result[length_] = '\0';
        return result;
    }

  private:
    char text_[MESSAGE_BUFFER_SIZE];
    std::size_t length_ = 0;
};

// Each part is a text or a long long.
template <typename... Parts>
void append_label(PolyList* labels, Parts... parts) {
    LabelText label;
    (label.add(parts), ...);
    plist_append(labels, label.copy());
}

// One label per value and per class of integers between two values, in ascending order. Adjacent
// integers have no class between them. Computed in 64 bits, because the outer classes begin one
// beyond the smallest and the largest value.
void append_integer_labels(const IntChunk* values, IntHash* value_index, PolyList* labels) {
    long long previous = values->elements[0];
    append_label(labels, "]-inf;", previous - 1, "]");
    for (int i = 0; i < values->count; ++i) {
        const long long value = values->elements[i];
        const long long gap = value - previous;
        if (gap == 2) append_label(labels, previous + 1);
        if (gap > 2) append_label(labels, "[", previous + 1, ";", value - 1, "]");
        ihash_insert(value_index, reinterpret_cast<void*>(static_cast<std::intptr_t>(value)),
                     static_cast<int>(labels->len));
        append_label(labels, value);
        previous = value;
    }
    append_label(labels, "[", previous + 1, ";inf[");
}

// The same for floats, where a class lies between any two values.
void append_float_labels(const PolyChunk* values, IntHash* value_index, PolyList* labels) {
    const auto number = [&](int i) { return static_cast<PolyValue*>(values->elements[i])->number; };
    char* text = str_copy(util_double_to_str(number(0)));
    append_label(labels, "]-inf;", text, "[");
    for (int i = 0; i < values->count; ++i) {
        ihash_insert(value_index, poly_copy_poly_value(values->elements[i]),
                     static_cast<int>(labels->len));
        append_label(labels, text);
        if (i + 1 == values->count) break;
        char* next = str_copy(util_double_to_str(number(i + 1)));
        append_label(labels, "]", text, ";", next, "[");
        str_delete(text);
        text = next;
    }
    append_label(labels, "]", text, ";inf[");
    str_delete(text);
}

} // namespace
} // namespace norvane::model

using namespace norvane;
using namespace norvane::model;

TypeCon* tc_new_bool_tc(unsigned linenumber) {
    return new_typecon(TC_BOOL, linenumber);
}

TypeCon* tc_new_float_tc(unsigned linenumber) {
    TypeCon* typecon = new_typecon(TC_UBOUND_FLOAT, linenumber);
    auto& values = typecon->values.enum_float;
    values.float_set = pset_new(value_count_hint, poly_compare_poly_value, nullptr,
                                poly_hash_poly_value, poly_delete_poly_value);
    values.value_index = ihash_new(value_count_hint, poly_compare_poly_value, nullptr,
                                   poly_hash_poly_value, poly_delete_poly_value);
    values.labellist = plist_new(nullptr, nullptr, poly_delete_string);
    return typecon;
}

TypeCon* tc_new_integer_tc(unsigned linenumber) {
    TypeCon* typecon = new_typecon(TC_UBOUND_INTEGER, linenumber);
    auto& values = typecon->values.enum_int;
    values.int_set = iset_new(value_count_hint, ichunk_hash_int);
    values.value_index =
        ihash_new(value_count_hint, poly_compare_int, nullptr, poly_hash_int, nullptr);
    values.labellist = plist_new(nullptr, nullptr, poly_delete_string);
    return typecon;
}

TypeCon* tc_new_string_tc(unsigned linenumber) {
    TypeCon* typecon = new_typecon(TC_STRING, linenumber);
    auto& values = typecon->values.enum_string;
    values.string_set = pset_new(value_count_hint, poly_compare_string, poly_copy_string,
                                 poly_hash_string, poly_delete_string);
    values.value_index = ihash_new(value_count_hint, poly_compare_string, poly_copy_string,
                                   poly_hash_string, poly_delete_string);
    values.labellist = plist_new(poly_compare_string, poly_copy_string, poly_delete_string);
    return typecon;
}

TypeCon* tc_new_subrange_tc(Expr* upper, unsigned linenumber) {
    NORVANE_ASSERT(upper);
    TypeCon* typecon = new_typecon(TC_INT, linenumber);
    typecon->values.upper = upper;
    return typecon;
}

TypeCon* tc_new_prod_tc(unsigned linenumber) {
    PolyList* fields = plist_new(nullptr, nullptr, poly<decl_delete_vardecl>);
    PolyList* rules = plist_new(nullptr, nullptr, poly<decl_delete_ruledecl>);
    return tc_new_prod_tc_varlist(fields, rules, linenumber);
}

TypeCon* tc_new_prod_tc_varlist(PolyList* fields, PolyList* rules, unsigned linenumber) {
    NORVANE_ASSERT(fields);
    NORVANE_ASSERT(rules);
    TypeCon* typecon = new_typecon(TC_PROD, linenumber);
    typecon->values.prod.fields = fields;
    typecon->values.prod.rules = rules;
    return typecon;
}

TypeCon* tc_new_sum_tc(unsigned linenumber) {
    return tc_new_sum_tc_varlist(plist_new(nullptr, nullptr, poly_delete_string), linenumber);
}

TypeCon* tc_new_sum_tc_varlist(PolyList* labels, unsigned linenumber) {
    NORVANE_ASSERT(labels);
    TypeCon* typecon = new_typecon(TC_SUM, linenumber);
    typecon->values.labels = labels;
    return typecon;
}

TypeCon* tc_new_array_tc(Expr* size, TypeCon* element, unsigned linenumber) {
    NORVANE_ASSERT(size);
    NORVANE_ASSERT(element);
    TypeCon* typecon = new_typecon(TC_ARRAY, linenumber);
    typecon->values.array.size = size;
    typecon->values.array.element = element;
    return typecon;
}

TypeCon* tc_new_named_tc(char* name, unsigned linenumber) {
    NORVANE_ASSERT(name);
    TypeCon* typecon = new_typecon(TC_NAMED, linenumber);
    typecon->values.name = name;
    return typecon;
}

TypeCon* tc_new_optional_tc(TypeCon* base, unsigned linenumber) {
    NORVANE_ASSERT(base);
    TypeCon* typecon = new_typecon(TC_OPTIONAL, linenumber);
    typecon->values.base = base;
    return typecon;
}

void tc_add_label_to_sum(TypeCon* typecon, char* label) {
    NORVANE_ASSERT(typecon);
    NORVANE_ASSERT(label);
    if (typecon->contype != TC_SUM) NORVANE_FAIL("Type constructor is not of sum type");
    plist_append(typecon->values.labels, label);
}

void tc_delete_typecon(TypeCon* typecon) {
    if (stack_is_low()) return on_fresh_stack([&] { tc_delete_typecon(typecon); });
    NORVANE_ASSERT(typecon);
    delete_parts(typecon);
    std::free(typecon);
}

TypeCon* tc_copy_typecon(TypeCon* typecon) {
    if (stack_is_low()) return on_fresh_stack([&] { return tc_copy_typecon(typecon); });
    NORVANE_ASSERT(typecon);
    NORVANE_ASSERT(typecon->p == typecon);
    const unsigned line = typecon->linenumber;
    switch (kind_of(typecon)) {
    case TC_BOOL: return tc_new_bool_tc(line);
    case TC_INT: return tc_new_subrange_tc(expr_copy_expr(typecon->values.upper), line);
    case TC_UBOUND_FLOAT: return copy_float(typecon);
    case TC_UBOUND_INTEGER: return copy_integer(typecon);
    case TC_STRING: return copy_string(typecon);
    case TC_PROD: return copy_record(typecon);
    case TC_SUM:
        return tc_new_sum_tc_varlist(
            plist_copy_with_copycon(typecon->values.labels, poly_copy_string), line);
    case TC_ARRAY: return copy_array(typecon);
    case TC_NAMED: return tc_new_named_tc(str_copy(typecon->values.name), line);
    case TC_OPTIONAL: return tc_new_optional_tc(tc_copy_typecon(typecon->values.base), line);
    }
    NORVANE_FAIL("Invalid type constructor type '%d'", typecon->contype);
}

const char* tc_type_to_string(TypeCon* typecon) {
    NORVANE_ASSERT(typecon);
    switch (kind_of(typecon)) {
    case TC_BOOL: return "boolean";
    case TC_INT:
    case TC_UBOUND_INTEGER: return "integer";
    case TC_UBOUND_FLOAT: return "float";
    case TC_STRING: return "string";
    case TC_PROD: return "record";
    case TC_SUM: return "enumeration";
    case TC_ARRAY: return "array";
    case TC_NAMED: return "user-defined";
    case TC_OPTIONAL: return "optional";
    }
    NORVANE_FAIL("Invalid type constructor type '%d'", typecon->contype);
}

void tc_remove_rules(TypeCon* typecon) {
    if (stack_is_low()) return on_fresh_stack([&] { tc_remove_rules(typecon); });
    NORVANE_ASSERT(typecon);
    if (typecon->contype != TC_PROD) return;
    plist_empty(typecon->values.prod.rules);
    for (const VarDecl* field : items<VarDecl>(typecon->values.prod.fields))
        tc_remove_rules(field->typecon);
}

void tc_create_integer_intervals(TypeCon* typecon) {
    NORVANE_ASSERT(typecon);
    NORVANE_ASSERT_TEXT(typecon->contype == TC_UBOUND_INTEGER, "typecon");
    NORVANE_ASSERT_TEXT(typecon->p == typecon, "typecon");
    auto& values = typecon->values.enum_int;
    if (!plist_isempty(values.labellist)) return;
    if (values.int_set->size == 0) return append_label(values.labellist, "]-inf;inf[");
    IntChunk* chunk = iset_to_intchunk(values.int_set);
    ichunk_sort(chunk);
    append_integer_labels(chunk, values.value_index, values.labellist);
    ichunk_delete(chunk);
}

void tc_create_float_intervals(TypeCon* typecon) {
    NORVANE_ASSERT(typecon);
    NORVANE_ASSERT_TEXT(typecon->contype == TC_UBOUND_FLOAT, "typecon");
    NORVANE_ASSERT_TEXT(typecon->p == typecon, "typecon");
    auto& values = typecon->values.enum_float;
    if (!plist_isempty(values.labellist)) return;
    if (values.float_set->size == 0) return append_label(values.labellist, "]-inf;inf[");
    PolyChunk* chunk = pset_to_polychunk(values.float_set);
    pchunk_sort(chunk);
    append_float_labels(chunk, values.value_index, values.labellist);
    pchunk_delete(chunk);
}

void tc_create_string_hash(TypeCon* typecon) {
    NORVANE_ASSERT(typecon);
    NORVANE_ASSERT_TEXT(typecon->contype == TC_STRING, "typecon");
    NORVANE_ASSERT_TEXT(typecon->p == typecon, "typecon");
    auto& values = typecon->values.enum_string;
    if (!plist_isempty(values.labellist)) return;
    // The label of every string that the model does not name. The list copies its elements.
    char other_values[] = "[Other values]";
    plist_append(values.labellist, other_values);
    PolyChunk* chunk = pset_to_polychunk(values.string_set);
    pchunk_sort(chunk);
    for (int i = 0; i < chunk->count; ++i) {
        ihash_insert(values.value_index, chunk->elements[i], i + 1);
        plist_append(values.labellist, chunk->elements[i]);
    }
    pchunk_delete(chunk);
}

TypeCon* tc_find_set(TypeCon* typecon) {
    NORVANE_ASSERT(typecon);
    TypeCon* root = typecon;
    while (root->p != root)
        root = root->p;
    while (typecon->p != root) {
        TypeCon* parent = typecon->p;
        typecon->p = root;
        typecon = parent;
    }
    return root;
}

void tc_union(TypeCon* x, TypeCon* y) {
    NORVANE_ASSERT(x);
    NORVANE_ASSERT(y);
    NORVANE_ASSERT(x->contype == TC_UBOUND_FLOAT || x->contype == TC_UBOUND_INTEGER ||
                   x->contype == TC_STRING);
    NORVANE_ASSERT(x->contype == y->contype);
    TypeCon* a = tc_find_set(x);
    TypeCon* b = tc_find_set(y);
    if (a == b) return;
    if (a->rank > b->rank) {
        b->p = a;
        return;
    }
    a->p = b;
    if (a->rank == b->rank) ++b->rank;
}
