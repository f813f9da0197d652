// Simplification of types and of whole projects: every type becomes a finite one whose leaves
// are booleans and subranges. An unbounded type becomes the range of the positions of its labels,
// which exporters read from the model's type.
#include "norvane/proj/simplify.h"

#include <climits>

#include "norvane/base/call_guard.hpp"
#include "norvane/base/deep.hpp"
#include "norvane/base/except.h"
#include "norvane/base/items.hpp"
#include "norvane/base/strings.h"
#include "norvane/base/work.h"
#include "rules_ahead.h"
#include "simplify_internal.h"
#include "tags.h"

namespace norvane::finite {

namespace {

TypeCon* simplify(const Context& in, TypeCon* typecon);

TypeCon* new_range(int upper, const TypeCon* source) {
    return tc_new_subrange_tc(expr_new_intconst(OPR_INTCONST, upper, UNDEF_LINENO),
                              source->linenumber);
}

TypeCon* new_range(unsigned upper, const TypeCon* source) {
    return new_range(static_cast<int>(upper), source);
}

// The number of labels of an integer type: one below the values, one for each value, and one for
// the gap after a value unless the next integer is a value too.
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

// An unbounded type that was merged into another stops, since it has neither all of its values nor
// labels.

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

VarDecl* simplify_vardecl(const Context& in, const VarDecl* vardecl, PolyHash* environment) {
    const check::ScopedEnv scope(in.symboltable, environment);
    TypeCon* typecon = simplify(in, vardecl->typecon);
    return decl_new_vardecl(str_copy(vardecl->name), vardecl->vartype, typecon,
                            vardecl->linenumber);
}

RuleDecl* simplify_rule(const Context& in, const RuleDecl* rule, const char* comment) {
    const WorkingOn mark(WORK_RULE, rule);
    Expr* expr = finite::simplify(in, rule->rule);
    return decl_new_ruledecl(expr, str_null_copy(comment), rule->linenumber);
}

// The name of a field is looked up in all environments, as in a rule.
VarDecl* simplify_field(const Context& in, const VarDecl* field) {
    const WorkingOn mark(WORK_VARIABLE, field);
    PolyHash* environment = nullptr;
    symtbl_lookup_env(in.project->line_info, in.symboltable, field->name, 0, &environment,
                      UNDEF_LINENO);
    return simplify_vardecl(in, field, environment);
}

TypeCon* simplify_record(const Context& in, const TypeCon* typecon) {
    TypeCon* result = tc_new_prod_tc(typecon->linenumber);
    for (const VarDecl* field : items<VarDecl>(typecon->values.prod.fields))
        plist_append(result->values.prod.fields, simplify_field(in, field));
    for (const RuleDecl* rule : items<RuleDecl>(typecon->values.prod.rules))
        plist_append(result->values.prod.rules, simplify_rule(in, rule, nullptr));
    return result;
}

TypeCon* simplify_array(const Context& in, const TypeCon* typecon) {
    TypeCon* element = simplify(in, typecon->values.array.element);
    Expr* size = finite::simplify(in, typecon->values.array.size);
    return tc_new_array_tc(size, element, typecon->linenumber);
}

TypeCon* simplify_named(const Context& in, TypeCon* typecon) {
    TypeCon* real = check::resolved(in, typecon, UNDEF_LINENO);
    if (!real) NORVANE_FAIL("Lost typecon for %s", typecon->values.name);
    return simplify(in, real);
}

TypeCon* simplify(const Context& in, TypeCon* typecon) {
    if (stack_is_low()) return on_fresh_stack([&] { return simplify(in, typecon); });
    NORVANE_ASSERT(typecon);
    switch (model::kind_of(typecon)) {
    case TC_BOOL: return tc_copy_typecon(typecon);
    case TC_INT:
        return tc_new_subrange_tc(finite::simplify(in, typecon->values.upper), typecon->linenumber);
    case TC_UBOUND_FLOAT: return simplify_float(typecon);
    case TC_UBOUND_INTEGER: return simplify_integer(typecon);
    case TC_STRING: return simplify_string(typecon);
    case TC_PROD: return simplify_record(in, typecon);
    case TC_SUM: return new_range(plist_length(typecon->values.labels) - 1, typecon);
    case TC_ARRAY: return simplify_array(in, typecon);
    case TC_NAMED: return simplify_named(in, typecon);
    // The value of the optional is dropped: a path through SOME has no counterpart.
    case TC_OPTIONAL: return new_range(1, typecon);
    }
    return nullptr;
}

VarDecl* simplify_variable(const Context& in, const VarDecl* vardecl) {
    const WorkingOn mark(WORK_VARIABLE, vardecl);
    PolyHash* environment = nullptr;
    const int status = symtbl_lookup_env(in.project->line_info, in.symboltable, vardecl->name, 0,
                                         &environment, UNDEF_LINENO);
    NORVANE_ASSERT_TEXT(status == STATUS_SUCCESS,
                        "symtbl_lookup_env(project->line_info, symboltable, vardecl->name, 0, "
                        "&environment, UNDEF_LINENO) == STATUS_SUCCESS");
    return simplify_vardecl(in, vardecl, environment);
}

} // namespace

} // namespace norvane::finite

using namespace norvane::finite;

TypeCon* simplify_typecon(Project* project, SymbolTable* symboltable, TypeCon* typecon) {
    const norvane::CallGuard guard(__func__);
    NORVANE_ASSERT(project);
    NORVANE_ASSERT(symboltable);
    NORVANE_ASSERT(typecon);
    return simplify({project, symboltable}, typecon);
}

Project* simplify_project(Project* project, SymbolTable* symboltable) {
    const norvane::CallGuard guard(__func__);
    NORVANE_ASSERT(project);
    NORVANE_ASSERT(symboltable);
    const Context in{project, symboltable};
    Project* result = proj_new_project(str_copy(project->name), str_null_copy(project->description),
                                       str_null_copy(project->filename));
    for (const VarDecl* vardecl : norvane::items<VarDecl>(project->vardecllist))
        proj_add_vardecl(result, simplify_variable(in, vardecl));
    norvane::model::RulesAhead rules(symboltable, project->ruledecllist);
    while (const RuleDecl* rule = rules.next())
        proj_add_ruledecl(result, simplify_rule(in, rule, rule->comment));
    return result;
}
