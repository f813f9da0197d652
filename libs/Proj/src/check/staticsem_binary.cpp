// What a binary operator makes of the types of its operands: the table at the end of this file, and
// the steps that its rows call.
//
// Comparing a variable of an unbounded type (float, integer, string) with a known value makes that
// value one of the variable's: it goes into the set of the type that stands for all types that were
// merged with the variable's own. Equating two such variables merges their types.
#include <array>

#include "labels.h"
#include "norvane/base/except.h"
#include "norvane/base/items.hpp"
#include "norvane/proj/proj_errors.h"
#include "operators.h"
#include "staticsem_internal.h"
#include "tags.h"

namespace norvane::check {

namespace {

// A binary expression whose operands have been checked.
struct Binary {
    Expr* expr;
    Expr* left;
    Expr* right;
    bool left_static;
    bool right_static;
    const NameData* left_named; // as Checked has them
    const NameData* right_named;
};

bool typed(const Binary& binary, ExprType type) {
    binary.expr->type = static_cast<unsigned char>(type);
    return true;
}

bool mismatch(const Context& in, const Binary& binary) {
    return fault(in, binary.expr, ERR_OP_TYPES_BIN, expr_type_to_string(binary.left),
                 expr_type_to_string(binary.right));
}

// The type of an operand that is an identifier, names resolved, or null.
TypeCon* type_of(const Context& in, const Binary& binary, const Expr* operand, unsigned line) {
    const NameData* named = operand == binary.left ? binary.left_named : binary.right_named;
    return named ? resolved(in, named->typecon, line)
                 : type_of_idcon(in, operand->args.idcon, line);
}

// The type that keeps the values of a variable of an unbounded type, or null.
TypeCon* values_of(const Context& in, const Binary& binary, const Expr* variable) {
    TypeCon* own = type_of(in, binary, variable, variable->linenumber);
    return own ? tc_find_set(own) : nullptr;
}

void insert_float(PolySet* set, double number) {
    PolyValue value{number};
    if (pset_peek(set, &value, nullptr) != STATUS_SUCCESS)
        pset_insert(set, pchunk_new_poly_double(number));
}

// Records, arrays, optionals and enumerations: a variable compares with one of the same type, and
// labels with each other.

bool names_optional_word(const Expr* identifier) {
    return identifier->args.idcon->contype == IDCON_SIMPLE &&
           is_optional_word(identifier->args.idcon->args.id.idname);
}

bool compare_bounded(const Context& in, const Binary& binary) {
    if (binary.left->type == ETYPE_OPTIONAL &&
        (names_optional_word(binary.left) || names_optional_word(binary.right)))
        return typed(binary, ETYPE_BOOL);
    TypeCon* left = type_of(in, binary, binary.left, binary.left->linenumber);
    if (!left) return false;
    TypeCon* right = type_of(in, binary, binary.right, binary.right->linenumber);
    if (!right) return false;
    return is_same_type(in, left, right) ? typed(binary, ETYPE_BOOL) : mismatch(in, binary);
}

// A label spelled as a string.
bool compare_label_literal(const Context& in, const Binary& binary) {
    const bool literal_left = binary.left->structure == EXPR_STRING_CONST;
    const Expr* literal = literal_left ? binary.left : binary.right;
    const Expr* other = literal_left ? binary.right : binary.left;
    if (other->structure != EXPR_IDCONSTRUCTOR) return mismatch(in, binary);
    TypeCon* other_type = type_of(in, binary, other, other->linenumber);
    if (!other_type) return mismatch(in, binary);
    IdCon name = spelled_name(literal);
    TypeCon* literal_type = type_of_idcon(in, &name, literal->linenumber);
    const bool same = literal_type && is_same_type(in, other_type, literal_type);
    return same ? typed(binary, ETYPE_BOOL) : mismatch(in, binary);
}

// Floats. An integer literal that meets a float becomes a float literal, and so does a boolean one,
// which is an integer literal by its structure.

void rewrite_as_float(Expr* expr) {
    if (expr->structure != EXPR_INT_CONST) return;
    const int value = expr->args.intconst.value;
    expr->structure = EXPR_FLOAT_CONST;
    expr->opr = OPR_FLOATCONST;
    expr->type = ETYPE_ENUM_FLOAT;
    expr->args.floatconst.value = value;
}

bool compare_floats(const Context& in, const Binary& binary) {
    rewrite_as_float(binary.left);
    rewrite_as_float(binary.right);
    if (binary.left_static && binary.right_static) return typed(binary, ETYPE_BOOL);
    if (!binary.left_static && !binary.right_static)
        return fault(in, binary.expr, ERR_ENUM_FLOAT_COMPARE);

    const Expr* value = binary.left_static ? binary.left : binary.right;
    const Expr* variable = binary.left_static ? binary.right : binary.left;
    NORVANE_ASSERT(variable->structure == EXPR_IDCONSTRUCTOR);
    const double number = evaluate_float(in, value);
    const TypeCon* typecon = values_of(in, binary, variable);
    if (!typecon) return false;
    insert_float(typecon->values.enum_float.float_set, number);
    return typed(binary, ETYPE_BOOL);
}

bool calculate_floats(const Context& in, const Binary& binary) {
    if (!binary.left_static || !binary.right_static)
        return fault(in, binary.expr, ERR_FLOATS_NOT_STATIC);
    return typed(binary, ETYPE_ENUM_FLOAT);
}

// Integers. The variable is the left operand if that is an identifier, else the right one. So a
// constant's name on the left is taken for the variable, and evaluating the other side then stops:
// callers rely on the stop.
bool compare_integers(const Context& in, const Binary& binary) {
    if (!binary.right_static && !binary.left_static)
        return fault(in, binary.expr, ERR_ENUM_INTEGER_COMPARE);
    const Expr* variable = binary.left;
    const Expr* value = binary.right;
    if (variable->structure != EXPR_IDCONSTRUCTOR) {
        variable = binary.right;
        value = binary.left;
        if (variable->structure != EXPR_IDCONSTRUCTOR)
            NORVANE_FAIL("Comparison with to non static int values");
    }
    const int number = evaluate_int(in, value);
    const TypeCon* typecon = values_of(in, binary, variable);
    if (!typecon) return false;
    iset_insert(typecon->values.enum_int.int_set, number);
    return typed(binary, ETYPE_BOOL);
}

// Strings.

bool compare_strings(const Context& in, const Binary& binary) {
    const Expr* left = binary.left;
    const Expr* right = binary.right;
    NORVANE_ASSERT(left->structure == EXPR_IDCONSTRUCTOR || left->structure == EXPR_STRING_CONST);
    NORVANE_ASSERT(right->structure == EXPR_IDCONSTRUCTOR || right->structure == EXPR_STRING_CONST);
    if (binary.left_static && binary.right_static) return typed(binary, ETYPE_BOOL);
    if (!binary.left_static && !binary.right_static)
        return fault(in, binary.expr, ERR_STRING_COMPARE);

    const Expr* value = binary.left_static ? left : right;
    const Expr* variable = binary.left_static ? right : left;
    const char* text = evaluate_string(in, value);
    const TypeCon* typecon = values_of(in, binary, variable);
    if (!typecon) return false;
    pset_insert(typecon->values.enum_string.string_set, const_cast<char*>(text));
    return typed(binary, ETYPE_BOOL);
}

// A string variable takes the shown labels of the enumeration that it is compared with. They go
// into its own set, even where its type has been merged into another: callers see them there.
bool compare_string_with_enumeration(const Context& in, const Binary& binary) {
    const bool string_left = binary.left->type == ETYPE_STRING;
    const Expr* string = string_left ? binary.left : binary.right;
    const Expr* enumeration = string_left ? binary.right : binary.left;
    const TypeCon* string_type = type_of(in, binary, string, UNDEF_LINENO);
    if (!string_type) return false;
    const TypeCon* enumeration_type = type_of(in, binary, enumeration, UNDEF_LINENO);
    if (!enumeration_type) return false;

    const NameData* namedata = symtbl_namedata_for_idcon(
        in.project->line_info, in.symboltable, enumeration->args.idcon, false, UNDEF_LINENO);
    if (!namedata || namedata->ndtype != ND_VARIABLE)
        return fault(in, binary.expr, ERR_STRVAR_COMPARE_LABEL);
    for (char* label : items<char>(enumeration_type->values.labels))
        pset_insert(string_type->values.enum_string.string_set, model::shown_label(label));
    return typed(binary, ETYPE_BOOL);
}

// Two variables of one unbounded type, equated: each gets the values of the other, then both types
// become one.

void share_floats(PolySet* from, PolySet* to) {
    if (!from || !to) return;
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
    if (!from || !to) return;
    PolySetIter iter;
    pset_iter_init(&iter, from);
    void* value = nullptr;
    while (pset_iter_next(&iter, &value))
        pset_insert(to, value);
}

void share_values(const TypeCon* from, TypeCon* to) {
    if (from->contype == TC_UBOUND_INTEGER)
        share_integers(from->values.enum_int.int_set, to->values.enum_int.int_set);
    else if (from->contype == TC_UBOUND_FLOAT)
        share_floats(from->values.enum_float.float_set, to->values.enum_float.float_set);
    else
        share_strings(from->values.enum_string.string_set, to->values.enum_string.string_set);
}

bool merge_types(const Context& in, const Binary& binary) {
    NORVANE_ASSERT(binary.left->structure == EXPR_IDCONSTRUCTOR);
    NORVANE_ASSERT(binary.right->structure == EXPR_IDCONSTRUCTOR);
    TypeCon* left = type_of(in, binary, binary.left, UNDEF_LINENO);
    if (!left) return false;
    TypeCon* right = type_of(in, binary, binary.right, UNDEF_LINENO);
    if (!right) return false;
    NORVANE_ASSERT(left->contype == right->contype);
    left = tc_find_set(left);
    right = tc_find_set(right);
    if (left != right) {
        share_values(left, right);
        share_values(right, left);
        tc_union(left, right);
    }
    return typed(binary, ETYPE_BOOL);
}

// The rules of types.

enum class Operands { any, identifiers, string_literal, int_literal };

bool fit(const Binary& binary, Operands operands) {
    const unsigned char left = binary.left->structure;
    const unsigned char right = binary.right->structure;
    switch (operands) {
    case Operands::any: return true;
    case Operands::identifiers: return left == EXPR_IDCONSTRUCTOR && right == EXPR_IDCONSTRUCTOR;
    case Operands::string_literal: return left == EXPR_STRING_CONST || right == EXPR_STRING_CONST;
    case Operands::int_literal: return left == EXPR_INT_CONST || right == EXPR_INT_CONST;
    }
    return false;
}

using Step = bool (*)(const Context& in, const Binary& binary);

template <ExprType type>
bool results(const Context&, const Binary& binary) {
    return typed(binary, type);
}

struct Rule {
    ExprType one; // the types of the operands, in either order
    ExprType other;
    unsigned families; // of operators
    Operands operands;
    Step step;
};

// The rules of a pair of types follow each other, and the first one that fits decides. Where no
// rule fits, the types do not match.
constexpr Rule rules[] = {
    {ETYPE_BOOL, ETYPE_BOOL, logic | equality, Operands::any, results<ETYPE_BOOL>},
    {ETYPE_INT, ETYPE_INT, comparison, Operands::any, results<ETYPE_BOOL>},
    {ETYPE_INT, ETYPE_INT, integer_arithmetic, Operands::any, results<ETYPE_INT>},
    {ETYPE_SUM, ETYPE_SUM, equality, Operands::identifiers, compare_bounded},
    {ETYPE_PROD, ETYPE_PROD, equality, Operands::identifiers, compare_bounded},
    {ETYPE_ARRAY, ETYPE_ARRAY, equality, Operands::identifiers, compare_bounded},
    {ETYPE_OPTIONAL, ETYPE_OPTIONAL, equality, Operands::identifiers, compare_bounded},
    {ETYPE_SUM, ETYPE_STRING, equality, Operands::string_literal, compare_label_literal},
    {ETYPE_SUM, ETYPE_STRING, equality, Operands::identifiers, compare_string_with_enumeration},
    {ETYPE_ENUM_FLOAT, ETYPE_ENUM_FLOAT, comparison, Operands::any, compare_floats},
    {ETYPE_ENUM_FLOAT, ETYPE_ENUM_FLOAT, float_arithmetic, Operands::any, calculate_floats},
    {ETYPE_ENUM_FLOAT, ETYPE_ENUM_FLOAT, merging, Operands::any, merge_types},
    {ETYPE_ENUM_FLOAT, ETYPE_INT, comparison, Operands::int_literal, compare_floats},
    {ETYPE_ENUM_FLOAT, ETYPE_BOOL, comparison, Operands::int_literal, compare_floats},
    {ETYPE_ENUM_INTEGER, ETYPE_INT, comparison, Operands::any, compare_integers},
    {ETYPE_ENUM_INTEGER, ETYPE_ENUM_INTEGER, merging, Operands::any, merge_types},
    {ETYPE_STRING, ETYPE_STRING, equality, Operands::any, compare_strings},
    {ETYPE_STRING, ETYPE_STRING, merging, Operands::any, merge_types},
};

// The rules of a pair of types: from `first`, before `end`.
struct RuleRange {
    unsigned char first;
    unsigned char end;
};

constexpr unsigned type_count = 16;
using RuleIndex = std::array<std::array<RuleRange, type_count>, type_count>;

constexpr RuleIndex index_rules() {
    RuleIndex index{};
    unsigned char at = 0;
    for (const Rule& rule : rules) {
        RuleRange& range = index[rule.one][rule.other];
        if (range.end == 0) range.first = at;
        range.end = ++at;
        index[rule.other][rule.one] = range;
    }
    return index;
}
constexpr RuleIndex rule_index = index_rules();

} // namespace

bool type_binary(const Context& in, Expr* expr, const Checked& left, const Checked& right) {
    const Binary binary{expr,
                        expr->args.binargs.leftarg,
                        expr->args.binargs.rightarg,
                        left.is_static,
                        right.is_static,
                        left.named,
                        right.named};
    const RuleRange range = rule_index[binary.left->type][binary.right->type];
    for (unsigned at = range.first; at < range.end; ++at) {
        const Rule& rule = rules[at];
        if (is_in(expr, rule.families) && fit(binary, rule.operands)) return rule.step(in, binary);
    }
    return mismatch(in, binary);
}

} // namespace norvane::check
