// Type check of calculations: model variables, that is whether a path such as a[1].b names one, its
// type and whether it is public; and string constants that are compared with enumerations.
//
// A path is followed by pushing the environment of each record on it. A fault throws with these
// environments on the stack, and the check of the function pops them.
#include "calc_typecheck_internal.h"
#include "labels.h"
#include "norvane/base/except.h"
#include "norvane/base/items.hpp"
#include "norvane/base/text.hpp"
#include "poly_adaptors.h"
#include "tags.h"

namespace norvane::calculations {

namespace {

// The names of the path joined by dots, each followed by `index` once for each of its indices.
const char* path_text(const Check& check, const CPMVar* head, const char* index) {
    ustr_reset(check.path);
    for (const CPMVar* pmvar = head; pmvar; pmvar = pmvar->nested) {
        if (pmvar != head) ustr_append_char(check.path, '.');
        ustr_append_string(check.path, pmvar->name);
        for (unsigned left = plist_length(pmvar->arr_indices); left > 0; --left)
            ustr_append_string(check.path, index);
    }
    return check.path->text;
}

void check_indices(Check& check, const CPMVar* head) {
    for (const CPMVar* pmvar = head; pmvar; pmvar = pmvar->nested) {
        NORVANE_ASSERT(pmvar->arr_indices);
        for (const CExpr* index : items<const CExpr>(pmvar->arr_indices)) {
            const CalcType type = check_expr(check, index);
            if (type != CTYPE_INT)
                type_error(check, line_of(index),
                           "Array index is of type %s, it must be of integer type",
                           type_word(type));
        }
    }
}

// The type that a declared type stands for once all names are resolved. No report needs a line
// here: in a checked model every named type exists.
TypeCon* resolved(const Check& check, TypeCon* declared) {
    LineInfo none{};
    TypeCon* typecon = nullptr;
    const int status = symtbl_lookup_typecon(&none, check.symtbl, declared, &typecon, UNDEF_LINENO);
    NORVANE_ASSERT(status == STATUS_SUCCESS);
    NORVANE_ASSERT(typecon);
    return typecon;
}

// The type of one element of a component, which must have an index for each of its dimensions.
TypeCon* type_of_component(const Check& check, const CPMVar* pmvar, const NameData* namedata,
                           int line) {
    TypeCon* typecon = resolved(check, namedata->typecon);
    for (unsigned left = plist_length(pmvar->arr_indices); left > 0; --left) {
        if (typecon->contype != TC_ARRAY) type_error(check, line, "Illegal array dimension");
        typecon = resolved(check, typecon->values.array.element);
    }
    if (typecon->contype == TC_ARRAY) type_error(check, line, "Illegal array dimension");
    return typecon;
}

void pop_environments(const Check& check, unsigned count) {
    for (; count > 0; --count)
        symtbl_pop_env(check.symtbl);
}

// The last component of a path.
struct Resolution {
    TypeCon* typecon;
    const NameData* namedata;
};

Resolution resolve(const Check& check, const CPMVar* head, int line) {
    unsigned pushed = 0;
    for (const CPMVar* pmvar = head;; pmvar = pmvar->nested) {
        NameData* namedata;
        if (symtbl_lookup(check.symtbl, pmvar->name, true, &namedata) != STATUS_SUCCESS ||
            namedata->ndtype != ND_VARIABLE)
            type_error(check, line, "No product model variable named '%s'",
                       path_text(check, head, ""));
        TypeCon* typecon = type_of_component(check, pmvar, namedata, line);
        if (!pmvar->nested) {
            pop_environments(check, pushed);
            return {typecon, namedata};
        }
        if (typecon->contype != TC_PROD && typecon->contype != TC_OPTIONAL)
            type_error(check, line,
                       "Product model variable '%s' is not of product or optional type",
                       pmvar->name);
        LineInfo none{};
        PolyHash* env = nullptr;
        symtbl_lookup_env(&none, check.symtbl, pmvar->name, true, &env, UNDEF_LINENO);
        symtbl_push_env(check.symtbl, env);
        ++pushed;
    }
}

// Enumerations are strings, their labels; callers rely on optionals being strings too.
CalcType type_of_value(const Check& check, const TypeCon* typecon, const CExpr* e) {
    switch (model::kind_of(typecon)) {
    case TC_BOOL: return CTYPE_BOOL;
    case TC_INT:
    case TC_UBOUND_INTEGER: return CTYPE_INT;
    case TC_UBOUND_FLOAT: return CTYPE_FLOAT;
    case TC_STRING:
    case TC_SUM:
    case TC_OPTIONAL: return CTYPE_STRING;
    case TC_PROD:
    case TC_ARRAY:
        type_error(check, e->line_no, "Product model variable '%s' is not a simple type",
                   e->args.pmvar->name);
    case TC_NAMED: break; // resolved
    }
    NORVANE_FAIL("Invalid typecon: %d", typecon->contype);
}

// Whether all components of a resolved path are public. The second component is looked up in the
// environment of the first alone, all others in every environment, where a type can hide a field of
// its name: callers rely on the results.
bool is_public_path(const Check& check, const CPMVar* head) {
    unsigned env_push = 0;
    bool is_public = true;
    for (const CPMVar* pmvar = head; pmvar; pmvar = pmvar->nested) {
        NameData* namedata = nullptr;
        const bool found =
            symtbl_lookup(check.symtbl, pmvar->name, true, &namedata) == STATUS_SUCCESS &&
            namedata->ndtype == ND_VARIABLE;
        NORVANE_ASSERT_TEXT(found, "symtbl_lookup( g_symtbl, pmvar->name, true, &namedata ) == "
                                   "STATUS_SUCCESS && namedata->ndtype == ND_VARIABLE");
        is_public = namedata->is_public != 0;
        if (!is_public || !pmvar->nested) break;
        LineInfo dummy{};
        PolyHash* env = nullptr;
        const bool entered = symtbl_lookup_env(&dummy, check.symtbl, pmvar->name, env_push == 1,
                                               &env, UNDEF_LINENO) == STATUS_SUCCESS &&
                             env != nullptr;
        NORVANE_ASSERT_TEXT(entered,
                            "symtbl_lookup_env( &dummy, g_symtbl, pmvar->name, env_push == 1, "
                            "&env, UNDEF_LINENO ) == STATUS_SUCCESS && env != NULL");
        symtbl_push_env(check.symtbl, env);
        ++env_push;
    }
    pop_environments(check, env_push);
    return is_public;
}

// The labels of an enumeration as they are shown. Each set is built on its first use.
const PolySet* shown_labels(const Check& check, TypeCon* sum) {
    void* gathered = nullptr;
    if (phash_peek(check.labels, sum, &gathered) == STATUS_SUCCESS)
        return static_cast<const PolySet*>(gathered);
    PolySet* labels = pset_new(plist_length(sum->values.labels), poly_compare_string, nullptr,
                               poly_hash_string, nullptr);
    for (char* label : items<char>(sum->values.labels))
        pset_insert(labels, model::shown_label(label));
    phash_insert(check.labels, sum, labels);
    return labels;
}

// The text in the encoding of the model.
const char* value_text(const Check& check, const char* utf8) {
    const NorvaneCpp::String text = NorvaneCpp::UTF8::ToCodepage(utf8, 1252, false);
    ustr_reset(check.value);
    ustr_append_string(check.value, text.GetStr());
    return check.value->text;
}

} // namespace

CalcType check_pmvar(Check& check, const CExpr* e) {
    NORVANE_ASSERT(e->args.pmvar);
    const CPMVar* pmvar = e->args.pmvar;
    check_indices(check, pmvar);
    const Resolution resolution = resolve(check, pmvar, e->line_no);
    const CalcType type = type_of_value(check, resolution.typecon, e);
    const bool is_public =
        pmvar->nested ? is_public_path(check, pmvar) : resolution.namedata->is_public != 0;
    if (!is_public)
        type_error(check, e->line_no,
                   "Variable %s is private, and cannot be used in a calculation expression",
                   path_text(check, pmvar, ""));
    return type;
}

void check_label(Check& check, const CPMVar* pmvar, const char* value, int line) {
    const char* text = value_text(check, value);
    if (*text == '\0') return;
    TypeCon* typecon = resolve(check, pmvar, line).typecon;
    if (typecon->contype != TC_SUM) return;
    if (pset_peek(shown_labels(check, typecon), text, nullptr) == STATUS_SUCCESS) return;
    type_error(check, line, "'%s' is not a legal value for the variable '%s'", text,
               path_text(check, pmvar, "[]"));
}

} // namespace norvane::calculations
