// What the parts of the type check of calculations share.
//
// The first fault of a function ends its check: calc_type_error reports it and throws, and the
// check of the function catches. So no function here holds what a throw would lose; whatever a
// check allocates hangs from the CalcCheck, and environments that were pushed are popped by the
// catcher.
#ifndef NORVANE_PROJ_CALC_TYPECHECK_INTERNAL_H
#define NORVANE_PROJ_CALC_TYPECHECK_INTERNAL_H

#include "norvane/base/hash.h"
#include "norvane/base/set.h"
#include "norvane/base/strings.h"
#include "norvane/proj/calc.h"
#include "norvane/proj/symboltable.h"

namespace norvane {

struct CalcCheck {
    SymbolTable* symtbl;
    PolyHash* calculations; // with the catalogue in it
    PolyHash* labels;       // from the TypeCon of an enumeration to the PolySet of its shown labels
    UtilString* value;      // of the string constant that is held against labels
    UtilString* path;       // of the model variable that a report names

    // The function under check.
    CNameSpace* name_space;
    CFunc* func;
    IntHash* locals; // from the name of a local or argument to its type
    PolySet* names;  // of the arguments and locals that were named so far
    int loop_depth;  // loops and switches around the statement
};

// Reports ERR_CALC_FNC for the function under check, at the line (-1: none), and throws.
[[noreturn]] void calc_type_error(const CalcCheck& check, int line, const char* format, ...)
    NORVANE_PRINTF(3, 4);

// The word of a type in reports.
const char* calc_type_word(CalcType type);

// The line of an expression, if there is one.
inline int calc_line_of(const CExpr* e) {
    return e != nullptr ? e->line_no : CALC_UNDEF_LINENO;
}

// Assignment compatibility: an integer fits a float, and nothing else converts.
inline bool calc_type_fits(CalcType target, CalcType source) {
    return source == target || (target == CTYPE_FLOAT && source == CTYPE_INT);
}

// The type of an expression; CTYPE_UNDEF for null.
CalcType calc_check_expr(CalcCheck& check, const CExpr* e);

// The type of a CEXPR_PMVAR.
CalcType calc_check_pmvar(CalcCheck& check, const CExpr* e);

// Holds a string constant against the labels of a model variable, if that is an enumeration. `line`
// is the one to blame.
void calc_check_label(CalcCheck& check, const CPMVar* pmvar, const char* value, int line);

} // namespace norvane

#endif
