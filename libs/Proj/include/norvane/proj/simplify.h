/* From a checked model to a finite one.
 *
 * All three take the project and the table that ssem_check_project made for it, return new trees
 * that the caller owns, and change the model only by making the labels of its unbounded types. Not
 * re-entrant. They report nothing: a fault in a checked model is a broken invariant, and throws. */
#ifndef NORVANE_PROJ_SIMPLIFY_H
#define NORVANE_PROJ_SIMPLIFY_H

#include "norvane/proj/export.h"
#include "norvane/proj/project.h"
#include "norvane/proj/symboltable.h"

NORVANE_BEGIN_DECLS

/* A new tree without loops, cases, labels, constants and order(): boolean and integer operators,
 * `if` and integer constants over variables with finite domains. A comparison with an unbounded
 * variable becomes one of positions among its labels. The names of constant floats and strings are
 * encoded in comparisons and stay elsewhere. The table's stack must be as it was when the
 * expression was checked. Never null. */
NORVANE_PROJ_API Expr* simplify_expr(Project* project, SymbolTable* symboltable, Expr* expr);

/* A new type whose leaves are booleans and subranges [0..n]. For a record, its environment must
 * have been pushed. Null for an unknown kind of type. Throws on an unbounded type that was merged
 * into another. */
NORVANE_PROJ_API TypeCon* simplify_typecon(Project* project, SymbolTable* symboltable,
                                           TypeCon* typecon);

/* A new project of the simplified variables and rules, without constants and types; it does not
 * depend on the table. */
NORVANE_PROJ_API Project* simplify_project(Project* project, SymbolTable* symboltable);

NORVANE_END_DECLS

#endif
