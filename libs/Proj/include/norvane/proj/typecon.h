/* Types of the product model.
 *
 * `float`, `integer` and `string` are open: the checker gathers the values that the model compares
 * such a variable with, merges the types of variables that are equated, and the value classes
 * become labels. A merged type is reached through tc_find_set.
 *
 * Ownership and assertions are as in expr.h. */
#ifndef NORVANE_PROJ_TYPECON_H
#define NORVANE_PROJ_TYPECON_H

#include "norvane/base/hash.h"
#include "norvane/base/list.h"
#include "norvane/base/set.h"
#include "norvane/proj/export.h"
#include "norvane/proj/expr.h"

NORVANE_BEGIN_DECLS

/* The kinds of types. */
typedef enum ConType {
    TC_BOOL = 0,
    TC_INT = 1,
    TC_UBOUND_FLOAT = 2,
    TC_UBOUND_INTEGER = 3,
    TC_STRING = 4,
    TC_PROD = 5,
    TC_SUM = 6,
    TC_ARRAY = 7,
    TC_NAMED = 8,
    TC_OPTIONAL = 9
} ConType;

typedef struct TypeCon TypeCon;

/* A type. */
struct TypeCon {
    unsigned char contype; /* ConType; names the live member of `values` */
    unsigned linenumber;
    union {
        Expr* upper; /* TC_INT; owned: the range is 0 to this bound */
        struct {
            PolySet* float_set;   /* owned; PolyValue */
            IntHash* value_index; /* owned; from PolyValue to the index of its label */
            PolyList* labellist;  /* owned; char* */
        } enum_float;             /* TC_UBOUND_FLOAT */
        struct {
            IntSet* int_set;      /* owned */
            IntHash* value_index; /* owned; from the integer, carried in the key, to its label */
            PolyList* labellist;  /* owned; char* */
        } enum_int;               /* TC_UBOUND_INTEGER */
        struct {
            PolySet* string_set;  /* owned; char* */
            IntHash* value_index; /* owned; from char* to its label */
            PolyList* labellist;  /* owned; char* */
        } enum_string;            /* TC_STRING */
        struct {
            PolyList* fields; /* owned; VarDecl (decl.h) */
            PolyList* rules;  /* owned; RuleDecl */
        } prod;               /* TC_PROD */
        PolyList* labels;     /* TC_SUM; owned; char* */
        struct {
            Expr* size;       /* owned */
            TypeCon* element; /* owned */
        } array;              /* TC_ARRAY */
        char* name;           /* TC_NAMED; owned */
        TypeCon* base;        /* TC_OPTIONAL; owned */
    } values;
    TypeCon* p;    /* parent in the forest of merged types; itself at a root; never owned */
    unsigned rank; /* of a root, by which tc_union links */
};

/* Constructors: new types, freed with tc_delete_typecon, each its own root. They take over their
 * pointer arguments. */
NORVANE_PROJ_API TypeCon* tc_new_bool_tc(unsigned linenumber);
NORVANE_PROJ_API TypeCon* tc_new_float_tc(unsigned linenumber);
NORVANE_PROJ_API TypeCon* tc_new_integer_tc(unsigned linenumber);
NORVANE_PROJ_API TypeCon* tc_new_string_tc(unsigned linenumber);
NORVANE_PROJ_API TypeCon* tc_new_subrange_tc(Expr* upper, unsigned linenumber);
NORVANE_PROJ_API TypeCon* tc_new_prod_tc(unsigned linenumber); /* no fields and no rules yet */
NORVANE_PROJ_API TypeCon* tc_new_prod_tc_varlist(PolyList* fields, PolyList* rules,
                                                 unsigned linenumber);
NORVANE_PROJ_API TypeCon* tc_new_sum_tc(unsigned linenumber); /* no labels yet */
NORVANE_PROJ_API TypeCon* tc_new_sum_tc_varlist(PolyList* labels, unsigned linenumber);
NORVANE_PROJ_API TypeCon* tc_new_array_tc(Expr* size, TypeCon* element, unsigned linenumber);
NORVANE_PROJ_API TypeCon* tc_new_named_tc(char* name, unsigned linenumber);
NORVANE_PROJ_API TypeCon* tc_new_optional_tc(TypeCon* base, unsigned linenumber);

/* Appends a label, taking it over. Fails with "Type constructor is not of sum type". */
NORVANE_PROJ_API void tc_add_label_to_sum(TypeCon* typecon, char* label);

/* Frees the tree, merged types apart. */
NORVANE_PROJ_API void tc_delete_typecon(TypeCon* typecon);

/* A deep copy, owned by the caller, its own root. Asserts that the source is its own root. The
 * string set of a TC_STRING is not copied: the copy starts with an empty one. Fails with "Invalid
 * type constructor type '%d'". */
NORVANE_PROJ_API TypeCon* tc_copy_typecon(TypeCon* typecon);

/* "boolean", "integer", ...: static text. Fails with "Invalid type constructor type '%d'". */
NORVANE_PROJ_API const char* tc_type_to_string(TypeCon* typecon);

/* On a record: empties its rules, and those of records that are its fields, and so on. It enters no
 * arrays and no optionals; on other types it does nothing. */
NORVANE_PROJ_API void tc_remove_rules(TypeCon* typecon);

/* Make the labels of an open type, and the index from each value to its label, from the values
 * gathered so far. On a type that has labels they do nothing. They assert "typecon" for a null, for
 * another kind of type, and for a type that is not its own root. */
NORVANE_PROJ_API void tc_create_integer_intervals(TypeCon* typecon);
NORVANE_PROJ_API void tc_create_float_intervals(TypeCon* typecon);
NORVANE_PROJ_API void tc_create_string_hash(TypeCon* typecon);

/* The root of the set of merged types that this one belongs to. */
NORVANE_PROJ_API TypeCon* tc_find_set(TypeCon* typecon);

/* Merges the sets of two open types of the same kind. No values move. */
NORVANE_PROJ_API void tc_union(TypeCon* x, TypeCon* y);

NORVANE_END_DECLS

#endif
