// Checking of a whole project: five passes over its declarations, which build the symbol table and
// end at the first error. Environments of records and optionals come from staticsem_typecon.cpp.

#include <cstdint>

#include "norvane/base/deep.hpp"
#include "norvane/base/except.h"
#include "norvane/base/items.hpp"
#include "norvane/base/progress.h"
#include "norvane/base/set.h"
#include "norvane/proj/proj_errors.h"
#include "norvane/proj/staticsem.h"
#include "poly_adaptors.h"
#include "report.h"
#include "rules_ahead.h"
#include "staticsem_internal.h"

namespace norvane {

namespace {

// Constants. Nothing but earlier constants is in the table yet, so nothing else can be used.

// The record of a constant by its value; null after reporting a type that no constant can have.
NameData* constant_data(const CheckContext& check, const ConstantDecl* constant) {
    Expr* value = constant->value;
    switch (value->type) {
    case ETYPE_BOOL:
    case ETYPE_INT:
        return symtbl_new_namedata(
            value->type == ETYPE_BOOL ? ND_BOOL : ND_INT, nullptr, nullptr,
            ssem_static_evaluate_intexpr(check.project, check.symboltable, value), 0.0, nullptr,
            false);
    case ETYPE_ENUM_FLOAT:
        return symtbl_new_namedata(
            ND_FLOAT, nullptr, nullptr, 0,
            ssem_static_evaluate_floatexpr(check.project, check.symboltable, value), nullptr,
            false);
    case ETYPE_STRING:
        return symtbl_new_namedata(
            ND_STRING, nullptr, nullptr, 0, 0.0,
            ssem_static_evaluate_stringexpr(check.project, check.symboltable, value), false);
    case ETYPE_SUM:
    case ETYPE_PROD:
    case ETYPE_ARRAY:
    case ETYPE_OPTIONAL:
        report_error(
            ERR_CONSTANT_TYPE(ssem_position(check.project, constant->linenumber), constant->name));
        return nullptr;
    case ETYPE_UNDEF: NORVANE_FAIL("Type of constant '%s' is undefined", constant->name);
    case ETYPE_ENUM_INTEGER:
        NORVANE_FAIL("Type of constant '%s' is enum int, which should not happen", constant->name);
    default: NORVANE_FAIL("Invalid expression type '%d'", value->type);
    }
}

int check_constants(const CheckContext& check) {
    for (ConstantDecl* constant : items<ConstantDecl>(check.project->constantdecllist)) {
        const Checked checked = ssem_check(check, constant->value);
        if (checked.status != STATUS_SUCCESS) return checked.status;
        if (!checked.is_static) {
            const char* text = ssem_expr_context(check.project, constant->value).text;
            report_error(ERR_EXPR_NOT_STATIC(ssem_position(check.project, constant->linenumber),
                                             constant->name, text));
            return STATUS_FAILURE;
        }
        NameData* namedata = constant_data(check, constant);
        if (!namedata) return STATUS_FAILURE;
        const int status = ssem_declare(check, constant->name, namedata, constant->linenumber);
        if (status != STATUS_SUCCESS) return status;
    }
    return STATUS_SUCCESS;
}

// Labels. They are all entered before any type is looked at, so that a bound or a record's rule may
// use a label wherever it is declared.

int enter_labels_of(const CheckContext& check, TypeCon* sum) {
    int index = 0;
    for (char* label : items<char>(sum->values.labels)) {
        NameData* namedata = symtbl_new_namedata(ND_LABEL, sum, nullptr, 0, 0.0, nullptr, false);
        namedata->label_index = index++;
        const int status = ssem_declare(check, label, namedata, sum->linenumber);
        if (status != STATUS_SUCCESS) return status;
    }
    return STATUS_SUCCESS;
}

int enter_labels(const CheckContext& check, TypeCon* typecon) {
    if (stack_is_low()) return on_fresh_stack([&] { return enter_labels(check, typecon); });
    switch (typecon->contype) {
    case TC_SUM: return enter_labels_of(check, typecon);
    case TC_PROD:
        for (VarDecl* field : items<VarDecl>(typecon->values.prod.fields)) {
            const int status = enter_labels(check, field->typecon);
            if (status != STATUS_SUCCESS) return status;
        }
        return STATUS_SUCCESS;
    case TC_ARRAY: return enter_labels(check, typecon->values.array.element);
    case TC_OPTIONAL: return enter_labels(check, typecon->values.base);
    case TC_BOOL:
    case TC_INT:
    case TC_UBOUND_FLOAT:
    case TC_UBOUND_INTEGER:
    case TC_STRING:
    case TC_NAMED: return STATUS_SUCCESS;
    default: NORVANE_FAIL("Invalid type constructor '%d'", typecon->contype);
    }
}

int check_labels(const CheckContext& check) {
    for (TypeDecl* type : items<TypeDecl>(check.project->typedecllist)) {
        const int status = enter_labels(check, type->typecon);
        if (status != STATUS_SUCCESS) return status;
    }
    for (VarDecl* variable : items<VarDecl>(check.project->vardecllist)) {
        const int status = enter_labels(check, variable->typecon);
        if (status != STATUS_SUCCESS) return status;
    }
    return STATUS_SUCCESS;
}

// Types. Each may use earlier ones only.

int check_types(const CheckContext& check) {
    for (TypeDecl* type : items<TypeDecl>(check.project->typedecllist)) {
        PolyHash* environment = nullptr;
        int status = ssem_check_typecon(check, type->typecon, &environment);
        if (status != STATUS_SUCCESS) return status;
        NameData* namedata =
            symtbl_new_namedata(ND_TYPE, type->typecon, environment, 0, 0.0, nullptr, false);
        status = ssem_declare(check, type->name, namedata, type->linenumber);
        if (status != STATUS_SUCCESS) return status;
    }
    return STATUS_SUCCESS;
}

// Variables.

// Whether somebody can see a value of this type: a record shows its public fields only. Records
// that show nothing are kept in `hidden`: types that name each other twice, level upon level, would
// be walked as often as they have instances.
bool holds_public(const CheckContext& check, TypeCon* typecon, PolySet* hidden) {
    if (stack_is_low()) return on_fresh_stack([&] { return holds_public(check, typecon, hidden); });
    Project* project = check.project;
    SymbolTable* symboltable = check.symboltable;
    TypeCon* real_tc = nullptr;
    NORVANE_ASSERT_TEXT(symtbl_lookup_typecon(project->line_info, symboltable, typecon, &real_tc,
                                              typecon->linenumber) == STATUS_SUCCESS,
                        "symtbl_lookup_typecon( project->line_info, symboltable, typecon, "
                        "&real_tc, typecon->linenumber ) == STATUS_SUCCESS");
    switch (real_tc->contype) {
    case TC_PROD:
        if (pset_peek(hidden, real_tc, nullptr) == STATUS_SUCCESS) return false;
        for (VarDecl* field : items<VarDecl>(real_tc->values.prod.fields))
            if (field->vartype == VARTYPE_PUBLIC && holds_public(check, field->typecon, hidden))
                return true;
        pset_insert(hidden, real_tc);
        return false;
    case TC_ARRAY: return holds_public(check, real_tc->values.array.element, hidden);
    case TC_OPTIONAL: return holds_public(check, real_tc->values.base, hidden);
    default: return true;
    }
}

// What is known of the variables so far.
struct Visibility {
    bool has_public;
    PolySet* hidden; // see holds_public
};

int check_variable(const CheckContext& check, VarDecl* variable, Visibility* seen) {
    if (*variable->name == '\0') {
        report_error(ERR_EMPTY_VAR_NAME(ssem_position(check.project, variable->linenumber)));
        return STATUS_FAILURE;
    }
    PolyHash* environment = nullptr;
    const int status = ssem_check_typecon(check, variable->typecon, &environment);
    if (status != STATUS_SUCCESS) return status;
    const bool is_public = variable->vartype == VARTYPE_PUBLIC;
    seen->has_public =
        seen->has_public || (is_public && holds_public(check, variable->typecon, seen->hidden));
    NameData* namedata = symtbl_new_namedata(ND_VARIABLE, variable->typecon, environment, 0, 0.0,
                                             nullptr, is_public);
    return ssem_declare(check, variable->name, namedata, variable->linenumber);
}

int check_each_variable(const CheckContext& check, Visibility* seen) {
    for (VarDecl* variable : items<VarDecl>(check.project->vardecllist)) {
        const int status = check_variable(check, variable, seen);
        if (status != STATUS_SUCCESS) return status;
    }
    if (seen->has_public) return STATUS_SUCCESS;
    report_error(ERR_NO_PUBLIC_VARS());
    return STATUS_FAILURE;
}

int check_variables(const CheckContext& check) {
    Visibility seen{false, pset_new(16, compare_addresses, nullptr, hash_address, nullptr)};
    const int status = check_each_variable(check, &seen);
    pset_delete(seen.hidden);
    return status;
}

// Rules.

int check_rules(const CheckContext& check) {
    msg_report_prgs_start(MSG_PRGS_SUB_JOB, "Checking rules");
    const int job = msg_get_progress_job();
    int status = STATUS_SUCCESS;
    model::RulesAhead rules(check.symboltable, check.project->ruledecllist);
    while (RuleDecl* rule = rules.next()) {
        status = ssem_check_rule(check, rule->rule);
        if (status != STATUS_SUCCESS) break;
    }
    msg_report_prgs_stop(job, status == STATUS_SUCCESS ? 0 : -1);
    return status;
}

int check_project(const CheckContext& check) {
    for (const auto pass :
         {check_constants, check_labels, check_types, check_variables, check_rules}) {
        const int status = pass(check);
        if (status != STATUS_SUCCESS) return status;
    }
    return STATUS_SUCCESS;
}

// The table of a failed check. A loop whose body has the wrong type has left its environment on the
// stack, where it belongs to nobody else.
void give_up(SymbolTable* symboltable) {
    while (plist_length(symboltable->local_table) > 1) {
        auto* environment = static_cast<PolyHash*>(plist_hd(symboltable->local_table));
        symtbl_pop_env(symboltable);
        symtbl_delete_symbol_table_env(environment);
    }
    symtbl_delete_symbol_table(symboltable);
}

} // namespace

} // namespace norvane

SymbolTable* ssem_check_project(Project* project) {
    NORVANE_ASSERT(project);
    SymbolTable* symboltable = symtbl_new_symbol_table();
    msg_report_prgs_start(MSG_PRGS_PROJECT, "Static semantically checking project '%s'",
                          project->name);
    const int job = msg_get_progress_job();
    if (plist_isempty(project->vardecllist)) {
        msg_report_prgs_stop(job, -1);
        norvane::report_error(ERR_NO_VARS());
        norvane::give_up(symboltable);
        return nullptr;
    }
    const int status = norvane::check_project({project, symboltable});
    msg_report_prgs_stop(job, status == STATUS_SUCCESS ? 0 : -1);
    if (status == STATUS_SUCCESS) return symboltable;
    norvane::give_up(symboltable);
    return nullptr;
}

SymbolTable* proj_static_sem_check(Project* project) {
    NORVANE_ASSERT(project);
    return ssem_check_project(project);
}
