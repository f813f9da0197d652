// What the parts of the type check of calculations share.
//
// The first fault of a function ends its check: type_error reports it and throws to the check of
// the function. A throw runs no destructors, so everything that a check allocates belongs to the
// Check, and the check of the function pops the environments that were pushed.
#ifndef NORVANE_PROJ_CALC_TYPECHECK_INTERNAL_H
#define NORVANE_PROJ_CALC_TYPECHECK_INTERNAL_H

#include "norvane/base/except.h"
#include "norvane/base/hash.h"
#include "norvane/base/set.h"
#include "norvane/base/strings.h"
#include "norvane/proj/calc.h"
#include "norvane/proj/symboltable.h"

namespace norvane::calculations {

struct Check {
    SymbolTable* symtbl;
    PolyHash* calculations; // including the catalogue
    PolyHash* labels;       // maps the TypeCon of an enumeration to the PolySet of its shown labels
    UtilString* value;      // buffer for the string constant that is compared with labels
    UtilString* path;       // buffer for the model variable that a report names

    // The function being checked.
    CNameSpace* name_space;
    CFunc* func;
    IntHash* locals;        // maps the names of locals and arguments to their types
    PolySet* names;         // of the arguments and locals declared so far
    int loop_depth;         // loops and switches that enclose the statement
    ExceptionState failure; // what its check has thrown
};

// Reports ERR_CALC_FNC for the function being checked, at the line (-1 for none), and throws.
[[noreturn]] void type_error(const Check& check, int line, const char* format, ...)
    NORVANE_PRINTF(3, 4);

// The name of a type in reports.
const char* type_word(CalcType type);

inline int line_of(const CExpr* e) {
    return e ? e->line_no : CALC_UNDEF_LINENO;
}

// Whether a value of one type can be assigned to the other. Only integers convert, to floats.
inline bool fits(CalcType target, CalcType source) {
    return source == target || (target == CTYPE_FLOAT && source == CTYPE_INT);
}

// The type of an expression; CTYPE_UNDEF for null.
CalcType check_expr(Check& check, const CExpr* e);

// The type of a CEXPR_PMVAR.
CalcType check_pmvar(Check& check, const CExpr* e);

// Checks that a string constant is a label of a model variable, if that is an enumeration. `line`
// is that of the report.
void check_label(Check& check, const CPMVar* pmvar, const char* value, int line);

} // namespace norvane::calculations

#endif
