// What a binary operator makes of the types of its operands.
//
// Comparing a variable of an open type (float, integer, string) with a value that is known makes
// that value one of the variable's: it goes into the set of the type that stands for all types
// which were merged with the variable's own. Equating two such variables merges their types.

#include "labels.h"
#include "norvane/base/except.h"
#include "norvane/base/items.hpp"
#include "norvane/proj/proj_errors.h"
#include "norvane/proj/staticsem.h"
#include "report.h"
#include "staticsem_internal.h"

namespace norvane {

namespace {

// Operators as a set of bits.
template <typename... Operators>
constexpr unsigned operators(Operators... oprs) {
    return ((1u << oprs) | ...);
}

constexpr unsigned equalities = operators(OPR_EQ, OPR_NEQ);
constexpr unsigned comparisons = equalities | operators(OPR_LT, OPR_LE, OPR_GT, OPR_GE);
constexpr unsigned boolean_operators =
    equalities | operators(OPR_AND, OPR_OR, OPR_XOR, OPR_IMPLIES, OPR_BIIMPLIES);
constexpr unsigned range_operators =
    operators(OPR_PLUS, OPR_MINUS, OPR_TIMES, OPR_SHL, OPR_SHR, OPR_AND, OPR_OR, OPR_XOR);
constexpr unsigned float_operators = operators(OPR_PLUS, OPR_MINUS, OPR_TIMES, OPR_DIV);

bool is_one_of(const Expr* expr, unsigned set) {
    return expr->opr < 32 && (set >> expr->opr & 1);
}

// A binary expression whose operands have been checked.
struct Binary {
    Expr* expr;
    Expr* left;
    Expr* right;
    bool left_static;
    bool right_static;

