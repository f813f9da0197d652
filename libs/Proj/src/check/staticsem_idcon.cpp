// Checking of identifiers: what a name, an element of an array or a path stands for, and its type.
// A loop checks its body once for every value of its variable, so a simple name costs one look-up
// here and nothing is copied.

#include <cstring>

#include "norvane/base/deep.hpp"
#include "norvane/base/except.h"
#include "norvane/base/items.hpp"
#include "norvane/proj/printpmfile.h"
#include "norvane/proj/proj_errors.h"
#include "norvane/proj/staticsem.h"
#include "report.h"
#include "staticsem_internal.h"

namespace norvane {

namespace {

// The type of an expression that has this type constructor, its name resolved.
ExprType expr_type_of(const TypeCon* typecon) {
    switch (typecon->contype) {
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
    default: NORVANE_FAIL("Invalid type constructor type : %d", typecon->contype);
    }
}

bool is_constant(const NameData* namedata) {
    return namedata->ndtype <= ND_STRING;
}

int resolve(const CheckContext& check, TypeCon* typecon, TypeCon** result, const IdCon* idcon) {
    return symtbl_lookup_typecon(check.project->line_info, check.symboltable, typecon, result,
                                 idcon->linenumber);
}

Checked check_simple(const CheckContext& check, IdCon* idcon, int scoped, ExprType* type) {
    char* name = idcon->args.id.idname;
    NameData* namedata = nullptr;
    const int status = symtbl_lookup(check.symboltable, name, scoped, &namedata);
    // Behind a dot the two words of optionals are names of fields.
    if (!scoped && ssem_is_optional_word(name)) {
        *type = ETYPE_OPTIONAL;
        return {STATUS_SUCCESS, status == STATUS_SUCCESS && is_constant(namedata)};
    }
    if (status != STATUS_SUCCESS) {
        report_error(ERR_ID_UNDECLARED(ssem_position(check.project, idcon->linenumber), name));
        return check_failed;
    }
    switch (namedata->ndtype) {
    case ND_BOOL: *type = ETYPE_BOOL; return {STATUS_SUCCESS, true};
    case ND_INT: *type = ETYPE_INT; return {STATUS_SUCCESS, true};
    case ND_FLOAT: *type = ETYPE_ENUM_FLOAT; return {STATUS_SUCCESS, true};
    case ND_STRING: *type = ETYPE_STRING; return {STATUS_SUCCESS, true};
    case ND_LABEL: *type = ETYPE_SUM; return {STATUS_SUCCESS, false};
    case ND_TYPE:
        report_error(ERR_TYPE_AS_VAR_NAME(ssem_position(check.project, idcon->linenumber), name));
        return check_failed;
    case ND_VARIABLE: {
        if (namedata->value_type == ETYPE_UNDEF) {
            TypeCon* typecon = nullptr;
            const int resolved = resolve(check, namedata->typecon, &typecon, idcon);
            if (resolved != STATUS_SUCCESS) return {resolved, false};
            namedata->value_type = static_cast<unsigned char>(expr_type_of(typecon));
        }
        *type = static_cast<ExprType>(namedata->value_type);
        return {STATUS_SUCCESS, false};
    }
    default: NORVANE_FAIL("Invalid namedata type '%d'", namedata->ndtype);
    }
}

// Checks the value of index `n`, counted from 1, against the dimension that it picks from.
int check_index_value(const CheckContext& check, IdCon* idcon, int n, Expr* index,
                      Expr* dimension) {
    char* name = idcon->args.array.idname;
    const int value = ssem_static_evaluate_intexpr(check.project, check.symboltable, index);
    const int size = ssem_static_evaluate_intexpr(check.project, check.symboltable, dimension);
    if (value < 0) {
        report_error(ERR_NEG_ARRAY_INDEX(ssem_position(check.project, idcon->linenumber), n, name));
        return STATUS_FAILURE;
    }
    if (value >= size) {
        report_error(ERR_ARRAY_INDEX_OUT_OF_RANGE(ssem_position(check.project, idcon->linenumber),
                                                  n, name, value, size - 1));
        return STATUS_FAILURE;
    }
    return STATUS_SUCCESS;
}

// Checks index `n`, counted from 1, of a variable whose type is `array` behind the indices before.
int check_index(const CheckContext& check, IdCon* idcon, int n, Expr* index, TypeCon* array) {
    char* name = idcon->args.array.idname;
    if (array->contype != TC_ARRAY) {
        const char* position = ssem_position(check.project, idcon->linenumber);
        const auto used = static_cast<int>(plist_length(idcon->args.array.exprlist));
        report_error(n == 1 ? ERR_VAR_AS_ARRAY(position, tc_type_to_string(array), name)
                            : ERR_ARRAY_INDEX(position, n - 1, name, used));
        return STATUS_FAILURE;
    }
    const Checked checked = ssem_check(check, index);
    if (checked.status != STATUS_SUCCESS) return checked.status;
    if (index->type != ETYPE_INT) {
        const ExprContext context = ssem_expr_context(check.project, index);
        report_error(ERR_INDEX_NOT_INT(context.position, n, context.text));
        return STATUS_FAILURE;
    }
    if (!checked.is_static) {
        const ExprContext context = ssem_expr_context(check.project, index);
        report_error(ERR_INDEX_NOT_STATIC(context.position, name, context.text));
        return STATUS_FAILURE;
    }
    // It was static where it was declared, but a field may hide the constant that it names.
    Expr* dimension = array->values.array.size;
    if (!ssem_is_static_expr(check.project, check.symboltable, dimension)) {
        const ExprContext context = ssem_expr_context(check.project, dimension);
        report_error(ERR_ARRAY_NOT_STATIC(context.position, context.text));
        return STATUS_FAILURE;
    }
    return check_index_value(check, idcon, n, index, dimension);
}

Checked check_array(const CheckContext& check, IdCon* idcon, int scoped, ExprType* type) {
    char* name = idcon->args.array.idname;
    NameData* namedata = nullptr;
    if (symtbl_lookup(check.symboltable, name, scoped, &namedata) != STATUS_SUCCESS ||
        namedata->ndtype != ND_VARIABLE) {
        report_error(ERR_ILLEGAL_ARRAY_VAR(ssem_position(check.project, idcon->linenumber), name));
        return check_failed;
    }
    TypeCon* typecon = nullptr;
    int status = resolve(check, namedata->typecon, &typecon, idcon);
    if (status != STATUS_SUCCESS) return {status, false};

    int n = 0;
    for (Expr* index : items<Expr>(idcon->args.array.exprlist)) {
        status = check_index(check, idcon, ++n, index, typecon);
        if (status != STATUS_SUCCESS) return {status, false};
        status = resolve(check, typecon->values.array.element, &typecon, idcon);
        if (status != STATUS_SUCCESS) return {status, false};
    }
    *type = expr_type_of(typecon);
    return {STATUS_SUCCESS, false};
}

void report_not_record(const CheckContext& check, const IdCon* idcon, IdCon* head) {
    UtilString* text = ustr_new();
    ppm_print_idcon_str(head, text);
    report_error(ERR_NOT_RECORD(ssem_position(check.project, idcon->linenumber), text->text));
    ustr_delete(text);
}

Checked check_path(const CheckContext& check, IdCon* idcon, int scoped, ExprType* type) {
    IdCon* head = idcon->args.compositid.hier;
    NORVANE_ASSERT(idcon->args.compositid.hier->contype != IDCON_COMPOSIT);
    ExprType head_type = ETYPE_UNDEF;
    const Checked head_checked = ssem_check_idcon(check, head, scoped, &head_type);
    if (head_checked.status != STATUS_SUCCESS) return head_checked;
    if (head_type != ETYPE_PROD && head_type != ETYPE_OPTIONAL) {
        report_not_record(check, idcon, head);
        return check_failed;
    }
    char* name = head->args.id.idname;
    PolyHash* environment = nullptr;
    const int status = symtbl_lookup_env(check.project->line_info, check.symboltable, name, scoped,
                                         &environment, idcon->linenumber);
    if (status != STATUS_SUCCESS) return {status, false};
    if (!environment) NORVANE_FAIL("Could not find environment for '%s'", name);

    const ScopedEnv pushed(check.symboltable, environment);
    return {ssem_check_idcon(check, idcon->args.compositid.nested, true, type).status, false};
}

} // namespace

bool ssem_is_optional_word(const char* name) {
    return std::strcmp(name, "SOME") == 0 || std::strcmp(name, "NONE") == 0;
}

IdCon ssem_literal_as_idcon(const Expr* literal) {
    IdCon idcon{};
    idcon.contype = IDCON_SIMPLE;
    idcon.linenumber = literal->linenumber;
    idcon.args.id.idname = literal->args.str;
    return idcon;
}

Checked ssem_check_idcon(const CheckContext& check, IdCon* idcon, int scoped, ExprType* type) {
    if (stack_is_low())
        return on_fresh_stack([&] { return ssem_check_idcon(check, idcon, scoped, type); });
    switch (idcon->contype) {
    case IDCON_SIMPLE: return check_simple(check, idcon, scoped, type);
    case IDCON_ARRAY: return check_array(check, idcon, scoped, type);
    case IDCON_COMPOSIT: return check_path(check, idcon, scoped, type);
    default: NORVANE_FAIL("Encountered invalid idcon type : %d", idcon->contype);
    }
}

} // namespace norvane
