// Expansion of rules: one flat rule for each rule of the project, and one for each rule of each
// instance of a record, with the path of the instance in front of the identifiers.
//
// The walk goes down the types of the variables. The path and the symbol table's stack of
// environments move in step: each part of the path that leads into a record or an optional has one
// environment on the stack, and the depth of the environment that holds a name is the number of
// parts to put in front of it.
//
// All elements of an array see the same environments. So the walk is made once, for element 0, and
// what it found is kept as a plan, by which the other elements only take copies: a rule is
// simplified once for an array, and its names are looked up once.
#include "norvane/proj/expandrules.h"

#include <cstdlib>
#include <new>

#include "expandrules_internal.h"
#include "norvane/base/deep.hpp"
#include "norvane/base/except.h"
#include "norvane/base/items.hpp"
#include "norvane/base/memory.h"
#include "norvane/proj/simplify.h"
#include "norvane/proj/staticsem.h"
#include "poly_adaptors.h"
#include "rules_ahead.h"
#include "staticsem_internal.h"

namespace norvane {

namespace {

// What all steps of one expansion share.
struct Expansion {
    Project* project;
    SymbolTable* symboltable;
    bool simplify;
    PolyList* rules; // the result
    PolyList* decls; // where each came from; may be null
    Prefix prefix;
};

// What a type holds that leads to rules, in the order in which they are listed: a list of items, or
// null if there are no rules. An item is a rule of a record, or a field, or all elements of an
// array.
using Plan = PolyList;

struct PlanItem {
    RuleDecl* decl; // of a rule; borrowed from the project
    Expr* rule;     // owned; as it is before a path is put in front of it
    Depths depths;  // owned; of its identifiers

