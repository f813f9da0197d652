/* The symbol table: every declared name of a checked project.
 *
 * The table borrows names and types from the project that it was built from, which has to outlive
 * it. A fault that a modeller can cause is reported (diagnostics.h), and the function returns -1. A
 * quoted text is that of a failure (EXCEPT_ASSERTION in except.h), and pointer arguments are
 * asserted. In all functions `line_info` is the project's, `linenumber` is the place that a report
 * names, and a non-zero `scoped` restricts the lookup of a name to the innermost environment. */
#ifndef NORVANE_PROJ_SYMBOLTABLE_H
#define NORVANE_PROJ_SYMBOLTABLE_H

#include "norvane/base/hash.h"
#include "norvane/base/list.h"
#include "norvane/proj/export.h"
#include "norvane/proj/project.h"

NORVANE_BEGIN_DECLS

/* What a name stands for: a constant of one of four types, a label, a type or a variable. */
typedef enum NameDataType {
    ND_BOOL = 0,
    ND_INT = 1,
    ND_FLOAT = 2,
    ND_STRING = 3,
    ND_LABEL = 4,
    ND_TYPE = 5,
    ND_VARIABLE = 6
} NameDataType;

/* The record of a name. C99 has unions without a name as an extension only. */
typedef struct NameData {
    unsigned char ndtype; /* NameDataType; names the live members of the unions */
    __extension__ union {
        int int_value;      /* ND_BOOL, ND_INT */
        double float_value; /* ND_FLOAT */
        char* string_value; /* ND_STRING; owned */
        TypeCon* typecon;   /* ND_LABEL, ND_TYPE, ND_VARIABLE; borrowed from the project */
    };
    __extension__ union {
        int label_index;       /* ND_LABEL: position in its enumeration, from 0 */
        PolyHash* environment; /* ND_TYPE, ND_VARIABLE: the record's fields; owned; may be null */
    };
    int is_public;            /* ND_VARIABLE */
    unsigned char value_type; /* ND_VARIABLE; private to the checker: an ExprType */
} NameData;

/* An environment is a PolyHash from a name (borrowed) to a NameData (owned). */
typedef struct SymbolTable {
    PolyHash* global_table; /* owned; types and labels */
    PolyList* local_table; /* owned; PolyHash, the stack of environments, innermost first; the table
                              owns only the last one, the base environment */
} SymbolTable;

/* A new table with an empty global table and an empty base environment, owned by the caller and
 * freed with symtbl_delete_symbol_table. */
NORVANE_PROJ_API SymbolTable* symtbl_new_symbol_table(void);

/* Frees the table and its base environment. Other environments belong to their NameData, even those
 * that are still pushed. Asserts that the stack is not empty. */
NORVANE_PROJ_API void symtbl_delete_symbol_table(SymbolTable* symboltable);

/* A new environment for about `size` names, owned by the caller, and the function that frees it
 * with its records. Asserts "size >= 1". */
NORVANE_PROJ_API PolyHash* symtbl_new_symbol_table_env(int size);
NORVANE_PROJ_API void symtbl_delete_symbol_table_env(PolyHash* environment);

/* A new record of the given kind, owned by the caller and freed with symtbl_delete_namedata. It
 * uses the arguments that its kind has: it copies the string, takes over the environment and
 * borrows the type. Asserts that a constant has no type and no environment, a label a type and no
 * environment, a type or variable a type, and a record an environment. The caller sets
 * `label_index` afterwards. Throws "Invalid name data type '%d'". */
NORVANE_PROJ_API NameData* symtbl_new_namedata(NameDataType ndtype, TypeCon* typecon,
                                               PolyHash* environment, int int_value,
                                               double float_value, const char* string_value,
                                               int is_public);
NORVANE_PROJ_API void symtbl_delete_namedata(NameData* namedata);

/* "constant", "label", "type" or "variable", a static text. Throws "Invalid name data type
 * '%d'". */
NORVANE_PROJ_API const char* symtbl_namedata_to_string(NameData* namedata);

/* Push an environment, which is borrowed, and pop the innermost one. The base environment cannot be
 * popped: asserts "symboltable->local_table->len > 1". */
NORVANE_PROJ_API void symtbl_push_env(SymbolTable* symboltable, PolyHash* environment);
NORVANE_PROJ_API void symtbl_pop_env(SymbolTable* symboltable);

/* Looks up a name: 0 and the record, borrowed, or non-zero if it is not declared. Reports nothing.
 * Unscoped, a global name comes before any local one, and an inner environment before an outer
 * one. */
NORVANE_PROJ_API int symtbl_lookup(SymbolTable* symboltable, char* name, int scoped,
                                   NameData** namedata);

/* Declares a name, which is borrowed: types and labels in the global table, where they must differ
 * from every visible name, other kinds in the innermost environment. Takes over `namedata` on
 * success. Returns -1 after reporting ERR_NAME_REDECLARED or ERR_NAME_REDECLARED_SCOPE, and then
 * leaves `namedata` to the caller. */
NORVANE_PROJ_API int symtbl_insert(LineInfo* line_info, SymbolTable* symboltable, char* name,
                                   NameData* namedata, unsigned linenumber);

/* The type (borrowed) that a named type stands for, through any number of names; other types are
 * their own result. -1 after reporting ERR_TYPE_UNDEF. Does not return for a name that stands for
 * itself. */
NORVANE_PROJ_API int symtbl_lookup_typecon(LineInfo* line_info, SymbolTable* symboltable,
                                           TypeCon* typecon, TypeCon** result, unsigned linenumber);

/* The environment (borrowed) of a variable, field or type: its own, or else that of the type named
 * in its declaration, also inside arrays and optionals, or null if there is none. -1 after
 * reporting ERR_ID_UNDECLARED. Throws "'%s' is neither a variable nor a type". */
NORVANE_PROJ_API int symtbl_lookup_env(LineInfo* line_info, SymbolTable* symboltable, char* name,
                                       int scoped, PolyHash** result, unsigned linenumber);

/* The record (borrowed) of the last step of a path, or null if a step is not declared, which is
 * reported (ERR_ID_UNDECLARED) except for the last one. Throws "Could not find environment for
 * '%s'" for a step without fields. */
NORVANE_PROJ_API NameData* symtbl_namedata_for_idcon(LineInfo* line_info, SymbolTable* symboltable,
                                                     IdCon* idcon, int scoped, unsigned linenumber);

/* The type (borrowed) of the last step of a path, with named types resolved. -1 without a report if
 * the last step is not declared, and -1 after a report for other faults, such as ERR_TYPE_AS_VAR
 * for the name of a type. Throws what the caller has to rule out: "Invalid name data type '%d'" for
 * a constant, "'%s' is not declared as an array" for a name with indices that is not a variable,
 * and "Could not find array type constructor for '%s'" for too many indices. */
NORVANE_PROJ_API int symtbl_typecon_for_idcon(LineInfo* line_info, SymbolTable* symboltable,
                                              IdCon* idcon, int scoped, TypeCon** result,
                                              unsigned linenumber);

/* The same for the type as it is declared: named types are not resolved, not even those of
 * arrays. */
NORVANE_PROJ_API int symtbl_deftypecon_for_idcon(LineInfo* line_info, SymbolTable* symboltable,
                                                 IdCon* idcon, int scoped, TypeCon** result,
                                                 unsigned linenumber);

NORVANE_END_DECLS

#endif
