/* The type check of calculations, and the catalogue of the functions that every calculation can
 * call.
 *
 * A check types each function against the catalogue, the other functions of the calculation and the
 * symbol table of a checked model. It stores nothing in the trees and leaves the calculation and
 * the table as they were, also when it throws. The function being checked is the subject of the
 * work mark (norvane/base/work.h), also after a throw. Only one check can run at a time. Null
 * arguments are broken invariants (except.h). */
#ifndef NORVANE_PROJ_CALC_TYPECHECK_H
#define NORVANE_PROJ_CALC_TYPECHECK_H

#include "norvane/base/hash.h"
#include "norvane/proj/calc.h"
#include "norvane/proj/export.h"
#include "norvane/proj/symboltable.h"

NORVANE_BEGIN_DECLS

/* The size of a row's array of arguments, including the null name that ends them. */
#define CALC_SIGNATURE_SLOTS 5

/* An argument of a function of the catalogue. */
typedef struct CFuncSignatureArg {
    const char* name; /* null after the last argument */
    CalcType type;
} CFuncSignatureArg;

/* One function of the catalogue. Constants, such as CtrlMngr.PM_ROOT(), are functions without
 * arguments. Evaluators implement the functions and know the values of the constants. */
typedef struct CFuncSignature {
    CalcType type; /* of the result */
    const char* ns_name;
    const char* fn_name;
    CFuncSignatureArg args[CALC_SIGNATURE_SLOTS]; /* in order */
} CFuncSignature;

/* The function of that name in the catalogue, or null. The result points into one array, which
 * begins with CtrlMngr.AssignFloat and ends with a row whose `ns_name` is null, so callers can walk
 * all functions. */
NORVANE_PROJ_API const CFuncSignature* calc_get_build_in_func_signature(const char* ns_name,
                                                                        const char* fn_name);

/* Checks all functions of a calculation: 1 if all are well-typed, else 0. The stack of the symbol
 * table must hold only the base environment. Functions are checked in table order and in the order
 * of definition. The check of a function ends at its first fault, which is reported as
 * ERR_CALC_FNC, and continues with the next function. ERR_CALC_PM_VAR_EXISTS and ERR_CALC_FOR_INIT
 * are warnings and do not change the result. A calculation that has a namespace of the catalogue is
 * not checked: 0 after one ERR_CALC_NS_NAME_RESERVED.
 *
 * Throws kind 1 for a call without a namespace, which the parser accepts ("ns_name"), and for a tag
 * outside its enumeration. */
NORVANE_PROJ_API int calc_check_functions(PolyHash* calc, SymbolTable* symtbl);

/* Adds the function to the calculation, which takes it over, and checks it alone: 1 if it is
 * well-typed, else 0. Another function of that name in the namespace is freed; a function that the
 * calculation has already stays where it is. If the namespace is one of the catalogue: 0 after
 * ERR_CALC_NS_NAME_RESERVED, and the caller keeps the function. Namespaces of the catalogue that
 * the calculation has are removed from it. */
NORVANE_PROJ_API int calc_check_function(CFunc* func, const char* ns_name, PolyHash* calc,
                                         SymbolTable* symtbl);

NORVANE_END_DECLS

#endif
