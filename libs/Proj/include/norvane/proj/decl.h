/* Declarations: constants, types, variables and record fields, rules.
 *
 * Every function asserts its pointer arguments as those in expr.h do, and throws the failures of
 * the functions in expr.h and typecon.h for the trees that a declaration owns. */
#ifndef NORVANE_PROJ_DECL_H
#define NORVANE_PROJ_DECL_H

#include "norvane/proj/export.h"
#include "norvane/proj/expr.h"
#include "norvane/proj/typecon.h"

NORVANE_BEGIN_DECLS

/* Whether the users of the product see a variable. */
typedef enum VarType { VARTYPE_PRIVATE = 0, VARTYPE_PUBLIC = 1 } VarType;

/* A named type. */
typedef struct TypeDecl {
    unsigned linenumber;
    char* name;       /* owned */
    TypeCon* typecon; /* owned */
} TypeDecl;

/* A variable, or a field of a record. */
typedef struct VarDecl {
    unsigned linenumber;
    char* name; /* owned */
    VarType vartype;
    TypeCon* typecon; /* owned */
} VarDecl;

/* A named constant. */
typedef struct ConstantDecl {
    unsigned linenumber;
    char* name;  /* owned */
    Expr* value; /* owned */
} ConstantDecl;

/* A rule. */
typedef struct RuleDecl {
    unsigned linenumber;
    char* comment;     /* owned; may be null */
    char* source_info; /* owned; may be null; messages show it instead of the file and the line */
    Expr* rule;        /* owned */
} RuleDecl;

/* New declarations, owned by the caller and freed with the delete functions below. They take over
 * their pointer arguments. */
NORVANE_PROJ_API TypeDecl* decl_new_typedecl(char* name, TypeCon* typecon, unsigned linenumber);
NORVANE_PROJ_API VarDecl* decl_new_vardecl(char* name, VarType vartype, TypeCon* typecon,
                                           unsigned linenumber);
NORVANE_PROJ_API ConstantDecl* decl_new_constantdecl(char* name, Expr* value, unsigned linenumber);

/* Likewise; `comment` and `source_info` may be null. The second function makes a rule without a
 * line: its line number is UNDEF_LINENO. */
NORVANE_PROJ_API RuleDecl* decl_new_ruledecl(Expr* rule, char* comment, unsigned linenumber);
NORVANE_PROJ_API RuleDecl* decl_new_ruledecl_source_info(Expr* rule, char* comment,
                                                         char* source_info);

/* Deep copies, owned by the caller; they share nothing with the source. */
NORVANE_PROJ_API TypeDecl* decl_copy_typedecl(TypeDecl* type_decl);
NORVANE_PROJ_API VarDecl* decl_copy_vardecl(VarDecl* vardecl);
NORVANE_PROJ_API ConstantDecl* decl_copy_constantdecl(ConstantDecl* constantdecl);
NORVANE_PROJ_API RuleDecl* decl_copy_ruledecl(RuleDecl* ruledecl);

/* Free a declaration and everything that it owns. */
NORVANE_PROJ_API void decl_delete_typedecl(TypeDecl* type_decl);
NORVANE_PROJ_API void decl_delete_vardecl(VarDecl* vardecl);
NORVANE_PROJ_API void decl_delete_constantdecl(ConstantDecl* constantdecl);
NORVANE_PROJ_API void decl_delete_ruledecl(RuleDecl* ruledecl);

NORVANE_END_DECLS

#endif
