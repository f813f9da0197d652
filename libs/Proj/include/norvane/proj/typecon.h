/* Types of the product model.
 *
 * `float`, `integer` and `string` are unbounded types: the checker collects the values that the
 * model compares a variable with, merges the types of variables that are equated, and gives each
 * class of values a label. tc_find_set finds the merged type.
 *
 * Every function asserts its pointer arguments as those in expr.h do. Trees may be as deep and as
 * wide as memory allows. */
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
    TypeCon* p;    /* borrowed; parent in the forest of merged types; a root points to itself */
    unsigned rank; /* of a root: tc_union links the root of the lower rank to the other */
};

/* Constructors. They take over their pointer arguments and return a new type, its own root, which
 * the caller owns and frees with tc_delete_typecon. */
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

/* Appends a label, which the type takes over. Throws "Type constructor is not of sum type". */
NORVANE_PROJ_API void tc_add_label_to_sum(TypeCon* typecon, char* label);

/* Frees the tree, but not the types that it is merged with. Throws "Invalid type constructor type
 * '%d'". */
NORVANE_PROJ_API void tc_delete_typecon(TypeCon* typecon);

/* A deep copy, its own root, owned by the caller. Asserts that the source is its own root. The
 * string set of a TC_STRING is not copied: the copy has an empty one. Throws "Invalid type
 * constructor type '%d'". */
NORVANE_PROJ_API TypeCon* tc_copy_typecon(TypeCon* typecon);

/* The name of the kind of type: "boolean", "integer", ..., a static text. Throws "Invalid type
 * constructor type '%d'". */
NORVANE_PROJ_API const char* tc_type_to_string(TypeCon* typecon);

/* Removes and frees the rules of a record, of the records among its fields, and so on. Does not
 * enter arrays and optionals, and does nothing on other types. */
NORVANE_PROJ_API void tc_remove_rules(TypeCon* typecon);

/* Make the labels of an unbounded type from the values collected so far, and the index from each
 * value to its label. They do nothing if the type has labels. They assert "typecon" for a null, for
 * another kind of type, and for a type that is not its own root. */
NORVANE_PROJ_API void tc_create_integer_intervals(TypeCon* typecon);
NORVANE_PROJ_API void tc_create_float_intervals(TypeCon* typecon);
NORVANE_PROJ_API void tc_create_string_hash(TypeCon* typecon);

/* The root of the merged types that this one belongs to, borrowed. */
NORVANE_PROJ_API TypeCon* tc_find_set(TypeCon* typecon);

/* Merges two unbounded types of the same kind, which is asserted. The values of the two stay where
 * they are. */
NORVANE_PROJ_API void tc_union(TypeCon* x, TypeCon* y);

NORVANE_END_DECLS

#endif
