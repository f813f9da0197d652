/* Project: the whole product model. */
#ifndef NORVANE_PROJ_PROJECT_H
#define NORVANE_PROJ_PROJECT_H

#include "norvane/base/list.h"
#include "norvane/proj/decl.h"
#include "norvane/proj/export.h"

NORVANE_BEGIN_DECLS

/* What turns the line number of a node into a file and a line. */
typedef struct LineInfo {
    char* filename;  /* borrowed from the project; used while no directive has been seen */
    PolyList* files; /* owned; char*, in the order in which line directives named them */
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

/* A new empty project, freed with proj_delete. Takes over all three; asserts "name", the others may
 * be null. */
NORVANE_PROJ_API Project* proj_new_project(char* name, char* description, char* filename);

/* Append the declaration, taking it over. */
NORVANE_PROJ_API void proj_add_constantdecl(Project* project, ConstantDecl* constantdecl);
NORVANE_PROJ_API void proj_add_typedecl(Project* project, TypeDecl* type_decl);
NORVANE_PROJ_API void proj_add_vardecl(Project* project, VarDecl* vardecl);
NORVANE_PROJ_API void proj_add_ruledecl(Project* project, RuleDecl* ruledecl);

/* Frees the project and all that hangs from it. A SymbolTable made from it must be gone before. */
NORVANE_PROJ_API void proj_delete(Project* project);

/* Writes the prefix of a message about `linenumber` into `buffer`, of MESSAGE_BUFFER_SIZE bytes:
 * "file (line): ", or, where a rule's source information stands in place of a file, that text and a
 * blank, or nothing for UNDEF_LINENO. A null file name prints as empty. */
NORVANE_PROJ_API void proj_line_information(LineInfo* line_info, unsigned linenumber, char* buffer);

/* Makes every variable and every record field public, in types and variables alike. Fails with
 * "Found invalid typecon type : %d". */
NORVANE_PROJ_API void proj_make_all_vars_public(Project* project);

/* Removes all rules of the project, and those of its declared types by tc_remove_rules. Rules
 * inside the types of variables stay. */
NORVANE_PROJ_API void proj_remove_rules(Project* project);

NORVANE_END_DECLS

#endif
