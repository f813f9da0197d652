// Checking of identifiers: what a name, an element of an array or a path stands for, and its type.
// A loop checks its body once for every value of its variable, so a simple name costs one lookup
// here and no copy.
#include "norvane/base/deep.hpp"
#include "norvane/base/except.h"
#include "norvane/base/items.hpp"
#include "norvane/proj/printpmfile.h"
#include "norvane/proj/proj_errors.h"
#include "staticsem_internal.h"
#include "tags.h"

namespace norvane::check {

namespace {

// The record of a name, in the innermost environment alone if the lookup is scoped.
NameData* find_in_scope(const Context& in, char* name, int scoped) {
    if (!scoped) return find_name(in, name);
    NameData* namedata = nullptr;
    return symtbl_lookup(in.symboltable, name, scoped, &namedata) == STATUS_SUCCESS ? namedata
                                                                                    : nullptr;
}

// The type of an expression that has this type constructor, its name resolved.
ExprType expr_type_of(const TypeCon* typecon) {
    switch (model::kind_of(typecon)) {
    case TC_BOOL: return ETYPE_BOOL;
    case TC_INT: return ETYPE_INT;
    case TC_UBOUND_FLOAT: return ETYPE_ENUM_FLOAT;
    case TC_UBOUND_INTEGER: return ETYPE_ENUM_INTEGER;
    case TC_STRING: return ETYPE_STRING;
    case TC_PROD: return ETYPE_PROD;
    case TC_SUM: return ETYPE_SUM;
    case TC_ARRAY: return ETYPE_ARRAY;
    case TC_OPTIONAL: return ETYPE_OPTIONAL;
    case TC_NAMED: NORVANE_FAIL("Unexpected type constructor type : %d", typecon->contype);
    }
    NORVANE_FAIL("Invalid type constructor type : %d", typecon->contype);
}

// The type of a variable's value is kept in its record, since a rule may name it many times.
Checked check_variable(const Context& in, const IdCon* idcon, NameData* variable, ExprType* type) {
    if (variable->value_type == ETYPE_UNDEF) {
        const TypeCon* typecon = resolved(in, variable->typecon, idcon->linenumber);
        if (!typecon) return {false, false};
        variable->value_type = static_cast<unsigned char>(expr_type_of(typecon));
    }
    *type = static_cast<ExprType>(variable->value_type);
    return {true, false, variable};
}

Checked check_simple(const Context& in, const IdCon* idcon, int scoped, ExprType* type) {
    char* name = idcon->args.id.idname;
    NameData* namedata = find_in_scope(in, name, scoped);
    // After a dot the two words of optionals are names of fields.
    if (!scoped && is_optional_word(name)) {
        *type = ETYPE_OPTIONAL;
        return {true, namedata && namedata->ndtype <= ND_STRING};
    }
    if (!namedata) return {fault_at(in, idcon->linenumber, ERR_ID_UNDECLARED, name), false};
    switch (model::kind_of(namedata)) {
    case ND_BOOL: *type = ETYPE_BOOL; return {true, true};
    case ND_INT: *type = ETYPE_INT; return {true, true};
    case ND_FLOAT: *type = ETYPE_ENUM_FLOAT; return {true, true};
    case ND_STRING: *type = ETYPE_STRING; return {true, true};
    case ND_LABEL: *type = ETYPE_SUM; return {true, false, namedata};
    case ND_TYPE: return {fault_at(in, idcon->linenumber, ERR_TYPE_AS_VAR_NAME, name), false};
    case ND_VARIABLE: return check_variable(in, idcon, namedata, type);
    }
    NORVANE_FAIL("Invalid namedata type '%d'", namedata->ndtype);
}

// Checks the value of index `n`, counted from 1, against the dimension that it picks from.
bool check_index_value(const Context& in, const IdCon* idcon, int n, const Expr* index,
                       const Expr* dimension) {
    const char* name = idcon->args.array.idname;
    const int value = evaluate_int(in, index);
    const int size = evaluate_int(in, dimension);
    if (value < 0) return fault_at(in, idcon->linenumber, ERR_NEG_ARRAY_INDEX, n, name);
    if (value >= size)
        return fault_at(in, idcon->linenumber, ERR_ARRAY_INDEX_OUT_OF_RANGE, n, name, value,
                        size - 1);
    return true;
}

bool report_no_array(const Context& in, const IdCon* idcon, int n, TypeCon* typecon) {
    const char* name = idcon->args.array.idname;
    if (n == 1)
        return fault_at(in, idcon->linenumber, ERR_VAR_AS_ARRAY, tc_type_to_string(typecon), name);
    const auto used = static_cast<int>(plist_length(idcon->args.array.exprlist));
    return fault_at(in, idcon->linenumber, ERR_ARRAY_INDEX, n - 1, name, used);
}

// Checks that an index has a value before the product is configured.
bool check_index_expr(const Context& in, const IdCon* idcon, int n, Expr* index) {
    const Checked checked = check_expr(in, index);
    if (!checked.ok) return false;
    if (index->type != ETYPE_INT) return fault(in, index, ERR_INDEX_NOT_INT, n);
    return checked.is_static || fault(in, index, ERR_INDEX_NOT_STATIC, idcon->args.array.idname);
}

// The dimension was static where it was declared, but here a field may hide the constant it names.
// In later iterations of a loop (`again`) a leaf needs no second check; other expressions repeat
// the reports of their loops.
bool check_dimension(const Context& in, Expr* dimension, bool again) {
    const bool is_leaf =
        dimension->structure == EXPR_INT_CONST || dimension->structure == EXPR_IDCONSTRUCTOR;
    return (again && is_leaf) || is_static(in, dimension) ||
           fault(in, dimension, ERR_ARRAY_NOT_STATIC);
}

// Checks index `n`, counted from 1, of a variable whose type is `array` after the indices before.
bool check_index(const Context& in, const IdCon* idcon, int n, Expr* index, TypeCon* array,
                 bool again) {
    if (array->contype != TC_ARRAY) return report_no_array(in, idcon, n, array);
    if (!(again ? check_again(in, index) : check_index_expr(in, idcon, n, index))) return false;
    Expr* dimension = array->values.array.size;
    return check_dimension(in, dimension, again) &&
           check_index_value(in, idcon, n, index, dimension);
}

// Checks an element of an array; `again` as check_again does.
Checked check_array(const Context& in, const IdCon* idcon, int scoped, ExprType* type, bool again) {
    char* name = idcon->args.array.idname;
    const NameData* namedata = find_in_scope(in, name, scoped);
    if (!namedata || namedata->ndtype != ND_VARIABLE)
        return {fault_at(in, idcon->linenumber, ERR_ILLEGAL_ARRAY_VAR, name), false};
    TypeCon* typecon = resolved(in, namedata->typecon, idcon->linenumber);
    if (!typecon) return {false, false};

    int n = 0;
    for (Expr* index : items<Expr>(idcon->args.array.exprlist)) {
        if (!check_index(in, idcon, ++n, index, typecon, again)) return {false, false};
        typecon = resolved(in, typecon->values.array.element, idcon->linenumber);
        if (!typecon) return {false, false};
    }
    *type = expr_type_of(typecon);
    return {true, false};
}

bool report_not_record(const Context& in, const IdCon* idcon, IdCon* head) {
    UtilString* text = ustr_new();
    ppm_print_idcon_str(head, text);
    fault_at(in, idcon->linenumber, ERR_NOT_RECORD, text->text);
    ustr_delete(text);
    return false;
}

Checked check_path(const Context& in, IdCon* idcon, int scoped, ExprType* type) {
    IdCon* head = idcon->args.compositid.hier;
    NORVANE_ASSERT(idcon->args.compositid.hier->contype != IDCON_COMPOSIT);
    ExprType head_type = ETYPE_UNDEF;
    const Checked head_checked = check_idcon(in, head, scoped, &head_type);
    if (!head_checked.ok) return head_checked;
    if (head_type != ETYPE_PROD && head_type != ETYPE_OPTIONAL)
        return {report_not_record(in, idcon, head), false};
    char* name = head->args.id.idname;
    PolyHash* environment = nullptr;
    if (symtbl_lookup_env(in.project->line_info, in.symboltable, name, scoped, &environment,
                          idcon->linenumber) != STATUS_SUCCESS)
        return {false, false};
    if (!environment) NORVANE_FAIL("Could not find environment for '%s'", name);

    const ScopedEnv pushed(in.symboltable, environment);
    return {check_idcon(in, idcon->args.compositid.nested, true, type).ok, false};
}

} // namespace

Checked check_idcon(const Context& in, IdCon* idcon, int scoped, ExprType* type) {
    if (stack_is_low()) return on_fresh_stack([&] { return check_idcon(in, idcon, scoped, type); });
    switch (model::kind_of(idcon)) {
    case IDCON_SIMPLE: return check_simple(in, idcon, scoped, type);
    case IDCON_ARRAY: return check_array(in, idcon, scoped, type, false);
    case IDCON_COMPOSIT: return check_path(in, idcon, scoped, type);
    }
    NORVANE_FAIL("Encountered invalid idcon type : %d", idcon->contype);
}

// A simple name has no part that depends on a value, and neither has the last step of a path. The
// names of indices after the first step are looked up in the record.
bool check_idcon_again(const Context& in, IdCon* idcon) {
    ExprType type = ETYPE_UNDEF;
    switch (model::kind_of(idcon)) {
    case IDCON_SIMPLE: return true;
    case IDCON_ARRAY: return check_array(in, idcon, false, &type, true).ok;
    case IDCON_COMPOSIT:
        if (idcon->args.compositid.nested->contype == IDCON_SIMPLE)
            return check_idcon_again(in, idcon->args.compositid.hier);
    }
    return check_idcon(in, idcon, false, &type).ok;
}

} // namespace norvane::check
