// Simplification of types and of whole projects: every type becomes a finite one whose leaves
// are booleans and subranges. An unbounded type becomes the range of the positions of its labels,
// which exporters read from the model's type.
#include "norvane/proj/simplify.h"

#include <climits>

#include "norvane/base/deep.hpp"
#include "norvane/base/except.h"
#include "norvane/base/items.hpp"
#include "norvane/base/strings.h"
#include "rules_ahead.h"
#include "staticsem_internal.h"

namespace norvane {

namespace {

// What all steps of one simplification share.
struct TypeSimplification {
    Project* project;
    SymbolTable* symboltable;
};

TypeCon* simplify(const TypeSimplification& in, TypeCon* typecon);

TypeCon* new_range(int upper, const TypeCon* source) {
    return tc_new_subrange_tc(expr_new_intconst(OPR_INTCONST, upper, UNDEF_LINENO),
                              source->linenumber);
}

TypeCon* new_range(unsigned upper, const TypeCon* source) {
    return new_range(static_cast<int>(upper), source);
}

// The number of labels of an integer type: one below the values, and for each value its own and,
// unless the next integer is a value too, the gap behind it.
int count_of_classes(const IntSet* values) {
    int count = 1;
    IntSetIter iter;
    iset_iter_init(&iter, values);
    int value = 0;
    while (iset_iter_next(&iter, &value)) {
        const bool is_followed = value != INT_MAX && iset_has(values, value + 1);
        count += is_followed ? 1 : 2;
    }
    return count;
}

// The three unbounded types stand for themselves here: one that was merged into another has neither
// all of its values nor labels, and stops.

TypeCon* simplify_float(TypeCon* typecon) {
    NORVANE_ASSERT(typecon->p == typecon);
    tc_create_float_intervals(typecon);
    return new_range(2 * pset_size(typecon->values.enum_float.float_set), typecon);
}

TypeCon* simplify_integer(TypeCon* typecon) {
    NORVANE_ASSERT(typecon->p == typecon);
    tc_create_integer_intervals(typecon);
    return new_range(count_of_classes(typecon->values.enum_int.int_set) - 1, typecon);
}

TypeCon* simplify_string(TypeCon* typecon) {
    NORVANE_ASSERT(typecon->p == typecon);
    tc_create_string_hash(typecon);
    return new_range(pset_size(typecon->values.enum_string.string_set), typecon);
}

VarDecl* simplify_vardecl(const TypeSimplification& in, const VarDecl* vardecl,
                          PolyHash* environment) {
    const ScopedEnv scope(in.symboltable, environment);
    TypeCon* typecon = simplify(in, vardecl->typecon);
    return decl_new_vardecl(str_copy(vardecl->name), vardecl->vartype, typecon,
                            vardecl->linenumber);
}

// The fields, then the rules. The names of the fields are looked up everywhere, as rules do.
TypeCon* simplify_record(const TypeSimplification& in, const TypeCon* typecon) {
    TypeCon* result = tc_new_prod_tc(typecon->linenumber);
    for (const VarDecl* field : items<VarDecl>(typecon->values.prod.fields)) {
        PolyHash* environment = nullptr;
        symtbl_lookup_env(in.project->line_info, in.symboltable, field->name, 0, &environment,
                          UNDEF_LINENO);
        plist_append(result->values.prod.fields, simplify_vardecl(in, field, environment));
    }
    for (const RuleDecl* rule : items<RuleDecl>(typecon->values.prod.rules)) {
        Expr* expr = simplify_expr(in.project, in.symboltable, rule->rule);
        plist_append(result->values.prod.rules, decl_new_ruledecl(expr, nullptr, rule->linenumber));
    }
    return result;
}

TypeCon* simplify_array(const TypeSimplification& in, const TypeCon* typecon) {
    TypeCon* element = simplify(in, typecon->values.array.element);
    Expr* size = simplify_expr(in.project, in.symboltable, typecon->values.array.size);
    return tc_new_array_tc(size, element, typecon->linenumber);
}

TypeCon* simplify_named(const TypeSimplification& in, TypeCon* typecon) {
    TypeCon* real = nullptr;
    if (symtbl_lookup_typecon(in.project->line_info, in.symboltable, typecon, &real,
                              UNDEF_LINENO) != STATUS_SUCCESS) {
        NORVANE_FAIL("Lost typecon for %s", typecon->values.name);
    }
    return simplify(in, real);
}

TypeCon* simplify(const TypeSimplification& in, TypeCon* typecon) {
    if (stack_is_low()) return on_fresh_stack([&] { return simplify(in, typecon); });
    NORVANE_ASSERT(typecon);
    switch (typecon->contype) {
    case TC_BOOL: return tc_copy_typecon(typecon);
    case TC_INT:
        return tc_new_subrange_tc(simplify_expr(in.project, in.symboltable, typecon->values.upper),
                                  typecon->linenumber);
    case TC_UBOUND_FLOAT: return simplify_float(typecon);
    case TC_UBOUND_INTEGER: return simplify_integer(typecon);
    case TC_STRING: return simplify_string(typecon);
    case TC_PROD: return simplify_record(in, typecon);
    case TC_SUM: return new_range(plist_length(typecon->values.labels) - 1, typecon);
    case TC_ARRAY: return simplify_array(in, typecon);
    case TC_NAMED: return simplify_named(in, typecon);
    // What is inside is dropped: a path through SOME has no counterpart.
    case TC_OPTIONAL: return new_range(1, typecon);
    default: return nullptr;
    }
}

} // namespace

} // namespace norvane

TypeCon* simplify_typecon(Project* project, SymbolTable* symboltable, TypeCon* typecon) {
    NORVANE_ASSERT(project);
    NORVANE_ASSERT(symboltable);
    NORVANE_ASSERT(typecon);
    return norvane::simplify({project, symboltable}, typecon);
}

Project* simplify_project(Project* project, SymbolTable* symboltable) {
    using namespace norvane;
    NORVANE_ASSERT(project);
    NORVANE_ASSERT(symboltable);
    const TypeSimplification in{project, symboltable};
    Project* result = proj_new_project(str_copy(project->name), str_null_copy(project->description),
                                       str_null_copy(project->filename));
    for (const VarDecl* vardecl : items<VarDecl>(project->vardecllist)) {
        PolyHash* environment = nullptr;
        NORVANE_ASSERT(symtbl_lookup_env(project->line_info, symboltable, vardecl->name, 0,
                                         &environment, UNDEF_LINENO) == STATUS_SUCCESS);
        proj_add_vardecl(result, simplify_vardecl(in, vardecl, environment));
    }
    model::RulesAhead rules(symboltable, project->ruledecllist);
    while (const RuleDecl* rule = rules.next()) {
        Expr* expr = simplify_expr(project, symboltable, rule->rule);
        proj_add_ruledecl(result,
                          decl_new_ruledecl(expr, str_null_copy(rule->comment), rule->linenumber));
    }
    return result;
}
