/* Static semantics: what makes a parsed model a checked one.
 *
 * Nothing here is re-entrant: one check at a time in a process. Faults of the model are reported
 * (diagnostics.h); what stops with a quoted text is a broken invariant, thrown as kind 1, as are
 * null arguments. */
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
 * merges such types. On failure what was done stays; the project may be checked again.
 *
 * proj_static_sem_check is the same function under the name of the model pipeline. */
NORVANE_PROJ_API SymbolTable* ssem_check_project(Project* project);
NORVANE_PROJ_API SymbolTable* proj_static_sem_check(Project* project);

/* Checks and types one expression and everything below it: 0, or non-zero after reporting the first
 * error. May be called again on a checked tree. One fault leaves an environment on the table's
 * stack: the wrong type of a loop's body (ERR_RANGE_TYPE). */
NORVANE_PROJ_API int ssem_check_expr(Project* project, SymbolTable* symboltable, Expr* expr);

/* 1 if the expression has a value that is known before the product is configured, else 0. Types are
 * not looked at. A bare label is not static, order(label) is. The upper bound of a loop is not
 * tested: checking has refused it if it is not static. */
NORVANE_PROJ_API int ssem_is_static_expr(Project* project, SymbolTable* symboltable, Expr* expr);

/* The value of a static expression that ssem_check_expr has typed as range or boolean, float, or
 * string. Integers wrap around; both branches of a conditional are evaluated. The text of a string
 * belongs to the node or the table. They do not test that it is static: a variable's value stops
 * them, but order(x) of a variable x gives a number without a meaning. */
NORVANE_PROJ_API int ssem_static_evaluate_intexpr(Project* project, SymbolTable* symboltable,
                                                  Expr* expr);
NORVANE_PROJ_API double ssem_static_evaluate_floatexpr(Project* project, SymbolTable* symboltable,
                                                       Expr* expr);
NORVANE_PROJ_API const char* ssem_static_evaluate_stringexpr(Project* project,
                                                             SymbolTable* symboltable, Expr* expr);

/* The part of a label that is shown: what stands behind a leading "{...}", or all of it if there is
 * no such prefix or nothing behind it. Points into `str`. */
NORVANE_PROJ_API char* ssem_remove_braces(char* str);

NORVANE_END_DECLS

#endif
