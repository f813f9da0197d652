// Checking of a whole project: five passes over its declarations, which build the symbol table and
// end at the first error. Environments of records and optionals come from staticsem_typecon.cpp.
#include "norvane/proj/staticsem.h"

#include "norvane/base/call_guard.hpp"
#include "norvane/base/deep.hpp"
#include "norvane/base/except.h"
#include "norvane/base/items.hpp"
#include "norvane/base/progress.h"
#include "norvane/base/set.h"
#include "norvane/base/work.h"
#include "norvane/proj/proj_errors.h"
#include "poly_adaptors.h"
#include "rules_ahead.h"
#include "staticsem_internal.h"
#include "tags.h"
#include "walk.h"

namespace norvane::check {

namespace {

// Constants. The table holds only earlier constants yet, so a constant can use no other name.

// The record of a constant by its value; null after reporting a type that no constant can have.
NameData* constant_data(const Context& in, const ConstantDecl* constant) {
    const Expr* value = constant->value;
    switch (model::type_of(value)) {
    case ETYPE_BOOL:
        return symtbl_new_namedata(ND_BOOL, nullptr, nullptr, evaluate_int(in, value), 0.0, nullptr,
                                   false);
    case ETYPE_INT:
        return symtbl_new_namedata(ND_INT, nullptr, nullptr, evaluate_int(in, value), 0.0, nullptr,
                                   false);
    case ETYPE_ENUM_FLOAT:
        return symtbl_new_namedata(ND_FLOAT, nullptr, nullptr, 0, evaluate_float(in, value),
                                   nullptr, false);
    case ETYPE_STRING:
        return symtbl_new_namedata(ND_STRING, nullptr, nullptr, 0, 0.0, evaluate_string(in, value),
                                   false);
    case ETYPE_SUM:
    case ETYPE_PROD:
    case ETYPE_ARRAY:
    case ETYPE_OPTIONAL:
        fault_at(in, constant->linenumber, ERR_CONSTANT_TYPE, constant->name);
        return nullptr;
    case ETYPE_UNDEF: NORVANE_FAIL("Type of constant '%s' is undefined", constant->name);
    case ETYPE_ENUM_INTEGER:
        NORVANE_FAIL("Type of constant '%s' is enum int, which should not happen", constant->name);
    }
    NORVANE_FAIL("Invalid expression type '%d'", value->type);
}

bool check_constant(const Context& in, const ConstantDecl* constant) {
    const WorkingOn mark(WORK_CONSTANT, constant);
    const Checked checked = check_expr(in, constant->value);
    if (!checked.ok) return false;
    if (!checked.is_static)
        return fault_at(in, constant->linenumber, ERR_EXPR_NOT_STATIC, constant->name,
                        excerpt_of(constant->value).text);
    NameData* namedata = constant_data(in, constant);
    return namedata && declare(in, constant->name, namedata, constant->linenumber);
}

bool check_constants(const Context& in) {
    return model::every_item<ConstantDecl>(
        in.project->constantdecllist,
        [&](const ConstantDecl* constant) { return check_constant(in, constant); });
}

// Labels. They are entered before any type is checked, so that a bound or a record's rule may use a
// label wherever it is declared.

bool enter_labels_of(const Context& in, TypeCon* sum) {
    int index = 0;
    for (char* label : items<char>(sum->values.labels)) {
        NameData* namedata = symtbl_new_namedata(ND_LABEL, sum, nullptr, 0, 0.0, nullptr, false);
        namedata->label_index = index++;
        if (!declare(in, label, namedata, sum->linenumber)) return false;
    }
    return true;
}

bool enter_labels(const Context& in, TypeCon* typecon) {
    if (stack_is_low()) return on_fresh_stack([&] { return enter_labels(in, typecon); });
    if (typecon->contype == TC_SUM) return enter_labels_of(in, typecon);
    return model::every_child(
        typecon, [&](TypeCon* child) { return enter_labels(in, child); },
        "Invalid type constructor '%d'");
}

bool check_labels(const Context& in) {
    for (const TypeDecl* type : items<TypeDecl>(in.project->typedecllist)) {
        const WorkingOn mark(WORK_TYPE, type);
        if (!enter_labels(in, type->typecon)) return false;
    }
    for (const VarDecl* variable : items<VarDecl>(in.project->vardecllist)) {
        const WorkingOn mark(WORK_VARIABLE, variable);
        if (!enter_labels(in, variable->typecon)) return false;
    }
    return true;
}

// Types. Each may use earlier ones only.

bool check_types(const Context& in) {
    for (const TypeDecl* type : items<TypeDecl>(in.project->typedecllist)) {
        const WorkingOn mark(WORK_TYPE, type);
        PolyHash* environment = nullptr;
        if (!check_type(in, type->typecon, &environment)) return false;
        NameData* namedata =
            symtbl_new_namedata(ND_TYPE, type->typecon, environment, 0, 0.0, nullptr, false);
        if (!declare(in, type->name, namedata, type->linenumber)) return false;
    }
    return true;
}

// Variables.

// Whether a user of the product sees a value of this type: a record shows its public fields only.
// Records that show none are kept in `hidden`, since types that name each other twice, level upon
// level, would be walked as often as they have instances.
bool holds_public(const Context& in, TypeCon* typecon, PolySet* hidden) {
    if (stack_is_low()) return on_fresh_stack([&] { return holds_public(in, typecon, hidden); });
    TypeCon* real = resolved(in, typecon, typecon->linenumber);
    NORVANE_ASSERT_TEXT(real, "symtbl_lookup_typecon( project->line_info, symboltable, typecon, "
                              "&real_tc, typecon->linenumber ) == STATUS_SUCCESS");
    switch (model::kind_of(real)) {
    case TC_PROD:
        if (pset_peek(hidden, real, nullptr) == STATUS_SUCCESS) return false;
        for (const VarDecl* field : items<VarDecl>(real->values.prod.fields))
            if (field->vartype == VARTYPE_PUBLIC && holds_public(in, field->typecon, hidden))
                return true;
        pset_insert(hidden, real);
        return false;
    case TC_ARRAY: return holds_public(in, real->values.array.element, hidden);
    case TC_OPTIONAL: return holds_public(in, real->values.base, hidden);
    case TC_BOOL:
    case TC_INT:
    case TC_UBOUND_FLOAT:
    case TC_UBOUND_INTEGER:
    case TC_STRING:
    case TC_SUM:
    case TC_NAMED: return true;
    }
    return true;
}

// What the pass has found out so far.
struct Visibility {
    bool has_public;
    PolySet* hidden; // see holds_public
};

bool check_variable(const Context& in, const VarDecl* variable, Visibility* seen) {
    const WorkingOn mark(WORK_VARIABLE, variable);
    if (*variable->name == '\0') return fault_at(in, variable->linenumber, ERR_EMPTY_VAR_NAME);
    PolyHash* environment = nullptr;
    if (!check_type(in, variable->typecon, &environment)) return false;
    const bool is_public = variable->vartype == VARTYPE_PUBLIC;
    seen->has_public =
        seen->has_public || (is_public && holds_public(in, variable->typecon, seen->hidden));
    NameData* namedata = symtbl_new_namedata(ND_VARIABLE, variable->typecon, environment, 0, 0.0,
                                             nullptr, is_public);
    return declare(in, variable->name, namedata, variable->linenumber);
}

bool check_variables(const Context& in) {
    Visibility seen{false, pset_new(16, compare_addresses, nullptr, hash_address, nullptr)};
    const bool ok =
        model::every_item<VarDecl>(in.project->vardecllist, [&](const VarDecl* variable) {
            return check_variable(in, variable, &seen);
        });
    if (ok && !seen.has_public) report_error(ERR_NO_PUBLIC_VARS());
    pset_delete(seen.hidden);
    return ok && seen.has_public;
}

// Rules.

bool check_rules(const Context& in) {
    msg_report_prgs_start(MSG_PRGS_SUB_JOB, "Checking rules");
    const int job = msg_get_progress_job();
    bool ok = true;
    model::RulesAhead rules(in.symboltable, in.project->ruledecllist);
    while (const RuleDecl* rule = ok ? rules.next() : nullptr)
        ok = check_rule(in, rule);
    msg_report_prgs_stop(job, ok ? 0 : -1);
    return ok;
}

bool check_project(const Context& in) {
    return check_constants(in) && check_labels(in) && check_types(in) && check_variables(in) &&
           check_rules(in);
}

// Deletes the table of a failed check, after the environment that a loop whose body has the wrong
// type has left on its stack: it has no other owner.
void give_up(SymbolTable* symboltable) {
    while (plist_length(symboltable->local_table) > 1) {
        auto* environment = static_cast<PolyHash*>(plist_hd(symboltable->local_table));
        symtbl_pop_env(symboltable);
        symtbl_delete_symbol_table_env(environment);
    }
    symtbl_delete_symbol_table(symboltable);
}

} // namespace

} // namespace norvane::check

using namespace norvane::check;

SymbolTable* ssem_check_project(Project* project) {
    const norvane::CallGuard guard(__func__);
    NORVANE_ASSERT(project);
    SymbolTable* symboltable = symtbl_new_symbol_table();
    msg_report_prgs_start(MSG_PRGS_PROJECT, "Static semantically checking project '%s'",
                          project->name);
    const int job = msg_get_progress_job();
    if (plist_isempty(project->vardecllist)) {
        msg_report_prgs_stop(job, -1);
        norvane::report_error(ERR_NO_VARS());
        give_up(symboltable);
        return nullptr;
    }
    const bool ok = check_project({project, symboltable});
    msg_report_prgs_stop(job, ok ? 0 : -1);
    if (ok) return symboltable;
    give_up(symboltable);
    return nullptr;
}

SymbolTable* proj_static_sem_check(Project* project) {
    NORVANE_ASSERT(project);
    return ssem_check_project(project);
}
