// Expansion of rules: one flat rule for each rule of the project, and one for each rule of each
// instance of a record, with the path of the instance before the identifiers.
//
// The walk goes down the types of the variables. The path and the symbol table's stack of
// environments move in step: each part of the path that leads into a record or an optional has one
// environment on the stack, so the depth of the environment that holds a name is the number of
// parts that the name gets.
//
// All elements of an array see the same environments. So the walk is made once, for element 0, and
// makes a plan, from which the rules of the other elements are copied: a rule is simplified once
// for an array, and its names are looked up once.
#include "norvane/proj/expandrules.h"

#include <cstdlib>
#include <new>

#include "expandrules_internal.h"
#include "norvane/base/call_guard.hpp"
#include "norvane/base/deep.hpp"
#include "norvane/base/except.h"
#include "norvane/base/items.hpp"
#include "norvane/base/memory.h"
#include "norvane/base/work.h"
#include "poly_adaptors.h"
#include "rules_ahead.h"
#include "simplify_internal.h"
#include "tags.h"

namespace norvane::finite {

namespace {

// What all steps of one expansion share.
struct Expansion : Context {
    bool simplify;
    PolyList* rules; // the result
    PolyList* decls; // the declaration of each; may be null
    Prefix prefix;
};

// The part of a type that leads to rules, in the order in which they are listed: a list of items,
// or null if there are no rules. An item is a rule of a record, or a field, or all elements of an
// array.
using Plan = PolyList;

struct PlanItem {
    RuleDecl* decl; // of a rule; borrowed from the project
    Expr* rule;     // owned; without a path
    Depths depths;  // of its identifiers

