/* The type check of calculations, and the catalogue of the functions that every calculation may
 * call.
 *
 * A check holds each function of a calculation set against the catalogue, the other functions of
 * the set and the symbol table of a checked model. It changes neither; nothing that it finds out is
 * stored in the tree. Not re-entrant: one check at a time in a process. Null arguments are broken
 * invariants (except.h). */
#ifndef NORVANE_PROJ_CALC_TYPECHECK_H
#define NORVANE_PROJ_CALC_TYPECHECK_H

#include "norvane/base/hash.h"
#include "norvane/proj/calc.h"
#include "norvane/proj/export.h"
#include "norvane/proj/symboltable.h"

NORVANE_BEGIN_DECLS

/* Slots for the arguments of a function of the catalogue, with the null name that ends them. */
#define CALC_SIGNATURE_SLOTS 5

/* An argument of a function of the catalogue. */
typedef struct CFuncSignatureArg {
    const char* name; /* null in the slot behind the last argument */
    CalcType type;
} CFuncSignatureArg;

/* One function of the catalogue. Constants, as CtrlMngr.PM_ROOT(), are functions without arguments.
 * What the functions do, and which values the constants have, is the evaluator's. */
typedef struct CFuncSignature {
    CalcType type; /* of the result */
    const char* ns_name;
    const char* fn_name;
    CFuncSignatureArg args[CALC_SIGNATURE_SLOTS]; /* in order */
} CFuncSignature;

/* The function of that name in the catalogue, or null. The catalogue is one array, in its order:
 * behind each function lies the next, and behind the last one without an `ns_name`. The first is
 * CtrlMngr.AssignFloat. */
NORVANE_PROJ_API const CFuncSignature* calc_get_build_in_func_signature(const char* ns_name,
                                                                        const char* fn_name);

/* Checks all functions of a set against the table of a checked model, whose stack of environments
 * holds the base environment alone: 1 if all are well-typed, else 0. Functions are checked in the
 * order of the set and of their namespaces; each ends at its first fault, which is reported as
 * ERR_CALC_FNC, and the others go on. Warnings, which do not count: ERR_CALC_PM_VAR_EXISTS,
 * ERR_CALC_FOR_INIT. A set with a namespace of the catalogue is not checked at all: 0, after one
 * ERR_CALC_NS_NAME_RESERVED.
 *
 * A call that names no namespace, which the parser lets pass, is a broken invariant ("ns_name"), as
 * is a tag outside of its enumeration: thrown as kind 1, with set and table as they were before. */
NORVANE_PROJ_API int calc_check_functions(PolyHash* calc, SymbolTable* symtbl);

/* Puts the function into the set, in the place of any other one of that name in the namespace, and
 * checks it alone: 1 or 0. The set takes it over whatever the result is, and keeps it. A function
 * that is in the set already stays where it is. If `ns_name` belongs to the catalogue: 0 after
 * ERR_CALC_NS_NAME_RESERVED, and the function is still the caller's. If the set itself has a
 * namespace of the catalogue, that is gone afterwards. */
NORVANE_PROJ_API int calc_check_function(CFunc* func, const char* ns_name, PolyHash* calc,
                                         SymbolTable* symtbl);

NORVANE_END_DECLS

#endif
