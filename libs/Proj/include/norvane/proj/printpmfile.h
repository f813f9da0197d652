/* Printing a model, or any part of it, as PM source.
 *
 * Every binary expression is bracketed, so reading the output back gives the same tree, but for
 * what the language cannot spell: a negative constant in front of `*` or `/`, a quoted name that is
 * no label's, a label "integer". Texts are written as they are, in code page 1252. Null streams and
 * records are broken invariants, and so is what stops with a quoted text. Write errors on a stream
 * are the caller's to look for (ferror). */
#ifndef NORVANE_PROJ_PRINTPMFILE_H
#define NORVANE_PROJ_PRINTPMFILE_H

#include <stdio.h>

#include "norvane/base/strings.h"
#include "norvane/proj/export.h"
#include "norvane/proj/project.h"

NORVANE_BEGIN_DECLS

/* Writes the project to a file, replacing what is in it: 0, or -1 after reporting ERR_FILE_OPEN if
 * it cannot be opened. */
NORVANE_PROJ_API int proj_export_to_pmfile(Project* project, const char* filename);

/* The identifier, in quotes if it is no plain identifier or a reserved word. The first returns the
 * number of characters written; the second a new string that the caller owns. */
NORVANE_PROJ_API unsigned ppm_print_id(FILE* stream, char* id);
NORVANE_PROJ_API char* ppm_quoted_id(char* id);

/* A plain identifier for any text: reserved words get a "_", other bytes than letters, digits and
 * "_", and a leading digit, become "A" and three digits. A new string that the caller owns; the
 * second writes it and returns its length. */
NORVANE_PROJ_API char* ppm_clean_id(char* id);
NORVANE_PROJ_API unsigned ppm_print_clean_id(FILE* stream, char* id);

/* A path. The result is what the line-breaking of expressions counts for it, which is less than
 * what is written: the name and 5 for each index, and 0 for a composite. Fails with "Invalid id
 * constructor type '%d'". */
NORVANE_PROJ_API unsigned ppm_print_idcon(FILE* stream, IdCon* idcon);
NORVANE_PROJ_API void ppm_print_idcon_stderr(IdCon* idcon);                  /* with a newline */
NORVANE_PROJ_API void ppm_print_idcon_str(IdCon* idcon, UtilString* string); /* replaces its text */

/* An expression, to `depth` levels (-1: all; 0 writes "..."), starting in `column`, with line
 * breaks behind column 70 if `wrap` is non-zero. Returns the column behind it. Fails with "Invalid
 * expression structure '%d'", "Invalid operator '%d'", and, on a constant that is typed as
 * something else, "Constant expression is not of boolean or integer type". */
NORVANE_PROJ_API unsigned ppm_printn_expr(FILE* stream, Expr* expr, int depth, unsigned column,
                                          int wrap);
NORVANE_PROJ_API void ppm_print_expr(FILE* stream, Expr* expr); /* all of it, on one line */
NORVANE_PROJ_API void ppm_print_expr_stderr(Expr* expr);        /* with a newline */

/* Into a string, replacing its text, on one line. Prints what ppm_printn_expr prints. */
NORVANE_PROJ_API void ppm_printn_expr_str(Expr* expr, UtilString* string, int depth);

/* Types and declarations. Fail with "Invalid type constructor '%d'" and "Invalid variable type
 * '%d'". */
NORVANE_PROJ_API void ppm_print_typecon(FILE* stream, TypeCon* typecon);
NORVANE_PROJ_API void ppm_print_typecon_str(TypeCon* typecon, UtilString* string);
NORVANE_PROJ_API void ppm_print_typedecl(FILE* stream, TypeDecl* type_decl);
NORVANE_PROJ_API void ppm_print_vardecl(FILE* stream, VarDecl* vardecl);
NORVANE_PROJ_API void ppm_print_constantdecl(FILE* stream, ConstantDecl* constantdecl);
NORVANE_PROJ_API void ppm_print_ruledecl(FILE* stream, RuleDecl* ruledecl);

/* The whole project, flushed; the stream stays open. */
NORVANE_PROJ_API void ppm_print_project(FILE* stream, Project* project);

NORVANE_END_DECLS

#endif
