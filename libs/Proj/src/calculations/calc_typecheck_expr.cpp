// Type check of calculations: expressions. Operands are checked first, from left to right.
#include "calc_typecheck_internal.h"
#include "norvane/base/deep.hpp"
#include "norvane/base/except.h"
#include "norvane/base/items.hpp"

namespace norvane::calculations {

namespace {

inline bool is_numeric(CalcType type) {
    return type == CTYPE_INT || type == CTYPE_FLOAT;
}

// Whether values of the two types can be compared.
inline bool is_comparable(CalcType left, CalcType right) {
    return left == right || (is_numeric(left) && is_numeric(right));
}

[[gnu::noinline]] CalcType type_of_local(const Check& check, const CExpr* e) {
    NORVANE_ASSERT(e->args.lvar_name);
    int type;
    if (ihash_peek(check.locals, e->args.lvar_name, &type) != STATUS_SUCCESS)
        type_error(check, e->line_no, "No local variable named '%s'", e->args.lvar_name);
    return static_cast<CalcType>(type);
}

[[noreturn]] void invalid_operator(COprType opr) {
    NORVANE_FAIL("Invalid operator: %s ", calc_opr2string(opr));
}

[[gnu::noinline]] CalcType type_unary(const Check& check, const CExpr* e, CalcType arg) {
    const COprType opr = e->args.uop.opr;
    if (opr != COPR_NOT && opr != COPR_MINUS) invalid_operator(opr);
    if (opr == COPR_NOT && arg != CTYPE_BOOL)
        type_error(check, e->line_no,
                   "Argument to 'not' operator is of type %s, it must be of boolean type",
                   type_word(arg));
    if (opr == COPR_MINUS && !is_numeric(arg))
        type_error(check, e->line_no,
                   "Argument to unary minus operator is of type %s, it must be of numeric type",
                   type_word(arg));
    return arg;
}

void require_numeric_pair(const Check& check, const CExpr* e, CalcType left, CalcType right) {
    if (!is_numeric(left))
        type_error(check, e->line_no,
                   "Left operand to '%s' is of type %s, it must be of numeric type",
                   calc_opr2string(e->args.bop.opr), type_word(left));
    if (!is_numeric(right))
        type_error(check, e->line_no,
                   "Right operand to '%s' is of type %s, it must be of numeric type",
                   calc_opr2string(e->args.bop.opr), type_word(right));
}

CalcType type_arithmetic(const Check& check, const CExpr* e, CalcType left, CalcType right) {
    require_numeric_pair(check, e, left, right);
    return left == CTYPE_INT && right == CTYPE_INT ? CTYPE_INT : CTYPE_FLOAT;
}

CalcType type_modulo(const Check& check, const CExpr* e, CalcType left, CalcType right) {
    // The report names the type of the left operand even if the right one is at fault.
    if (left != CTYPE_INT || right != CTYPE_INT)
        type_error(check, e->line_no,
                   "Operands to 'mod'-operator are of type %s, they must be integers",
                   type_word(left));
    return left;
}

CalcType type_logical(const Check& check, const CExpr* e, CalcType left, CalcType right) {
    if (left != CTYPE_BOOL || right != CTYPE_BOOL)
        type_error(check, e->line_no,
                   "Operands to '%s'-operator must be of boolean type. Left operand is of "
                   "type %s while the right operand is of type %s",
                   calc_opr2string(e->args.bop.opr), type_word(left), type_word(right));
    return CTYPE_BOOL;
}

void require_comparable(const Check& check, const CExpr* e, CalcType left, CalcType right) {
    if (!is_comparable(left, right))
        type_error(check, e->line_no,
                   "Type mis-match of the operands to '%s': left operand is of type %s while "
                   "the right operand is of type %s",
                   calc_opr2string(e->args.bop.opr), type_word(left), type_word(right));
}

inline bool is_of(const CExpr* operand, CExprStructure structure) {
    return operand && operand->structure == structure;
}

// Checks a string constant that is compared with or assigned to a model variable.
void check_label_of_pair(Check& check, const CExpr* e, const CExpr* variable,
                         const CExpr* constant) {
    if (is_of(variable, CEXPR_PMVAR) && is_of(constant, CEXPR_STRING_CONST))
        check_label(check, variable->args.pmvar, constant->args.string_value, e->line_no);
}

CalcType type_equality(Check& check, const CExpr* e, CalcType left, CalcType right) {
    require_comparable(check, e, left, right);
    check_label_of_pair(check, e, e->args.bop.left_arg, e->args.bop.right_arg);
    check_label_of_pair(check, e, e->args.bop.right_arg, e->args.bop.left_arg);
    return CTYPE_BOOL;
}

CalcType type_assignment(Check& check, const CExpr* e, CalcType left, CalcType right) {
    const CExpr* target = e->args.bop.left_arg;
    if (!fits(left, right))
        type_error(check, e->line_no,
                   "Type mis-match in assignment: variable is of type %s while the "
                   "right-hand-side is of type %s",
                   type_word(left), type_word(right));
    if (!is_of(target, CEXPR_LVAR) && !is_of(target, CEXPR_PMVAR))
        type_error(check, e->line_no,
                   "Left-hand operand to assignment operator (':=') must be either a local "
                   "variable or a product model variable");
    check_label_of_pair(check, e, target, e->args.bop.right_arg);
    return left;
}

[[gnu::noinline]] CalcType type_binary(Check& check, const CExpr* e, CalcType left,
                                       CalcType right) {
    switch (e->args.bop.opr) {
    case COPR_PLUS:
        // With any other operand, a string is refused by type_arithmetic.
        if (left == CTYPE_STRING && right == CTYPE_STRING) return CTYPE_STRING;
        return type_arithmetic(check, e, left, right);
    case COPR_MINUS:
    case COPR_MULT:
    case COPR_DIV:
    case COPR_EXP: return type_arithmetic(check, e, left, right);
    case COPR_LT:
    case COPR_GT:
    case COPR_GTEQ:
    case COPR_LTEQ: require_numeric_pair(check, e, left, right); return CTYPE_BOOL;
    case COPR_MOD: return type_modulo(check, e, left, right);
    case COPR_AND:
    case COPR_OR:
    case COPR_XOR:
    case COPR_IMP:
    case COPR_BIIMP: return type_logical(check, e, left, right);
    case COPR_EQ:
    case COPR_NEQ: return type_equality(check, e, left, right);
    case COPR_DEF: require_comparable(check, e, left, right); return left;
    case COPR_ASSIGN: return type_assignment(check, e, left, right);
    case COPR_NOT: break;
    }
    invalid_operator(e->args.bop.opr);
}

[[gnu::noinline]] CalcType type_conditional(Check& check, const CExpr* e) {
    NORVANE_ASSERT(e->args.ite.cond);
    NORVANE_ASSERT(e->args.ite.then_expr);
    NORVANE_ASSERT(e->args.ite.else_expr);
    const CalcType cond = check_expr(check, e->args.ite.cond);
    const CalcType then_type = check_expr(check, e->args.ite.then_expr);
    const CalcType else_type = check_expr(check, e->args.ite.else_expr);
    if (cond != CTYPE_BOOL)
        type_error(check, e->line_no,
                   "The type of the test-expression in the if-then-else expression is of type "
                   "%s, it must be boolean",
                   type_word(cond));
    if (!is_comparable(then_type, else_type))
        type_error(check, e->line_no,
                   "The type of the then-expression and the type of the else-expression "
                   "differs");
    return then_type == CTYPE_INT ? else_type : then_type;
}

// The function that a call names, in the set or in the catalogue.
const CFunc* function_of_call(const Check& check, const CExpr* e) {
    const CNameSpace* name_space = calc_get_namespace(check.calculations, e->args.call.ns_name);
    const CFunc* func = name_space ? calc_get_function(name_space, e->args.call.fname) : nullptr;
    if (!func)
        type_error(check, e->line_no, "No function '%s.%s'", e->args.call.ns_name,
                   e->args.call.fname);
    return func;
}

void require_argument_count(const Check& check, const CExpr* e, unsigned declared) {
    const unsigned given = plist_length(e->args.call.args);
    if (given == declared) return;
    // The texts use the singular for zero too.
    type_error(check, e->line_no,
               "The function '%s' takes %u argument%s, but %u argument%s %s provided",
               e->args.call.fname, declared, declared < 2 ? "" : "s", given, given < 2 ? "" : "s",
               given < 2 ? "is" : "are");
}

[[gnu::noinline]] CalcType type_of_call(Check& check, const CExpr* e) {
    const CFunc* func = function_of_call(check, e);
    require_argument_count(check, e, plist_length(func->args));
    int position = 0;
    const PolyListNode* given = e->args.call.args->first;
    for (const CFuncArg* declared : items<const CFuncArg>(func->args)) {
        ++position;
        const CalcType type = check_expr(check, static_cast<const CExpr*>(given->element));
        if (!fits(declared->type, type))
            type_error(check, e->line_no,
                       "The %d. argument to function '%s' is of type %s, it must be of type "
                       "%s",
                       position, func->name, type_word(type), type_word(declared->type));
        given = given->next;
    }
    return func->type;
}

} // namespace

// A sum of many operands is a chain of as many levels, each of which takes a frame of this
// function: the functions that it calls are not inlined, to keep that frame small.
CalcType check_expr(Check& check, const CExpr* e) {
    if (stack_is_low()) return on_fresh_stack([&] { return check_expr(check, e); });
    if (!e) return CTYPE_UNDEF;
    switch (e->structure) {
    case CEXPR_LVAR: return type_of_local(check, e);
    case CEXPR_PMVAR: return check_pmvar(check, e);
    case CEXPR_INT_CONST: return CTYPE_INT;
    case CEXPR_FLOAT_CONST: return CTYPE_FLOAT;
    case CEXPR_STRING_CONST: return CTYPE_STRING;
    case CEXPR_BOOL_CONST: return CTYPE_BOOL;
    case CEXPR_UOP: return type_unary(check, e, check_expr(check, e->args.uop.arg));
    case CEXPR_BOP: {
        const CalcType left = check_expr(check, e->args.bop.left_arg);
        const CalcType right = check_expr(check, e->args.bop.right_arg);
        return type_binary(check, e, left, right);
    }
    case CEXPR_ITE: return type_conditional(check, e);
    case CEXPR_CALL: return type_of_call(check, e);
    }
    NORVANE_FAIL("Invalid expression structure");
}

} // namespace norvane::calculations
