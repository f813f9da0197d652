// Checking of types: their bounds, labels and dimensions, the fields and rules of records, whose
// names get environments here; and when two types are the same.

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>

#include "norvane/base/deep.hpp"
#include "norvane/base/except.h"
#include "norvane/base/items.hpp"
#include "norvane/base/memory.h"
#include "norvane/base/set.h"
#include "norvane/proj/proj_errors.h"
#include "norvane/proj/staticsem.h"
#include "report.h"
#include "staticsem_internal.h"

namespace norvane {

namespace {

// The largest upper bound of a range: what the tools behind the checker have bits for.
constexpr unsigned largest_bound = 0xFFFFFF;

// The field that stands for the value of an optional.
char some_name[] = "SOME";

int check_domain(const CheckContext& check, Expr* bound) {
    const Checked checked = ssem_check(check, bound);
    if (checked.status != STATUS_SUCCESS) return checked.status;
    if (bound->type != ETYPE_INT) {
        const ExprContext context = ssem_expr_context(check.project, bound);
        report_error(ERR_DOMAIN_TYPE(context.position, context.text));
        return STATUS_FAILURE;
    }
    if (!checked.is_static) {
        const ExprContext context = ssem_expr_context(check.project, bound);
        report_error(ERR_DOMAIN_NOT_STATIC(context.position, context.text));
        return STATUS_FAILURE;
    }
    // As an unsigned number, a negative bound is too large.
    const int value = ssem_static_evaluate_intexpr(check.project, check.symboltable, bound);
    if (static_cast<unsigned>(value) > largest_bound) {
        const ExprContext context = ssem_expr_context(check.project, bound);
        report_error(ERR_DOMAIN_BOUND(context.position, context.text));
        return STATUS_FAILURE;
    }
    return STATUS_SUCCESS;
}

int check_labels(const CheckContext& check, const TypeCon* sum) {
    const auto fault = [&](ErrorInfo* (*builder)(const char*), int line = __builtin_LINE()) {
        report_error(builder(ssem_position(check.project, sum->linenumber)), line);
        return STATUS_FAILURE;
    };
    if (plist_isempty(sum->values.labels)) return fault(ERR_NO_LABELS);
    for (const char* label : items<const char>(sum->values.labels)) {
        if (*label == '\0') return fault(ERR_EMPTY_LABEL_NAME);
        if (ssem_is_optional_word(label)) return fault(ERR_LABEL_RESERVED_WORD);
    }
    return STATUS_SUCCESS;
}

int check_dimension(const CheckContext& check, Expr* dimension) {
    const Checked checked = ssem_check(check, dimension);
    if (checked.status != STATUS_SUCCESS) return checked.status;
    if (dimension->type == ETYPE_INT && !checked.is_static) {
        const ExprContext context = ssem_expr_context(check.project, dimension);
        report_error(ERR_ARRAY_NOT_STATIC(context.position, context.text));
        return STATUS_FAILURE;
    }
    if (dimension->type != ETYPE_INT ||
        ssem_static_evaluate_intexpr(check.project, check.symboltable, dimension) < 1) {
        const ExprContext context = ssem_expr_context(check.project, dimension);
        report_error(ERR_ARRAY_DIM(context.position, context.text));
        return STATUS_FAILURE;
    }
    return STATUS_SUCCESS;
}

int check_name(const CheckContext& check, const TypeCon* named) {
    char* name = named->values.name;
    NameData* namedata = nullptr;
    if (symtbl_lookup(check.symboltable, name, false, &namedata) != STATUS_SUCCESS) {
        report_error(ERR_TYPE_UNDEF(ssem_position(check.project, named->linenumber), name));
        return STATUS_FAILURE;
    }
    if (namedata->ndtype != ND_TYPE) {
        report_error(ERR_VAR_AS_TYPE_NAME(ssem_position(check.project, named->linenumber), name));
        return STATUS_FAILURE;
    }
    return STATUS_SUCCESS;
}

int check_fields(const CheckContext& check, const TypeCon* record) {
    for (VarDecl* field : items<VarDecl>(record->values.prod.fields)) {
        PolyHash* environment = nullptr;
        const int status = ssem_check_typecon(check, field->typecon, &environment);
        if (status != STATUS_SUCCESS) return status;
        NameData* namedata = symtbl_new_namedata(ND_VARIABLE, field->typecon, environment, 0, 0.0,
                                                 nullptr, field->vartype == VARTYPE_PUBLIC);
        const int declared = ssem_declare(check, field->name, namedata, field->linenumber);
        if (declared != STATUS_SUCCESS) return declared;
    }
    return STATUS_SUCCESS;
}

int check_rules(const CheckContext& check, const TypeCon* record) {
    for (RuleDecl* rule : items<RuleDecl>(record->values.prod.rules)) {
        const int status = ssem_check_rule(check, rule->rule);
        if (status != STATUS_SUCCESS) return status;
    }
    return STATUS_SUCCESS;
}

// The rules see the fields, the fields of enclosing records, and what the table holds at this
// moment; variables that are declared later are not there yet.
int check_record(const CheckContext& check, const TypeCon* record, PolyHash** env) {
    const auto fields = static_cast<int>(plist_length(record->values.prod.fields));
    PolyHash* environment = symtbl_new_symbol_table_env(std::max(fields, 1));
    ScopedEnv pushed(check.symboltable, environment);
    int status = check_fields(check, record);
    if (status == STATUS_SUCCESS) status = check_rules(check, record);
    if (status != STATUS_SUCCESS)
        pushed.own();
    else
        *env = environment;
    return status;
}

int check_optional(const CheckContext& check, const TypeCon* optional, PolyHash** env) {
    TypeCon* base = optional->values.base;
    PolyHash* environment = symtbl_new_symbol_table_env(1);
    ScopedEnv pushed(check.symboltable, environment);
    PolyHash* base_environment = nullptr;
    int status = ssem_check_typecon(check, base, &base_environment);
    if (status == STATUS_SUCCESS) {
        NameData* namedata =
            symtbl_new_namedata(ND_VARIABLE, base, base_environment, 0, 0.0, nullptr, true);
        status = ssem_declare(check, some_name, namedata, optional->linenumber);
    }
    if (status != STATUS_SUCCESS) {
        pushed.own();
        return STATUS_FAILURE;
    }
    *env = environment;
    return STATUS_SUCCESS;
}

} // namespace

int ssem_declare(const CheckContext& check, char* name, NameData* namedata, unsigned linenumber) {
    const int status =
        symtbl_insert(check.project->line_info, check.symboltable, name, namedata, linenumber);
    if (status != STATUS_SUCCESS) symtbl_delete_namedata(namedata);
    return status;
}

int ssem_check_typecon(const CheckContext& check, TypeCon* typecon, PolyHash** env) {
    if (stack_is_low())
        return on_fresh_stack([&] { return ssem_check_typecon(check, typecon, env); });
    *env = nullptr;
    while (typecon->contype == TC_ARRAY) {
        const int status = check_dimension(check, typecon->values.array.size);
        if (status != STATUS_SUCCESS) return status;
        typecon = typecon->values.array.element;
    }
    switch (typecon->contype) {
    case TC_BOOL:
    case TC_UBOUND_FLOAT:
    case TC_UBOUND_INTEGER:
    case TC_STRING: return STATUS_SUCCESS;
    case TC_INT: return check_domain(check, typecon->values.upper);
    case TC_SUM: return check_labels(check, typecon);
    case TC_PROD: return check_record(check, typecon, env);
    case TC_NAMED: return check_name(check, typecon);
    case TC_OPTIONAL: return check_optional(check, typecon, env);
    default: NORVANE_FAIL("Enocuntered invalid type constructor type : %d", typecon->contype);
    }
}

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

// A comparison of two types. It keeps the pairs of records that it has found to be the same: types
// that name each other twice, level upon level, would be walked as often as they have instances.
// What is found to be the same holds no open type, so no stop is passed over.
struct Comparison {
    const CheckContext& check;
    PolySet* same; // null while there are none
};

int compare(Comparison& in, TypeCon* typecon1, TypeCon* typecon2);

int compare_fields(Comparison& in, const PolyChunk* left, const PolyChunk* right) {
    for (int i = 0; i < left->count; ++i) {
        const auto* l = static_cast<const VarDecl*>(left->elements[i]);
        const auto* r = static_cast<const VarDecl*>(right->elements[i]);
        if (std::strcmp(l->name, r->name) != 0) return STATUS_FAILURE;
        const int status = compare(in, l->typecon, r->typecon);
        if (status != STATUS_SUCCESS) return status;
    }
    return STATUS_SUCCESS;
}

int compare_records(Comparison& in, const TypeCon* left, const TypeCon* right) {
    SamePair pair{left, right};
    if (in.same != nullptr && pset_peek(in.same, &pair, nullptr) == STATUS_SUCCESS)
        return STATUS_SUCCESS;
    if (plist_length(left->values.prod.fields) != plist_length(right->values.prod.fields))
        return STATUS_FAILURE;
    PolyChunk* left_fields = fields_by_name(left);
    PolyChunk* right_fields = fields_by_name(right);
    const int status = compare_fields(in, left_fields, right_fields);
    pchunk_delete(left_fields);
    pchunk_delete(right_fields);
    if (status != STATUS_SUCCESS) return status;
    if (in.same == nullptr) in.same = pset_new(16, compare_pairs, copy_pair, hash_pair, std::free);
    pset_insert(in.same, &pair);
    return STATUS_SUCCESS;
}

// A label belongs to one enumeration, so the first tells them apart.
bool same_labels(const TypeCon* left, const TypeCon* right) {
    if (plist_length(left->values.labels) != plist_length(right->values.labels)) return false;
    return plist_isempty(left->values.labels) ||
           str_is_equal(static_cast<const char*>(plist_hd(left->values.labels)),
                        static_cast<const char*>(plist_hd(right->values.labels)));
}

bool same_value(const CheckContext& check, Expr* left, Expr* right) {
    return ssem_static_evaluate_intexpr(check.project, check.symboltable, left) ==
           ssem_static_evaluate_intexpr(check.project, check.symboltable, right);
}

bool same_dimension(const CheckContext& check, Expr* left, Expr* right) {
    return ssem_is_static_expr(check.project, check.symboltable, left) &&
           ssem_is_static_expr(check.project, check.symboltable, right) &&
           same_value(check, left, right);
}

int compare(Comparison& in, TypeCon* typecon1, TypeCon* typecon2) {
    if (stack_is_low()) return on_fresh_stack([&] { return compare(in, typecon1, typecon2); });
    LineInfo* line_info = in.check.project->line_info;
    SymbolTable* symboltable = in.check.symboltable;
    TypeCon* left = nullptr;
    int status =
        symtbl_lookup_typecon(line_info, symboltable, typecon1, &left, typecon1->linenumber);
    if (status != STATUS_SUCCESS) return status;
    TypeCon* right = nullptr;
    status = symtbl_lookup_typecon(line_info, symboltable, typecon2, &right, typecon2->linenumber);
    if (status != STATUS_SUCCESS) return status;
    if (left->contype != right->contype) return STATUS_FAILURE;

    const auto status_of = [](bool same) { return same ? STATUS_SUCCESS : STATUS_FAILURE; };
    switch (left->contype) {
    case TC_BOOL: return STATUS_SUCCESS;
    case TC_INT: return status_of(same_value(in.check, left->values.upper, right->values.upper));
    case TC_SUM: return status_of(same_labels(left, right));
    case TC_PROD: return compare_records(in, left, right);
    case TC_ARRAY:
        if (!same_dimension(in.check, left->values.array.size, right->values.array.size))
            return STATUS_FAILURE;
        return compare(in, left->values.array.element, right->values.array.element);
    case TC_OPTIONAL: return compare(in, left->values.base, right->values.base);
    case TC_UBOUND_FLOAT: NORVANE_FAIL("Method should not be called with float typecon");
    case TC_UBOUND_INTEGER: NORVANE_FAIL("Method should not be called with integer typecon");
    case TC_STRING: NORVANE_FAIL("Method should not be called with string typecon");
    case TC_NAMED: NORVANE_FAIL("Encountered unexpected typecon type : %d", left->contype);
    default: NORVANE_FAIL("Encountered invalid typecon type : %d", left->contype);
    }
}

} // namespace

int ssem_compare_typecon(const CheckContext& check, TypeCon* typecon1, TypeCon* typecon2) {
    Comparison in{check, nullptr};
    const int status = compare(in, typecon1, typecon2);
    pset_delete(in.same);
    return status;
}

} // namespace norvane
