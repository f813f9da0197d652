/* Printing a calculation, or a function of it, as source.
 *
 * Every binary operation is bracketed and a unary one is not. Reading the output back gives the
 * same tree, but for what the language cannot spell so:
 *   - "(- a * b)" and "(not a = b)", where the unary operation is the left operand, read back as
 *     -(a * b) and not (a = b);
 *   - where the body of a `while` begins with a bracket, a condition that ends in a name or an
 * index
 *     (`a`, `not a`, `a[1]`) takes it for the arguments of a call; a body that begins with a minus
 * is subtracted from any condition;
 *   - an `else` whose `if` has a body that ends in an `if` without one, other than in a block: it
 *     becomes that of the inner `if`;
 *   - an assignment to anything but a name;
 *   - a local without a first value, a call without a namespace, a default beside an external
 *     function, a namespace without functions, a negative or infinite number;
 *   - the letter y with two dots: sources end, or go on without it, at its byte, 255;
 *   - names that are no names of the language, and an external function's text with a quote in it.
 * Texts are written in code page 1252, characters outside of it as "?".
 *
 * Each UtilString is new, and the caller's. Null arguments and negative indentations are broken
 * invariants. Trees may be as deep as memory allows; nested statements are each indented two blanks
 * more, so their text grows with the square of their depth. */
#ifndef NORVANE_PROJ_CALC_PRINT_H
#define NORVANE_PROJ_CALC_PRINT_H

#include <stdio.h>

#include "norvane/base/hash.h"
#include "norvane/base/strings.h"
#include "norvane/proj/calc.h"
#include "norvane/proj/export.h"

NORVANE_BEGIN_DECLS

/* All namespaces in the order in which they came, each with its functions in theirs. */
NORVANE_PROJ_API UtilString* calc_prt(PolyHash* calc);

/* One function, `n_indent` blanks from the left: its header, and then either where an external
 * function lies or the code. A function without statements gets an empty body. */
NORVANE_PROJ_API UtilString* calc_prt_function(CFunc* func, int n_indent);

/* The line with the type, the name, the arguments and the default. */
NORVANE_PROJ_API UtilString* calc_prt_function_header(CFunc* func, int n_indent);

/* The local variables and the statements, in braces. An external function has no code: to print it
 * so is a broken invariant. */
NORVANE_PROJ_API UtilString* calc_prt_function_code(CFunc* func, int n_indent);

/* Writes what calc_prt gives to a stream, which stays open. Write errors are the caller's to look
 * for (ferror, and the result of fclose). */
NORVANE_PROJ_API void calc_to_file(PolyHash* calc, FILE* file);

NORVANE_END_DECLS

#endif
