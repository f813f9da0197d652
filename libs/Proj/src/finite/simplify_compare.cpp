// Simplification of comparisons of unbounded variables. The values that the model compares such a
// variable with cut its domain into labelled classes; a comparison with a value becomes one of the
// variable's position among the labels with the position of the value. Positions follow the order
// of the values, so that the operators keep their meaning; those of strings have no order, and only
// equality is legal on them.
//
// The checker has entered every value that occurs here into its type.
#include <cstdint>
#include <cstring>

#include "labels.h"
#include "norvane/base/except.h"
#include "norvane/base/items.hpp"
#include "operators.h"
#include "simplify_internal.h"

namespace norvane::finite {

using check::is_static;

namespace {

TypeCon* type_of(const Simplification& in, IdCon* idcon) {
    TypeCon* typecon = check::type_of_idcon(in, idcon, UNDEF_LINENO);
    NORVANE_ASSERT_TEXT(typecon,
                        "symtbl_typecon_for_idcon(in.project->line_info, in.symboltable, idcon, 0, "
                        "&typecon, UNDEF_LINENO) == STATUS_SUCCESS");
    return typecon;
}

// The three functions below look a value up in the type that a variable's own type was merged into.
// The first lookup makes its labels, so values that are added afterwards are not found.

int float_position(const Simplification& in, IdCon* variable, double value) {
    TypeCon* typecon = type_of(in, variable);
    NORVANE_ASSERT(typecon->contype == TC_UBOUND_FLOAT);
    typecon = tc_find_set(typecon);
    tc_create_float_intervals(typecon);
    const PolyValue key{value};
    int position = 0;
    NORVANE_ASSERT(ihash_peek(typecon->values.enum_float.value_index, &key, &position) ==
                   STATUS_SUCCESS);
    return position;
}

int integer_position(const Simplification& in, IdCon* variable, int value) {
    TypeCon* typecon = type_of(in, variable);
    NORVANE_ASSERT(typecon->contype == TC_UBOUND_INTEGER);
    typecon = tc_find_set(typecon);
    tc_create_integer_intervals(typecon);
    const void* key = reinterpret_cast<void*>(static_cast<std::intptr_t>(value));
    int position = 0;
    NORVANE_ASSERT(ihash_peek(typecon->values.enum_int.value_index, key, &position) ==
                   STATUS_SUCCESS);
    return position;
}

int string_position(const Simplification& in, IdCon* variable, const char* value) {
    TypeCon* typecon = type_of(in, variable);
    NORVANE_ASSERT(typecon->contype == TC_STRING);
    typecon = tc_find_set(typecon);
    tc_create_string_hash(typecon);
    int position = 0;
    NORVANE_ASSERT(ihash_peek(typecon->values.enum_string.value_index, value, &position) ==
                   STATUS_SUCCESS);
    return position;
}

Expr* new_bool(bool value) {
    return expr_new_intconst(OPR_BOOLCONST, value, UNDEF_LINENO);
}

Expr* new_position(int position) {
    return expr_new_intconst(OPR_INTCONST, position, UNDEF_LINENO);
}

// The comparison of a variable with a position, on the sides on which the source has them.
Expr* new_comparison(const Expr* source, bool variable_is_left, Expr* variable, Expr* position) {
    Expr* result =
        expr_new_binary(static_cast<OprTypes>(source->opr), variable_is_left ? variable : position,
                        variable_is_left ? position : variable, UNDEF_LINENO);
    result->type = ETYPE_BOOL;
    return result;
}

Expr* encode_float(const Simplification& in, IdCon* variable, Expr* constant) {
    if (!in.encode_values) return expr_copy_expr(constant);
    const double value = check::evaluate_float(in, constant);
    return new_position(float_position(in, variable, value));
}

Expr* encode_integer(const Simplification& in, IdCon* variable, Expr* constant) {
    if (!in.encode_values) return expr_copy_expr(constant);
    const int value = check::evaluate_int(in, constant);
    return new_position(integer_position(in, variable, value));
}

Expr* compare_floats(Simplification& in, Expr* expr) {
    Expr* left = expr->args.binargs.leftarg;
    Expr* right = expr->args.binargs.rightarg;
    const bool left_static = is_static(in, left);
    const bool right_static = is_static(in, right);
    if (left_static && right_static) {
        return new_bool(check::evaluate_int(in, expr) != 0);
    }
    NORVANE_ASSERT(left_static || right_static);
    Expr* variable = left_static ? right : left;
    NORVANE_ASSERT(variable->structure == EXPR_IDCONSTRUCTOR);
    Expr* position = encode_float(in, variable->args.idcon, left_static ? left : right);
    return new_comparison(expr, right_static, simplify(in, variable), position);
}

// The variable is the left operand if that is an identifier, else the right one, as in the checker.
Expr* compare_integers(Simplification& in, Expr* expr) {
    Expr* left = expr->args.binargs.leftarg;
    Expr* right = expr->args.binargs.rightarg;
    const bool variable_is_left = left->structure == EXPR_IDCONSTRUCTOR;
    Expr* variable = variable_is_left ? left : right;
    Expr* constant = variable_is_left ? right : left;
    NORVANE_ASSERT(is_static(in, constant));
    NORVANE_ASSERT(variable->structure == EXPR_IDCONSTRUCTOR);
    Expr* position = encode_integer(in, variable->args.idcon, constant);
    return new_comparison(expr, variable_is_left, simplify(in, variable), position);
}

// The variable is copied and not simplified, so that an index keeps the name of a loop's variable
// until the loop is closed: callers rely on all turns of a loop naming the last element then.
Expr* compare_strings(Simplification& in, Expr* expr) {
    Expr* left = expr->args.binargs.leftarg;
    Expr* right = expr->args.binargs.rightarg;
    NORVANE_ASSERT(left->structure == EXPR_IDCONSTRUCTOR || left->structure == EXPR_STRING_CONST);
    NORVANE_ASSERT(right->structure == EXPR_IDCONSTRUCTOR || right->structure == EXPR_STRING_CONST);
    const bool left_static = is_static(in, left);
    const bool right_static = is_static(in, right);
    if (left_static && right_static) {
        const char* text = check::evaluate_string(in, left);
        const char* other = check::evaluate_string(in, right);
        return new_bool((std::strcmp(text, other) == 0) == (expr->opr == OPR_EQ));
    }
    NORVANE_ASSERT(left_static || right_static);
    Expr* variable = left_static ? right : left;
    const char* value = check::evaluate_string(in, left_static ? left : right);
    Expr* position = new_position(string_position(in, variable->args.idcon, value));
    return new_comparison(expr, right_static, expr_copy_expr(variable), position);
}

// The string has the shown text of the label, and the enumeration has the label.
Expr* both_are(Simplification& in, Expr* string, Expr* enumeration, char* label) {
    Expr shown = check::stack_node(EXPR_STRING_CONST, OPR_NONE, ETYPE_STRING);
    shown.args.str = model::shown_label(label);
    Expr whole = check::stack_node(EXPR_STRING_CONST, OPR_NONE, ETYPE_STRING);
    whole.args.str = label;
    Expr string_is = stack_equation(string, &shown, ETYPE_UNDEF);
    Expr enumeration_is = stack_equation(enumeration, &whole, ETYPE_UNDEF);
    Expr* left = simplify(in, &string_is);
    return join(in, OPR_AND, left, simplify(in, &enumeration_is), ETYPE_UNDEF);
}

// A string variable and an enumeration variable are equal if they are so for one of the labels.
// Only the top node is typed, like the comparison in the source.
Expr* compare_with_labels(Simplification& in, Expr* expr) {
    const Expr* left = expr->args.binargs.leftarg;
    const Expr* right = expr->args.binargs.rightarg;
    const bool enumeration_is_left = left->type == ETYPE_SUM;
    Expr string =
        stack_idcon(enumeration_is_left ? right->args.idcon : left->args.idcon, ETYPE_STRING);
    Expr enumeration =
        stack_idcon(enumeration_is_left ? left->args.idcon : right->args.idcon, ETYPE_SUM);
    const TypeCon* typecon = type_of(in, enumeration.args.idcon);
    NORVANE_ASSERT(typecon->contype == TC_SUM);

    Expr* result = nullptr;
    for (char* label : items<char>(typecon->values.labels)) {
        Expr* both = both_are(in, &string, &enumeration, label);
        result = result ? join(in, OPR_OR, result, both, ETYPE_UNDEF) : both;
    }
    NORVANE_ASSERT(result);
    if (expr->opr == OPR_NEQ) result = expr_new_unary(OPR_NOT, result, UNDEF_LINENO);
    result->type = expr->type;
    return result;
}

// Whether a string variable and an enumeration variable are compared.
bool is_string_with_enumeration(const Expr* left, const Expr* right) {
    return ((left->type == ETYPE_STRING && right->type == ETYPE_SUM) ||
            (left->type == ETYPE_SUM && right->type == ETYPE_STRING)) &&
           left->structure == EXPR_IDCONSTRUCTOR && right->structure == EXPR_IDCONSTRUCTOR;
}

} // namespace

Expr* simplify_comparison(Simplification& in, Expr* expr) {
    if (!check::is_in(expr, check::comparison)) return nullptr;
    const Expr* left = expr->args.binargs.leftarg;
    const Expr* right = expr->args.binargs.rightarg;
    if (left->type == ETYPE_ENUM_FLOAT && right->type == ETYPE_ENUM_FLOAT)
        return compare_floats(in, expr);
    if (left->type == ETYPE_ENUM_INTEGER || right->type == ETYPE_ENUM_INTEGER)
        return compare_integers(in, expr);
    if (!check::is_in(expr, check::equality)) return nullptr;
    if (left->type == ETYPE_STRING && right->type == ETYPE_STRING) return compare_strings(in, expr);
    return is_string_with_enumeration(left, right) ? compare_with_labels(in, expr) : nullptr;
}

} // namespace norvane::finite
