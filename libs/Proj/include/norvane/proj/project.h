/* A project: the whole product model, and the file names and lines of its source. */
#ifndef NORVANE_PROJ_PROJECT_H
#define NORVANE_PROJ_PROJECT_H

#include "norvane/base/list.h"
#include "norvane/proj/decl.h"
#include "norvane/proj/export.h"

NORVANE_BEGIN_DECLS

/* Turns the line number of a node into a file and a line (proj_line_information). */
typedef struct LineInfo {
    char* filename;  /* borrowed from the project; for lines before the first line directive */
    PolyList* files; /* owned; char*, one for each line directive, in source order */
} LineInfo;

/* A product model. */
typedef struct Project {
    char* name;                 /* owned */
    char* description;          /* owned; may be null */
    char* filename;             /* owned; may be null */
    PolyList* constantdecllist; /* owned; ConstantDecl, in source order */
    PolyList* typedecllist;     /* owned; TypeDecl */
    PolyList* vardecllist;      /* owned; VarDecl */
    PolyList* ruledecllist;     /* owned; RuleDecl */
    LineInfo* line_info;        /* owned */
} Project;

/* A new empty project, owned by the caller and freed with proj_delete. Takes over all three texts;
 * asserts "name", the others may be null. */
NORVANE_PROJ_API Project* proj_new_project(char* name, char* description, char* filename);

/* Append the declaration, which the project takes over. Both arguments are asserted. */
NORVANE_PROJ_API void proj_add_constantdecl(Project* project, ConstantDecl* constantdecl);
NORVANE_PROJ_API void proj_add_typedecl(Project* project, TypeDecl* type_decl);
NORVANE_PROJ_API void proj_add_vardecl(Project* project, VarDecl* vardecl);
NORVANE_PROJ_API void proj_add_ruledecl(Project* project, RuleDecl* ruledecl);

/* Frees the project and everything that it owns. A SymbolTable made from it borrows its names and
 * types, and has to be deleted first. */
NORVANE_PROJ_API void proj_delete(Project* project);

/* Writes the prefix of a message about `linenumber` into `buffer`, which has MESSAGE_BUFFER_SIZE
 * bytes: "file (line): ", or a rule's source information and a blank if it replaces the file, or an
 * empty text for UNDEF_LINENO. A null file name prints as empty. */
NORVANE_PROJ_API void proj_line_information(LineInfo* line_info, unsigned linenumber, char* buffer);

/* Makes all variables public, and the fields of all records in types and variables. Throws "Found
 * invalid typecon type : %d". */
NORVANE_PROJ_API void proj_make_all_vars_public(Project* project);

/* Removes and frees all rules of the project, and those of its declared types by tc_remove_rules.
 * Rules inside the types of variables remain. */
NORVANE_PROJ_API void proj_remove_rules(Project* project);

NORVANE_END_DECLS

#endif
