/* Prints a calculation, or one of its functions, as source.
 *
 * Binary operations are bracketed, unary operations are not. Texts are written in code page 1252;
 * characters outside it become "?". Reading the output gives the same tree, with these exceptions:
 *
 * - A unary operation that is a left operand: "(- a * b)" reads as -(a * b), "(not a = b)" as
 *   not (a = b).
 *
 * - A `while` whose body begins with a bracket or a minus. After a condition that ends in a name or
 *   an index, the bracket reads as the arguments of a call. After any condition, the minus reads as
 *   that of a subtraction.
 *
 * - An `else` after a body that ends, outside a block, in an `if` without `else`: it reads as the
 *   `else` of the inner `if`.
 *
 * - Trees that source cannot express: an assignment to anything but a name, a local without an
 *   initial value, a call without a namespace, an external function with a default, a namespace
 *   without functions, a negative or infinite number, names that are not identifiers, and a quote
 *   in the text of an external function.
 *
 * - The character 255 (a "y" with diaeresis), which readers of source drop or take as its end.
 *
 * Each function returns a new UtilString, which the caller frees with ustr_delete. Null arguments
 * and negative indentations are broken invariants (except.h), as are tags outside their
 * enumerations; the text is lost then. Trees can be of any depth. Each nested statement is indented
 * by two more blanks, so that the output grows with the square of the depth. */
#ifndef NORVANE_PROJ_CALC_PRINT_H
#define NORVANE_PROJ_CALC_PRINT_H

#include <stdio.h>

#include "norvane/base/hash.h"
#include "norvane/base/strings.h"
#include "norvane/proj/calc.h"
#include "norvane/proj/export.h"

NORVANE_BEGIN_DECLS

/* All namespaces in the order of their insertion, with their functions in the order of definition.
 */
NORVANE_PROJ_API UtilString* calc_prt(PolyHash* calc);

/* One function, indented by `n_indent` blanks: its header, then its code or, for an external
 * function, the reference. A function without statements gets an empty body. */
NORVANE_PROJ_API UtilString* calc_prt_function(CFunc* func, int n_indent);

/* The line with the type, the name, the arguments and the default expression. */
NORVANE_PROJ_API UtilString* calc_prt_function_header(CFunc* func, int n_indent);

/* The local variables and the statements, in braces. An external function, which has no code, is a
 * broken invariant. */
NORVANE_PROJ_API UtilString* calc_prt_function_code(CFunc* func, int n_indent);

/* Writes the output of calc_prt to a stream, which stays open. The caller checks for write errors
 * (ferror, the result of fclose). */
NORVANE_PROJ_API void calc_to_file(PolyHash* calc, FILE* file);

NORVANE_END_DECLS

#endif