    bool types_are(int left_type, int right_type) const {
        return left->type == left_type && right->type == right_type;
    }
    bool types_are_either_way(int one, int other) const {
        return types_are(one, other) || types_are(other, one);
    }
    bool both_identifiers() const {
        return left->structure == EXPR_IDCONSTRUCTOR && right->structure == EXPR_IDCONSTRUCTOR;
    }
};

int typed(Expr* expr, ExprType type) {
    expr->type = static_cast<unsigned char>(type);
    return STATUS_SUCCESS;
}

// Reports one of the faults that are told by the expression alone.
int fault(const CheckContext& check, Expr* expr, ErrorInfo* (*builder)(const char*, const char*),
          int line = __builtin_LINE()) {
    const ExprContext context = ssem_expr_context(check.project, expr);
    report_error(builder(context.position, context.text), line);
    return STATUS_FAILURE;
}

int mismatch(const CheckContext& check, const Binary& binary) {
    const ExprContext context = ssem_expr_context(check.project, binary.expr);
    report_error(ERR_OP_TYPES_BIN(context.position, expr_type_to_string(binary.left),
                                  expr_type_to_string(binary.right), context.text));
    return STATUS_FAILURE;
}

int typecon_of(const CheckContext& check, IdCon* idcon, TypeCon** typecon, unsigned linenumber) {
    return symtbl_typecon_for_idcon(check.project->line_info, check.symboltable, idcon, false,
                                    typecon, linenumber);
}

// The type that keeps the values of an open variable.
int values_of(const CheckContext& check, Expr* variable, TypeCon** typecon) {
    TypeCon* own = nullptr;
    const int status = typecon_of(check, variable->args.idcon, &own, variable->linenumber);
    if (status == STATUS_SUCCESS) *typecon = tc_find_set(own);
    return status;
}

void insert_float(PolySet* set, double number) {
    PolyValue value{number};
    if (pset_peek(set, &value, nullptr) != STATUS_SUCCESS)
        pset_insert(set, pchunk_new_poly_double(number));
}

// Variables of closed types: they compare by equality with variables of the same type, and labels
// with each other.

bool is_optional_word(const Expr* identifier) {
    return identifier->args.idcon->contype == IDCON_SIMPLE &&
           ssem_is_optional_word(identifier->args.idcon->args.id.idname);
}

bool is_closed_pair(const Binary& binary) {
    if (binary.left->type != binary.right->type || !is_one_of(binary.expr, equalities))
        return false;
    switch (binary.left->type) {
    case ETYPE_SUM:
    case ETYPE_PROD:
    case ETYPE_ARRAY:
    case ETYPE_OPTIONAL: return binary.both_identifiers();
    default: return false;
    }
}

int compare_closed(const CheckContext& check, const Binary& binary) {
    if (binary.left->type == ETYPE_OPTIONAL &&
        (is_optional_word(binary.left) || is_optional_word(binary.right)))
        return typed(binary.expr, ETYPE_BOOL);
    TypeCon* left = nullptr;
    int status = typecon_of(check, binary.left->args.idcon, &left, binary.left->linenumber);
    if (status != STATUS_SUCCESS) return status;
    TypeCon* right = nullptr;
    status = typecon_of(check, binary.right->args.idcon, &right, binary.right->linenumber);
    if (status != STATUS_SUCCESS) return status;
    return ssem_compare_typecon(check, left, right) == STATUS_SUCCESS
               ? typed(binary.expr, ETYPE_BOOL)
               : mismatch(check, binary);
}

// A label spelled as a string.

bool is_label_literal_pair(const Binary& binary) {
    return (binary.left->type == ETYPE_SUM || binary.right->type == ETYPE_SUM) &&
           (binary.left->structure == EXPR_STRING_CONST ||
            binary.right->structure == EXPR_STRING_CONST) &&
           is_one_of(binary.expr, equalities);
}

int compare_label_literal(const CheckContext& check, const Binary& binary) {
    const bool literal_left = binary.left->structure == EXPR_STRING_CONST;
    Expr* literal = literal_left ? binary.left : binary.right;
    Expr* other = literal_left ? binary.right : binary.left;
    TypeCon* other_type = nullptr;
    TypeCon* literal_type = nullptr;
    IdCon name = ssem_literal_as_idcon(literal);
    const bool same =
        other->structure == EXPR_IDCONSTRUCTOR &&
        typecon_of(check, other->args.idcon, &other_type, other->linenumber) == STATUS_SUCCESS &&
        typecon_of(check, &name, &literal_type, literal->linenumber) == STATUS_SUCCESS &&
        ssem_compare_typecon(check, other_type, literal_type) == STATUS_SUCCESS;
    return same ? typed(binary.expr, ETYPE_BOOL) : mismatch(check, binary);
}

// Floats. An integer literal that meets a float becomes a float literal, and so does a boolean one,
// which is an integer literal by its structure.

bool is_float_pair(const Binary& binary) {
    const bool left = binary.left->type == ETYPE_ENUM_FLOAT;
    const bool right = binary.right->type == ETYPE_ENUM_FLOAT;
    return (left && right) || (right && binary.left->structure == EXPR_INT_CONST) ||
           (left && binary.right->structure == EXPR_INT_CONST);
}

void rewrite_as_float(Expr* expr) {
    if (expr->structure != EXPR_INT_CONST) return;
    const int value = expr->args.intconst.value;
    expr->structure = EXPR_FLOAT_CONST;
    expr->opr = OPR_FLOATCONST;
    expr->type = ETYPE_ENUM_FLOAT;
    expr->args.floatconst.value = value;
}

int compare_floats(const CheckContext& check, const Binary& binary) {
    rewrite_as_float(binary.left);
    rewrite_as_float(binary.right);
    if (binary.left_static && binary.right_static) return typed(binary.expr, ETYPE_BOOL);
    if (!binary.left_static && !binary.right_static)
        return fault(check, binary.expr, ERR_ENUM_FLOAT_COMPARE);

    Expr* value = binary.left_static ? binary.left : binary.right;
    Expr* variable = binary.left_static ? binary.right : binary.left;
    NORVANE_ASSERT(variable->structure == EXPR_IDCONSTRUCTOR);
    const double number = ssem_static_evaluate_floatexpr(check.project, check.symboltable, value);
    TypeCon* typecon = nullptr;
    const int status = values_of(check, variable, &typecon);
    if (status != STATUS_SUCCESS) return status;
    insert_float(typecon->values.enum_float.float_set, number);
    return typed(binary.expr, ETYPE_BOOL);
}

int calculate_floats(const CheckContext& check, const Binary& binary) {
    if (!binary.left_static || !binary.right_static)
        return fault(check, binary.expr, ERR_FLOATS_NOT_STATIC);
    return typed(binary.expr, ETYPE_ENUM_FLOAT);
}

// Integers. Which side is the variable is told by its structure, left before right: a constant's
// name on the left is taken for the variable, and evaluating the other side then stops.

int compare_integers(const CheckContext& check, const Binary& binary) {
    if (!binary.right_static && !binary.left_static)
        return fault(check, binary.expr, ERR_ENUM_INTEGER_COMPARE);
    Expr* variable = binary.left;
    Expr* value = binary.right;
    if (variable->structure != EXPR_IDCONSTRUCTOR) {
        variable = binary.right;
        value = binary.left;
        if (variable->structure != EXPR_IDCONSTRUCTOR)
            NORVANE_FAIL("Comparison with to non static int values");
    }
    const int number = ssem_static_evaluate_intexpr(check.project, check.symboltable, value);
    TypeCon* typecon = nullptr;
    const int status = values_of(check, variable, &typecon);
    if (status != STATUS_SUCCESS) return status;
    iset_insert(typecon->values.enum_int.int_set, number);
    return typed(binary.expr, ETYPE_BOOL);
}

// Strings.

int compare_strings(const CheckContext& check, const Binary& binary) {
    Expr* left = binary.left;
    Expr* right = binary.right;
    NORVANE_ASSERT(left->structure == EXPR_IDCONSTRUCTOR || left->structure == EXPR_STRING_CONST);
    NORVANE_ASSERT(right->structure == EXPR_IDCONSTRUCTOR || right->structure == EXPR_STRING_CONST);
    if (binary.left_static && binary.right_static) return typed(binary.expr, ETYPE_BOOL);
    if (!binary.left_static && !binary.right_static)
        return fault(check, binary.expr, ERR_STRING_COMPARE);

    Expr* value = binary.left_static ? left : right;
    Expr* variable = binary.left_static ? right : left;
    const char* text = ssem_static_evaluate_stringexpr(check.project, check.symboltable, value);
    TypeCon* typecon = nullptr;
    const int status = values_of(check, variable, &typecon);
    if (status != STATUS_SUCCESS) return status;
    pset_insert(typecon->values.enum_string.string_set, const_cast<char*>(text));
    return typed(binary.expr, ETYPE_BOOL);
}

// A string variable takes the shown labels of the enumeration that it is compared with. They go
// into its own set, even where its type has been merged into another: callers see them there.
int compare_string_with_enumeration(const CheckContext& check, const Binary& binary) {
    const bool string_left = binary.left->type == ETYPE_STRING;
    IdCon* string = (string_left ? binary.left : binary.right)->args.idcon;
    IdCon* enumeration = (string_left ? binary.right : binary.left)->args.idcon;
    TypeCon* string_type = nullptr;
    int status = typecon_of(check, string, &string_type, UNDEF_LINENO);
    if (status != STATUS_SUCCESS) return status;
    TypeCon* enumeration_type = nullptr;
    status = typecon_of(check, enumeration, &enumeration_type, UNDEF_LINENO);
    if (status != STATUS_SUCCESS) return status;

    const NameData* namedata = symtbl_namedata_for_idcon(
        check.project->line_info, check.symboltable, enumeration, false, UNDEF_LINENO);
    if (!namedata || namedata->ndtype != ND_VARIABLE)
        return fault(check, binary.expr, ERR_STRVAR_COMPARE_LABEL);
    for (char* label : items<char>(enumeration_type->values.labels))
        pset_insert(string_type->values.enum_string.string_set, model::shown_label(label));
    return typed(binary.expr, ETYPE_BOOL);
}

// Two variables of one open type, equated: each gets the values of the other, then both types
// become one.

void share_floats(PolySet* from, PolySet* to) {
    PolySetIter iter;
    pset_iter_init(&iter, from);
    void* value = nullptr;
    while (pset_iter_next(&iter, &value))
        insert_float(to, static_cast<PolyValue*>(value)->number);
}

void share_integers(const IntSet* from, IntSet* to) {
    IntSetIter iter;
    iset_iter_init(&iter, from);
    int value = 0;
    while (iset_iter_next(&iter, &value))
        iset_insert(to, value);
}

void share_strings(PolySet* from, PolySet* to) {
    PolySetIter iter;
    pset_iter_init(&iter, from);
    void* value = nullptr;
    while (pset_iter_next(&iter, &value))
        pset_insert(to, value);
}

void share_values(const TypeCon* from, TypeCon* to) {
    switch (from->contype) {
    case TC_UBOUND_INTEGER:
        share_integers(from->values.enum_int.int_set, to->values.enum_int.int_set);
        return;
    case TC_UBOUND_FLOAT:
        if (from->values.enum_float.float_set && to->values.enum_float.float_set)
            share_floats(from->values.enum_float.float_set, to->values.enum_float.float_set);
        return;
    default:
        if (from->values.enum_string.string_set && to->values.enum_string.string_set)
            share_strings(from->values.enum_string.string_set, to->values.enum_string.string_set);
        return;
    }
}

int merge_open(const CheckContext& check, const Binary& binary) {
    NORVANE_ASSERT(binary.left->structure == EXPR_IDCONSTRUCTOR);
    NORVANE_ASSERT(binary.right->structure == EXPR_IDCONSTRUCTOR);
    TypeCon* left = nullptr;
    TypeCon* right = nullptr;
    if (typecon_of(check, binary.left->args.idcon, &left, UNDEF_LINENO) != STATUS_SUCCESS ||
        typecon_of(check, binary.right->args.idcon, &right, UNDEF_LINENO) != STATUS_SUCCESS)
        return STATUS_FAILURE;
    NORVANE_ASSERT(left->contype == right->contype);
    left = tc_find_set(left);
    right = tc_find_set(right);
    if (left != right) {
        share_values(left, right);
        share_values(right, left);
        tc_union(left, right);
    }
    return typed(binary.expr, ETYPE_BOOL);
}

bool is_open_pair(const Binary& binary) {
    const unsigned char type = binary.left->type;
    return type == binary.right->type && binary.expr->opr == OPR_UBOUND_EQ &&
           (type == ETYPE_ENUM_FLOAT || type == ETYPE_ENUM_INTEGER || type == ETYPE_STRING);
}

} // namespace

// The first rule that fits decides.
int ssem_type_binary(const CheckContext& check, Expr* expr, bool left_static, bool right_static) {
    const Binary binary{expr, expr->args.binargs.leftarg, expr->args.binargs.rightarg, left_static,
                        right_static};
    const bool is_equality = is_one_of(expr, equalities);
    const bool is_comparison = is_one_of(expr, comparisons);

    if (binary.types_are(ETYPE_BOOL, ETYPE_BOOL) && is_one_of(expr, boolean_operators))
        return typed(expr, ETYPE_BOOL);
    if (binary.types_are(ETYPE_INT, ETYPE_INT)) {
        if (is_comparison) return typed(expr, ETYPE_BOOL);
        if (is_one_of(expr, range_operators)) return typed(expr, ETYPE_INT);
    }
    if (is_closed_pair(binary)) return compare_closed(check, binary);
    if (is_label_literal_pair(binary)) return compare_label_literal(check, binary);
    if (is_comparison && is_float_pair(binary)) return compare_floats(check, binary);
    if (binary.types_are(ETYPE_ENUM_FLOAT, ETYPE_ENUM_FLOAT) && is_one_of(expr, float_operators))
        return calculate_floats(check, binary);
    if (is_comparison && binary.types_are_either_way(ETYPE_ENUM_INTEGER, ETYPE_INT))
        return compare_integers(check, binary);
    if (is_equality && binary.types_are(ETYPE_STRING, ETYPE_STRING))
        return compare_strings(check, binary);
    if (is_equality && binary.both_identifiers() &&
        binary.types_are_either_way(ETYPE_STRING, ETYPE_SUM))
        return compare_string_with_enumeration(check, binary);
    if (is_open_pair(binary)) return merge_open(check, binary);
    return mismatch(check, binary);
}

} // namespace norvane
