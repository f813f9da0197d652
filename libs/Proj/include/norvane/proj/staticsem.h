/* Static semantics: the checks that make a parsed model a checked one.
 *
 * Nothing here is re-entrant: one check at a time in a process. Faults of the model are reported
 * (diagnostics.h). A broken invariant is thrown as kind 1, as is a null argument. */
#ifndef NORVANE_PROJ_STATICSEM_H
#define NORVANE_PROJ_STATICSEM_H

#include "norvane/proj/export.h"
#include "norvane/proj/expr.h"
#include "norvane/proj/project.h"
#include "norvane/proj/symboltable.h"

NORVANE_BEGIN_DECLS

/* Checks a whole project: constants, labels, types, variables, rules, in this order, up to the
 * first error. Returns a new table, freed with symtbl_delete_symbol_table before the project, or
 * null after reporting. It types every expression in place, turns integer literals that meet floats
 * into float literals, marks equated unbounded variables, gathers the values of unbounded types and
 * merges such types. A failed check leaves the changes that it has made; the project may be checked
 * again.
 *
 * proj_static_sem_check is the same function under the name of the model pipeline. */
NORVANE_PROJ_API SymbolTable* ssem_check_project(Project* project);
NORVANE_PROJ_API SymbolTable* proj_static_sem_check(Project* project);

/* Checks and types one expression and everything below it: 0, or non-zero after reporting the first
 * error. May be called again on a checked tree. A loop whose body has the wrong type
 * (ERR_RANGE_TYPE) leaves its environment on the table's stack. */
NORVANE_PROJ_API int ssem_check_expr(Project* project, SymbolTable* symboltable, Expr* expr);

/* 1 if the expression has a value that is known before the product is configured, else 0. Does not
 * read types. A bare label is not static, order(label) is. The upper bound of a loop is not tested,
 * since the check refuses one that is not static. */
NORVANE_PROJ_API int ssem_is_static_expr(Project* project, SymbolTable* symboltable, Expr* expr);

/* The value of a static expression that ssem_check_expr has typed as range or boolean, float, or
 * string. Integers wrap around; both branches of a conditional are evaluated. The text of a string
 * belongs to the node or the table. The functions do not test that the expression is static: the
 * value of a variable throws, and order(x) of a variable x is a number without a meaning. */
NORVANE_PROJ_API int ssem_static_evaluate_intexpr(Project* project, SymbolTable* symboltable,
                                                  Expr* expr);
NORVANE_PROJ_API double ssem_static_evaluate_floatexpr(Project* project, SymbolTable* symboltable,
                                                       Expr* expr);
NORVANE_PROJ_API const char* ssem_static_evaluate_stringexpr(Project* project,
                                                             SymbolTable* symboltable, Expr* expr);

/* The part of a label that is shown: the text after a leading "{...}", or the whole label if it has
 * no such prefix or no text after it. Points into `str`. */
NORVANE_PROJ_API char* ssem_remove_braces(char* str);

NORVANE_END_DECLS

#endif