    char* name;   // of a field; borrowed from the project
    int elements; // of an array; 0 for a field
    Plan* plan;   // owned; null for a rule
};

void delete_item(PlanItem* item) {
    if (stack_is_low()) return on_fresh_stack([&] { delete_item(item); });
    if (item->rule) expr_delete(item->rule);
    plist_delete(item->plan);
    item->~PlanItem();
    std::free(item);
}

PlanItem* add_item(Plan** plan) {
    if (!*plan) *plan = plist_new(nullptr, nullptr, poly<delete_item>);
    auto* item = new (util_malloc_throw(sizeof(PlanItem))) PlanItem{};
    plist_append(*plan, item);
    return item;
}

PlanItem* add_rule(Plan** plan, RuleDecl* decl, Expr* rule) {
    PlanItem* item = add_item(plan);
    item->decl = decl;
    item->rule = rule;
    return item;
}

void add_field(Plan** plan, char* name, Plan* below) {
    PlanItem* item = add_item(plan);
    item->name = name;
    item->plan = below;
}

PlanItem* add_array(Plan** plan, int elements, Plan* element) {
    PlanItem* item = add_item(plan);
    item->elements = elements;
    item->plan = element;
    return item;
}

void list_rule(const Expansion& in, Expr* rule, RuleDecl* decl) {
    plist_append(in.rules, rule);
    if (in.decls) plist_append(in.decls, decl);
}

void list_planned_rule(const Expansion& in, PlanItem* item) {
    Expr* rule = expr_copy_expr(item->rule);
    add_prefix(in.symboltable, in.prefix, &item->depths, rule);
    list_rule(in, rule, item->decl);
}

void follow_plan(Expansion& in, const Plan* plan);

// Lists the rules of the elements from `first` on.
void follow_elements(Expansion& in, const PlanItem* array, int first, WorkTurns* turns) {
    for (int i = first; i < array->elements; ++i) {
        set_index(&in.prefix, i);
        follow_plan(in, array->plan);
        turns->next();
    }
}

void follow_array(Expansion& in, const PlanItem* array) {
    WorkTurns turns(static_cast<unsigned>(array->elements));
    push_index(&in.prefix);
    follow_elements(in, array, 0, &turns);
    pop_index(&in.prefix);
}

void follow_item(Expansion& in, PlanItem* item) {
    if (item->rule) return list_planned_rule(in, item);
    if (item->elements > 0) return follow_array(in, item);
    push_part(&in.prefix, item->name);
    follow_plan(in, item->plan);
    pop_part(&in.prefix);
}

// Lists the rules of one more instance.
void follow_plan(Expansion& in, const Plan* plan) {
    if (stack_is_low()) return on_fresh_stack([&] { follow_plan(in, plan); });
    for (PlanItem* item : items<PlanItem>(plan))
        follow_item(in, item);
}

// The functions below list the rules of the instance that the path leads to. If there are `more`
// instances that see the same environments, they also make a plan for them.

Plan* expand_type(Expansion& in, TypeCon* typecon, bool more);

Expr* new_rule(const Expansion& in, const RuleDecl* decl) {
    return in.simplify ? simplify(in, decl->rule) : expr_copy_expr(decl->rule);
}

void expand_rule(Expansion& in, RuleDecl* decl, bool more, Plan** plan) {
    const WorkingOn mark(WORK_RULE, decl);
    Expr* rule = new_rule(in, decl);
    if (more) return list_planned_rule(in, add_rule(plan, decl, rule));
    add_prefix(in.symboltable, in.prefix, nullptr, rule);
    list_rule(in, rule, decl);
}

// A name on the path, and its environment, if it has one, on the stack.
void expand_name(Expansion& in, char* name, bool scoped, TypeCon* typecon, bool more, Plan** plan) {
    PolyHash* environment = nullptr;
    symtbl_lookup_env(in.project->line_info, in.symboltable, name, scoped, &environment,
                      UNDEF_LINENO);
    const check::ScopedEnv scope(in.symboltable, environment);
    push_part(&in.prefix, name);
    Plan* below = expand_type(in, typecon, more);
    pop_part(&in.prefix);
    if (below) add_field(plan, name, below);
}

void expand_variable(Expansion& in, const VarDecl* decl, bool scoped, bool more, Plan** plan) {
    const WorkingOn mark(WORK_VARIABLE, decl);
    expand_name(in, decl->name, scoped, decl->typecon, more, plan);
}

Plan* expand_record(Expansion& in, const TypeCon* typecon, bool more) {
    Plan* plan = nullptr;
    for (RuleDecl* decl : items<RuleDecl>(typecon->values.prod.rules))
        expand_rule(in, decl, more, &plan);
    for (const VarDecl* field : items<VarDecl>(typecon->values.prod.fields))
        expand_variable(in, field, true, more, &plan);
    return plan;
}

Plan* expand_array(Expansion& in, const TypeCon* typecon, bool more) {
    const int elements = check::evaluate_int(in, typecon->values.array.size);
    if (elements <= 0) return nullptr;
    WorkTurns turns(static_cast<unsigned>(elements));
    push_index(&in.prefix);
    Plan* element = expand_type(in, typecon->values.array.element, more || elements > 1);
    turns.next();
    Plan* plan = nullptr;
    if (element) {
        const PlanItem* array = add_array(&plan, elements, element);
        follow_elements(in, array, 1, &turns);
    }
    pop_index(&in.prefix);
    if (more || !plan) return plan;
    plist_delete(plan);
    return nullptr;
}

// The rules are listed although the value may be absent: a rule that depends on it tests for it.
Plan* expand_optional(Expansion& in, const TypeCon* typecon, bool more) {
    static char some[] = "SOME";
    Plan* plan = nullptr;
    expand_name(in, some, true, typecon->values.base, more, &plan);
    return plan;
}

Plan* expand_named(Expansion& in, TypeCon* typecon, bool more) {
    TypeCon* real = check::resolved(in, typecon, UNDEF_LINENO);
    if (!real) NORVANE_FAIL("Lost type constructor");
    return expand_type(in, real, more);
}

Plan* expand_type(Expansion& in, TypeCon* typecon, bool more) {
    if (stack_is_low()) return on_fresh_stack([&] { return expand_type(in, typecon, more); });
    switch (model::kind_of(typecon)) {
    case TC_BOOL:
    case TC_INT:
    case TC_UBOUND_FLOAT:
    case TC_UBOUND_INTEGER:
    case TC_STRING:
    case TC_SUM: return nullptr;
    case TC_PROD: return expand_record(in, typecon, more);
    case TC_ARRAY: return expand_array(in, typecon, more);
    case TC_NAMED: return expand_named(in, typecon, more);
    case TC_OPTIONAL: return expand_optional(in, typecon, more);
    }
    NORVANE_FAIL("Invalid typecon type '%d'", typecon->contype);
}

void expand_project(Expansion& in) {
    model::RulesAhead rules(in.symboltable, in.project->ruledecllist);
    while (RuleDecl* decl = rules.next()) {
        const WorkingOn mark(WORK_RULE, decl);
        list_rule(in, new_rule(in, decl), decl);
    }
    for (const VarDecl* variable : items<VarDecl>(in.project->vardecllist)) {
        Plan* plan = nullptr;
        expand_variable(in, variable, false, false, &plan);
    }
}

} // namespace

} // namespace norvane::finite

using namespace norvane::finite;

PolyList* proj_get_expanded_rules(Project* project, SymbolTable* symboltable, int simplify) {
    return proj_get_expanded_rules_decls(project, symboltable, simplify, nullptr);
}

PolyList* proj_get_expanded_rules_decls(Project* project, SymbolTable* symboltable, int simplify,
                                        PolyList* decls) {
    const norvane::CallGuard guard(__func__);
    NORVANE_ASSERT(project);
    NORVANE_ASSERT(symboltable);
    PolyList* rules = plist_new(nullptr, nullptr, norvane::poly<expr_delete>);
    Expansion in{{project, symboltable}, simplify != 0, rules, decls, {}};
    expand_project(in);
    return rules;
}
