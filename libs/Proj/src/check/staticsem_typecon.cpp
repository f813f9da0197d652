// Checking of types: their bounds, labels and dimensions, and the fields and rules of records,
// whose names get environments here.
#include <algorithm>

#include "norvane/base/deep.hpp"
#include "norvane/base/except.h"
#include "norvane/base/items.hpp"
#include "norvane/base/work.h"
#include "norvane/proj/proj_errors.h"
#include "staticsem_internal.h"
#include "tags.h"

namespace norvane::check {

namespace {

// The largest upper bound of a range, which the tools that read checked models have bits for.
constexpr unsigned largest_bound = 0xFFFFFF;

// The field that stands for the value of an optional.
char some_name[] = "SOME";

bool check_bound(const Context& in, Expr* bound) {
    const Checked checked = check_expr(in, bound);
    if (!checked.ok) return false;
    if (bound->type != ETYPE_INT) return fault(in, bound, ERR_DOMAIN_TYPE);
    if (!checked.is_static) return fault(in, bound, ERR_DOMAIN_NOT_STATIC);
    // As an unsigned number, a negative bound is too large.
    if (static_cast<unsigned>(evaluate_int(in, bound)) > largest_bound)
        return fault(in, bound, ERR_DOMAIN_BOUND);
    return true;
}

bool check_labels(const Context& in, const TypeCon* sum) {
    if (plist_isempty(sum->values.labels)) return fault_at(in, sum->linenumber, ERR_NO_LABELS);
    for (const char* label : items<const char>(sum->values.labels)) {
        if (*label == '\0') return fault_at(in, sum->linenumber, ERR_EMPTY_LABEL_NAME);
        if (is_optional_word(label)) return fault_at(in, sum->linenumber, ERR_LABEL_RESERVED_WORD);
    }
    return true;
}

bool check_dimension(const Context& in, Expr* dimension) {
    const Checked checked = check_expr(in, dimension);
    if (!checked.ok) return false;
    if (dimension->type != ETYPE_INT) return fault(in, dimension, ERR_ARRAY_DIM);
    if (!checked.is_static) return fault(in, dimension, ERR_ARRAY_NOT_STATIC);
    return evaluate_int(in, dimension) >= 1 || fault(in, dimension, ERR_ARRAY_DIM);
}

bool check_name(const Context& in, const TypeCon* named) {
    char* name = named->values.name;
    const NameData* namedata = find_name(in, name);
    if (!namedata) return fault_at(in, named->linenumber, ERR_TYPE_UNDEF, name);
    return namedata->ndtype == ND_TYPE ||
           fault_at(in, named->linenumber, ERR_VAR_AS_TYPE_NAME, name);
}

bool check_field(const Context& in, const VarDecl* field) {
    const WorkingOn mark(WORK_VARIABLE, field);
    PolyHash* environment = nullptr;
    if (!check_type(in, field->typecon, &environment)) return false;
    NameData* namedata = symtbl_new_namedata(ND_VARIABLE, field->typecon, environment, 0, 0.0,
                                             nullptr, field->vartype == VARTYPE_PUBLIC);
    return declare(in, field->name, namedata, field->linenumber);
}

// The rules see the fields, the fields of enclosing records, and what the table holds at this
// moment; variables that are declared later are not there yet.
bool check_members(const Context& in, const TypeCon* record) {
    for (const VarDecl* field : items<VarDecl>(record->values.prod.fields))
        if (!check_field(in, field)) return false;
    for (const RuleDecl* rule : items<RuleDecl>(record->values.prod.rules))
        if (!check_rule(in, rule)) return false;
    return true;
}

bool check_record(const Context& in, const TypeCon* record, PolyHash** environment) {
    const auto fields = static_cast<int>(plist_length(record->values.prod.fields));
    PolyHash* own = symtbl_new_symbol_table_env(std::max(fields, 1));
    ScopedEnv pushed(in.symboltable, own);
    if (!check_members(in, record)) {
        pushed.own();
        return false;
    }
    *environment = own;
    return true;
}

bool check_value(const Context& in, const TypeCon* optional) {
    TypeCon* base = optional->values.base;
    PolyHash* environment = nullptr;
    if (!check_type(in, base, &environment)) return false;
    NameData* namedata = symtbl_new_namedata(ND_VARIABLE, base, environment, 0, 0.0, nullptr, true);
    return declare(in, some_name, namedata, optional->linenumber);
}

bool check_optional(const Context& in, const TypeCon* optional, PolyHash** environment) {
    PolyHash* own = symtbl_new_symbol_table_env(1);
    ScopedEnv pushed(in.symboltable, own);
    if (!check_value(in, optional)) {
        pushed.own();
        return false;
    }
    *environment = own;
    return true;
}

} // namespace

bool declare(const Context& in, char* name, NameData* namedata, unsigned linenumber) {
    if (symtbl_insert(in.project->line_info, in.symboltable, name, namedata, linenumber) ==
        STATUS_SUCCESS)
        return true;
    symtbl_delete_namedata(namedata);
    return false;
}

bool check_type(const Context& in, TypeCon* typecon, PolyHash** environment) {
    if (stack_is_low()) return on_fresh_stack([&] { return check_type(in, typecon, environment); });
    *environment = nullptr;
    switch (model::kind_of(typecon)) {
    case TC_BOOL:
    case TC_UBOUND_FLOAT:
    case TC_UBOUND_INTEGER:
    case TC_STRING: return true;
    case TC_INT: return check_bound(in, typecon->values.upper);
    case TC_SUM: return check_labels(in, typecon);
    case TC_PROD: return check_record(in, typecon, environment);
    case TC_ARRAY:
        return check_dimension(in, typecon->values.array.size) &&
               check_type(in, typecon->values.array.element, environment);
    case TC_NAMED: return check_name(in, typecon);
    case TC_OPTIONAL: return check_optional(in, typecon, environment);
    }
    NORVANE_FAIL("Enocuntered invalid type constructor type : %d", typecon->contype);
}

} // namespace norvane::check