    char* name;   // of a field; borrowed from the project
    int elements; // of an array; 0 for a field
    Plan* plan;   // owned; null for a rule
};

void delete_item(PlanItem* item) {
    if (stack_is_low()) return on_fresh_stack([&] { delete_item(item); });
    if (item->rule != nullptr) expr_delete(item->rule);
    std::free(item->depths.values);
    plist_delete(item->plan);
    std::free(item);
}

PlanItem* add_item(Plan** plan, const PlanItem& content) {
    if (*plan == nullptr) *plan = plist_new(nullptr, nullptr, poly<delete_item>);
    auto* item = new (util_malloc_throw(sizeof(PlanItem))) PlanItem(content);
    plist_append(*plan, item);
    return item;
}

void list_rule(const Expansion& in, Expr* rule, RuleDecl* decl) {
    plist_append(in.rules, rule);
    if (in.decls != nullptr) plist_append(in.decls, decl);
}

void list_planned_rule(const Expansion& in, PlanItem* item) {
    Expr* rule = expr_copy_expr(item->rule);
    put_in_front(in.symboltable, in.prefix, &item->depths, rule);
    list_rule(in, rule, item->decl);
}

void follow_plan(Expansion& in, const Plan* plan);

void follow_elements(Expansion& in, const PlanItem* item, int first) {
    for (int i = first; i < item->elements; ++i) {
        set_index(&in.prefix, i);
        follow_plan(in, item->plan);
    }
}

void follow_item(Expansion& in, PlanItem* item) {
    if (item->rule != nullptr) return list_planned_rule(in, item);
    if (item->elements == 0) {
        push_part(&in.prefix, item->name);
        follow_plan(in, item->plan);
        return pop_part(&in.prefix);
    }
    push_index(&in.prefix);
    follow_elements(in, item, 0);
    pop_index(&in.prefix);
}

// Lists the rules of one more instance.
void follow_plan(Expansion& in, const Plan* plan) {
    if (stack_is_low()) return on_fresh_stack([&] { follow_plan(in, plan); });
    for (PlanItem* item : items<PlanItem>(plan))
        follow_item(in, item);
}

// The functions below list the rules of what the path leads to. If there are `more` instances that
// see the same environments, they also make a plan for them.

Plan* expand_type(Expansion& in, TypeCon* typecon, bool more);

Expr* new_rule(const Expansion& in, const RuleDecl* decl) {
    return in.simplify ? simplify_expr(in.project, in.symboltable, decl->rule)
                       : expr_copy_expr(decl->rule);
}

void expand_rule(Expansion& in, RuleDecl* decl, bool more, Plan** plan) {
    Expr* rule = new_rule(in, decl);
    if (more) return list_planned_rule(in, add_item(plan, {decl, rule, {}, nullptr, 0, nullptr}));
    put_in_front(in.symboltable, in.prefix, nullptr, rule);
    list_rule(in, rule, decl);
}

// A name on the path, and its environment, if it has one, on the stack.
void expand_name(Expansion& in, char* name, bool scoped, TypeCon* typecon, bool more, Plan** plan) {
    PolyHash* environment = nullptr;
    symtbl_lookup_env(in.project->line_info, in.symboltable, name, scoped, &environment,
                      UNDEF_LINENO);
    const ScopedEnv scope(in.symboltable, environment);
    push_part(&in.prefix, name);
    Plan* below = expand_type(in, typecon, more);
    pop_part(&in.prefix);
    if (below != nullptr) add_item(plan, {nullptr, nullptr, {}, name, 0, below});
}

Plan* expand_record(Expansion& in, const TypeCon* typecon, bool more) {
    Plan* plan = nullptr;
    for (RuleDecl* decl : items<RuleDecl>(typecon->values.prod.rules))
        expand_rule(in, decl, more, &plan);
    for (const VarDecl* field : items<VarDecl>(typecon->values.prod.fields))
        expand_name(in, field->name, true, field->typecon, more, &plan);
    return plan;
}

Plan* expand_array(Expansion& in, const TypeCon* typecon, bool more) {
    const int elements =
        ssem_static_evaluate_intexpr(in.project, in.symboltable, typecon->values.array.size);
    if (elements <= 0) return nullptr;
    push_index(&in.prefix);
    Plan* element = expand_type(in, typecon->values.array.element, more || elements > 1);
    Plan* plan = nullptr;
    if (element != nullptr) {
        follow_elements(in, add_item(&plan, {nullptr, nullptr, {}, nullptr, elements, element}), 1);
    }
    pop_index(&in.prefix);
    if (more || plan == nullptr) return plan;
    plist_delete(plan);
    return nullptr;
}

// Whether the content is there plays no part: a rule that wants to know has to ask.
Plan* expand_optional(Expansion& in, const TypeCon* typecon, bool more) {
    static char some[] = "SOME";
    Plan* plan = nullptr;
    expand_name(in, some, true, typecon->values.base, more, &plan);
    return plan;
}

Plan* expand_named(Expansion& in, TypeCon* typecon, bool more) {
    TypeCon* real = nullptr;
    if (symtbl_lookup_typecon(in.project->line_info, in.symboltable, typecon, &real,
                              UNDEF_LINENO) != STATUS_SUCCESS) {
        NORVANE_FAIL("Lost type constructor");
    }
    return expand_type(in, real, more);
}

Plan* expand_type(Expansion& in, TypeCon* typecon, bool more) {
    if (stack_is_low()) return on_fresh_stack([&] { return expand_type(in, typecon, more); });
    switch (typecon->contype) {
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
    default: NORVANE_FAIL("Invalid typecon type '%d'", typecon->contype);
    }
}

} // namespace

} // namespace norvane

PolyList* proj_get_expanded_rules(Project* project, SymbolTable* symboltable, int simplify) {
    return proj_get_expanded_rules_decls(project, symboltable, simplify, nullptr);
}

PolyList* proj_get_expanded_rules_decls(Project* project, SymbolTable* symboltable, int simplify,
                                        PolyList* decls) {
    using namespace norvane;
    NORVANE_ASSERT(project);
    NORVANE_ASSERT(symboltable);
    PolyList* rules = plist_new(nullptr, nullptr, poly<expr_delete>);
    Expansion in{project, symboltable, simplify != 0, rules, decls, {}};
    model::RulesAhead decls_ahead(symboltable, project->ruledecllist);
    while (RuleDecl* decl = decls_ahead.next())
        list_rule(in, new_rule(in, decl), decl);
    for (const VarDecl* variable : items<VarDecl>(project->vardecllist)) {
        Plan* plan = nullptr;
        expand_name(in, variable->name, false, variable->typecon, false, &plan);
    }
    delete_prefix(&in.prefix);
    return rules;
}
