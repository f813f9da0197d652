/* The flat list of rules: one for each global rule, and one for each rule of each instance of a
 * record, with every identifier rewritten to name the instance. */
#ifndef NORVANE_PROJ_EXPANDRULES_H
#define NORVANE_PROJ_EXPANDRULES_H

#include "norvane/base/list.h"
#include "norvane/proj/export.h"
#include "norvane/proj/project.h"
#include "norvane/proj/symboltable.h"

NORVANE_BEGIN_DECLS

/* A new list of new Expr, which it owns. `symboltable` is what ssem_check_project made for
 * `project`, with no environment pushed. With `simplify` non-zero each rule goes through
 * simplify_expr first. Without it, a rule in a record that names a loop variable, NONE or, outside
 * of all optionals, SOME throws "Could not determine depth of variable". The rules inside an
 * optional are listed whether its value is present or not.
 *
 * The global rules come first; then for each variable in order of declaration the rules of its
 * record before those of its fields, array elements by rising index. */
NORVANE_PROJ_API PolyList* proj_get_expanded_rules(Project* project, SymbolTable* symboltable,
                                                   int simplify);

/* The same. If `decls` is not null, the RuleDecl (borrowed from the project) that each expression
 * came from is appended to it at the same position: as often as it was instantiated. */
NORVANE_PROJ_API PolyList* proj_get_expanded_rules_decls(Project* project, SymbolTable* symboltable,
                                                         int simplify, PolyList* decls);

NORVANE_END_DECLS

#endif
