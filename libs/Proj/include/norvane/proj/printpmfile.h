/* Prints a model, or any part of it, as PM source.
 *
 * Every binary expression is printed in parentheses, so the output reads back as the same tree. The
 * exceptions are what the language cannot express: a negative constant to the left of `*` or `/`, a
 * quoted name that is not a label's, and a label "integer". Texts are written unchanged, in code
 * page 1252.
 *
 * All arguments are borrowed. Every function asserts its pointer arguments (except.h), and throws
 * the failures that its comment quotes. The caller checks the stream for write errors (ferror). */
#ifndef NORVANE_PROJ_PRINTPMFILE_H
#define NORVANE_PROJ_PRINTPMFILE_H

#include <stdio.h>

#include "norvane/base/strings.h"
#include "norvane/proj/export.h"
#include "norvane/proj/project.h"

NORVANE_BEGIN_DECLS

/* Writes the project to a file and replaces its contents. Returns 0, or -1 after reporting
 * ERR_FILE_OPEN if the file cannot be opened. */
NORVANE_PROJ_API int proj_export_to_pmfile(Project* project, const char* filename);

/* Print an identifier, in quotes if it is a reserved word or not a plain identifier. ppm_print_id
 * returns the number of characters written, ppm_quoted_id a new string that the caller frees. */
NORVANE_PROJ_API unsigned ppm_print_id(FILE* stream, char* id);
NORVANE_PROJ_API char* ppm_quoted_id(char* id);

/* Turn any text into a plain identifier: a reserved word gets a "_" at its end; a leading digit,
 * and every byte that is not a letter, a digit or "_", becomes "A" and three digits. ppm_clean_id
 * returns a new string that the caller frees, ppm_print_clean_id the number of characters
 * written. */
NORVANE_PROJ_API char* ppm_clean_id(char* id);
NORVANE_PROJ_API unsigned ppm_print_clean_id(FILE* stream, char* id);

/* Prints a path. Returns the width that lines of expressions are broken by, which is less than the
 * number of characters written: 0 for a composite, else the length of the name and 5 for each
 * index. Throws "Invalid id constructor type '%d'". */
NORVANE_PROJ_API unsigned ppm_print_idcon(FILE* stream, IdCon* idcon);
NORVANE_PROJ_API void ppm_print_idcon_stderr(IdCon* idcon);                  /* with a newline */
NORVANE_PROJ_API void ppm_print_idcon_str(IdCon* idcon, UtilString* string); /* replaces its text */

/* Prints an expression from `column` on and returns the column after it. `depth` is the number of
 * levels to print (-1 for all; 0 prints "..."). With a non-zero `wrap`, lines are broken after
 * column 70. Throws "Invalid expression structure '%d'", "Invalid operator '%d'", and, for a
 * constant with another type, "Constant expression is not of boolean or integer type". */
NORVANE_PROJ_API unsigned ppm_printn_expr(FILE* stream, Expr* expr, int depth, unsigned column,
                                          int wrap);
NORVANE_PROJ_API void ppm_print_expr(FILE* stream, Expr* expr); /* all of it, on one line */
NORVANE_PROJ_API void ppm_print_expr_stderr(Expr* expr);        /* with a newline */

/* Prints like ppm_printn_expr on one line, and replaces the string's text by it. */
NORVANE_PROJ_API void ppm_printn_expr_str(Expr* expr, UtilString* string, int depth);

/* Print types and declarations. They throw "Invalid type constructor '%d'" and "Invalid variable
 * type '%d'", and the failures of expressions. */
NORVANE_PROJ_API void ppm_print_typecon(FILE* stream, TypeCon* typecon);
NORVANE_PROJ_API void ppm_print_typecon_str(TypeCon* typecon, UtilString* string);
NORVANE_PROJ_API void ppm_print_typedecl(FILE* stream, TypeDecl* type_decl);
NORVANE_PROJ_API void ppm_print_vardecl(FILE* stream, VarDecl* vardecl);
NORVANE_PROJ_API void ppm_print_constantdecl(FILE* stream, ConstantDecl* constantdecl);
NORVANE_PROJ_API void ppm_print_ruledecl(FILE* stream, RuleDecl* ruledecl);

/* Prints the whole project and flushes the stream, which stays open. */
NORVANE_PROJ_API void ppm_print_project(FILE* stream, Project* project);

NORVANE_END_DECLS

#endif
