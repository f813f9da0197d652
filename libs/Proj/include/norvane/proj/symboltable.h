/* SymbolTable: every declared name of a checked project.
 *
 * The table borrows types and names from the Project that it was built from, which must outlive it.
 * Failures that a modeller can cause are reported (diagnostics.h) and give -1; what is quoted as a
 * text here is a broken invariant, thrown as kind 1. In all functions `line_info` is the project's,
 * `linenumber` the place to blame, and a non-zero `scoped` restricts the look-up of a name to the
 * innermost environment. */
#ifndef NORVANE_PROJ_SYMBOLTABLE_H
#define NORVANE_PROJ_SYMBOLTABLE_H

#include "norvane/base/hash.h"
#include "norvane/base/list.h"
#include "norvane/proj/export.h"
#include "norvane/proj/project.h"

NORVANE_BEGIN_DECLS

/* What a name stands for: a constant, by its type, a label, a type or a variable. */
typedef enum NameDataType {
    ND_BOOL = 0,
    ND_INT = 1,
    ND_FLOAT = 2,
    ND_STRING = 3,
    ND_LABEL = 4,
    ND_TYPE = 5,
    ND_VARIABLE = 6
} NameDataType;

/* What is known of a name. */
typedef struct NameData {
    unsigned char ndtype; /* NameDataType; names the live members of the unions */
    union {
        int int_value;      /* ND_BOOL, ND_INT */
        double float_value; /* ND_FLOAT */
        char* string_value; /* ND_STRING; owned */
        TypeCon* typecon;   /* ND_LABEL, ND_TYPE, ND_VARIABLE; borrowed from the project */
    };
    union {
        int label_index;       /* ND_LABEL: position in its enumeration, from 0 */
        PolyHash* environment; /* ND_TYPE, ND_VARIABLE: the record's fields; owned; may be null */
    };
    int is_public;            /* ND_VARIABLE */
    unsigned char value_type; /* ND_VARIABLE; the checker's own: an ExprType, once it is known */
} NameData;

/* An environment is a PolyHash from a name (borrowed) to a NameData (owned). */
typedef struct SymbolTable {
    PolyHash* global_table; /* owned; types and labels */
    PolyList* local_table; /* owned; the stack of environments, PolyHash, innermost first; the table
                              owns the last of them alone, the base environment */
} SymbolTable;

/* A table with an empty global table and an empty base environment. */
NORVANE_PROJ_API SymbolTable* symtbl_new_symbol_table(void);

/* Frees the table with its base environment. Environments that are still pushed belong to their
 * NameData. Asserts a stack that is not empty. */
NORVANE_PROJ_API void symtbl_delete_symbol_table(SymbolTable* symboltable);

/* A new environment for about `size` names; asserts "size >= 1". */
NORVANE_PROJ_API PolyHash* symtbl_new_symbol_table_env(int size);
NORVANE_PROJ_API void symtbl_delete_symbol_table_env(PolyHash* environment);

/* A new record of the given kind, from those arguments that it has; the string is copied, the
 * environment is taken over. Asserts that constants come without typecon and environment, labels
 * with a typecon and without an environment, types and variables with a typecon, and records with
 * an environment. Fails with "Invalid name data type '%d'". The label index is set afterwards. */
NORVANE_PROJ_API NameData* symtbl_new_namedata(NameDataType ndtype, TypeCon* typecon,
                                               PolyHash* environment, int int_value,
                                               double float_value, const char* string_value,
                                               int is_public);
NORVANE_PROJ_API void symtbl_delete_namedata(NameData* namedata);

/* "constant", "label", "type" or "variable": static text. */
NORVANE_PROJ_API const char* symtbl_namedata_to_string(NameData* namedata);

/* Push and pop the innermost environment; its owner stays the same. The base environment cannot be
 * popped: asserts "symboltable->local_table->len > 1". */
NORVANE_PROJ_API void symtbl_push_env(SymbolTable* symboltable, PolyHash* environment);
NORVANE_PROJ_API void symtbl_pop_env(SymbolTable* symboltable);

/* 0 and the record (borrowed) if the name is found, non-zero if not; reports nothing. Unscoped, a
 * global name hides any local one, and then the innermost environment wins. */
NORVANE_PROJ_API int symtbl_lookup(SymbolTable* symboltable, char* name, int scoped,
                                   NameData** namedata);

/* Declares a name, borrowing it, and takes `namedata` over on success: types and labels globally,
 * where they must differ from everything that is visible, all else in the innermost environment. -1
 * after reporting ERR_NAME_REDECLARED or ERR_NAME_REDECLARED_SCOPE; `namedata` is then still the
 * caller's. */
NORVANE_PROJ_API int symtbl_insert(LineInfo* line_info, SymbolTable* symboltable, char* name,
                                   NameData* namedata, unsigned linenumber);

/* The type behind a name of a type, followed to its end. -1 after reporting ERR_TYPE_UNDEF. A type
 * that leads to itself is not to be passed. */
NORVANE_PROJ_API int symtbl_lookup_typecon(LineInfo* line_info, SymbolTable* symboltable,
                                           TypeCon* typecon, TypeCon** result, unsigned linenumber);

/* The environment (borrowed) of a variable, field or type: its own, or that of its declared type
 * through arrays and optionals, or null if it has none. -1 after reporting ERR_ID_UNDECLARED. Fails
 * with "'%s' is neither a variable nor a type". */
NORVANE_PROJ_API int symtbl_lookup_env(LineInfo* line_info, SymbolTable* symboltable, char* name,
                                       int scoped, PolyHash** result, unsigned linenumber);

/* The record (borrowed) at the end of a path, or null. Fails with "Could not find environment for
 * '%s'" where a step has no fields. */
NORVANE_PROJ_API NameData* symtbl_namedata_for_idcon(LineInfo* line_info, SymbolTable* symboltable,
                                                     IdCon* idcon, int scoped, unsigned linenumber);

/* The type (borrowed) at the end of a path, names followed. -1 if a name without indices is absent,
 * without a report, or after reporting, as ERR_TYPE_AS_VAR for a type. What a caller handles before
 * it asks fails: constants with "Invalid name data type '%d'", a name with indices that is no
 * variable, absent ones among them, with "'%s' is not declared as an array", and one index too many
 * with "Could not find array type constructor for '%s'". */
NORVANE_PROJ_API int symtbl_typecon_for_idcon(LineInfo* line_info, SymbolTable* symboltable,
                                              IdCon* idcon, int scoped, TypeCon** result,
                                              unsigned linenumber);

/* The same with the type as it is declared: names are not followed, in array dimensions neither. */
NORVANE_PROJ_API int symtbl_deftypecon_for_idcon(LineInfo* line_info, SymbolTable* symboltable,
                                                 IdCon* idcon, int scoped, TypeCon** result,
                                                 unsigned linenumber);

NORVANE_END_DECLS

#endif
