// The walk over a checked model: types as they are declared, then variables, then rules, with the
// records and loops around each expression.
#include "find_warnings.h"

#include <algorithm>
#include <cstring>
#include <unordered_set>
#include <utility>

#include "norvane/base/deep.hpp"

#include "finder.h"

namespace norvane::driver {
namespace {

// Which results a declared type is part of.
enum Use : unsigned { unused = 0, by_rules = 1, by_simplify = 2 };

class Walk {
  public:
    Walk(const CheckedModel& model, const Selection& selection)
        : model_(model), finder_(model.get(), model.table(), selection), names_(finder_.names),
          wants_habits_(wants_any({Warning::constant_rule, Warning::unasked_optional,
                                   Warning::unused_name, Warning::unused_private})) {}

    void run();
    // In the order of the source.
    std::vector<Warned> found() { return std::move(finder_.found); }

  private:
    bool wants_any(std::initializer_list<Warning> warnings) const {
        return std::ranges::any_of(warnings, [this](Warning w) { return finder_.wants(w); });
    }
    void mark_used(TypeCon* typecon, unsigned use);

    void walk_constant(const ConstantDecl* constant);
    const void* declared_optional() const;
    void walk_type(TypeCon* typecon);
    void walk_record(const TypeCon* record);
    void walk_rule(const RuleDecl* rule);
    void walk_named(const TypeCon* typecon);
    void walk_dimension(const TypeCon* array);
    void walk_bound(const Expr* expr, bool on_rules);

    // Tests for leaves inline, since most nodes are leaves.
    void walk(const Expr* expr) {
        if (!says_nothing(expr)) walk_node(expr);
    }
    bool says_nothing(const Expr* expr) const;
    void walk_node(const Expr* expr);
    void walk_evaluated(const Expr* expr);
    void walk_binary(const Expr* expr);
    void walk_conditional(const Expr* expr);
    void walk_loop(const Expr* expr);
    void walk_case(const Expr* expr);
    void walk_idcon(const IdCon* idcon, const About& about);

    void note_asked(const Expr* side);
    void note_name(const IdCon* idcon);
    void note_free(const char* name);
    void report_unasked();
    void report_unused();
    void report_unused_fields(const TypeCon* typecon);

    const CheckedModel& model_;
    Finder finder_;
    Names& names_;
    const bool wants_habits_;
    std::unordered_map<std::string_view, unsigned> uses_; // of declared types
    // The constants that a declared type names, and whether the flat rules depend on them.
    using FreeNames = std::unordered_map<std::string_view, bool>;
    std::unordered_map<std::string_view, FreeNames> free_names_;
    FreeNames* free_ = nullptr; // of the type that is being walked

    std::unordered_set<std::string_view> used_names_;
    bool compares_wholes_ = false;          // so that a field may be used without being named
    bool names_variable_ = false;           // the rule does
    std::unordered_set<std::string> asked_; // optionals, in this rule
    struct Use_ {
        std::string optional;
        About about;
    };
    std::vector<Use_> taken_; // values of optionals, in this rule
};

// A type is part of the results if a variable has it; that of an optional only of the flat rules.
void Walk::mark_used(TypeCon* typecon, unsigned use) {
    if (stack_is_low()) return on_fresh_stack([&] { mark_used(typecon, use); });
    switch (kind_of(typecon)) {
    case TC_INT: {
        const auto bound = known_value(names_, typecon->values.upper);
        finder_.smallest_bound = std::min(finder_.smallest_bound, bound ? bound->value : 0);
        return;
    }
    case TC_PROD:
        for (const VarDecl* field : items<VarDecl>(typecon->values.prod.fields))
            mark_used(field->typecon, use);
        return;
    case TC_ARRAY: return mark_used(typecon->values.array.element, use);
    case TC_OPTIONAL: return mark_used(typecon->values.base, use & by_rules);
    case TC_NAMED: {
        unsigned& known = uses_[typecon->values.name];
        if ((known | use) == known) return;
        known |= use;
        const NameData* type = names_.global(typecon->values.name);
        if (type && type->ndtype == ND_TYPE) mark_used(type->typecon, use);
        return;
    }
    case TC_BOOL:
    case TC_UBOUND_FLOAT:
    case TC_UBOUND_INTEGER:
    case TC_STRING:
    case TC_SUM: return;
    }
}

void Walk::run() {
    const Model& model = model_.model();
    for (const VarDecl* variable : model.variables())
        mark_used(variable->typecon, by_rules | by_simplify);
    if (wants_habits_)
        for (const ConstantDecl* constant : model.constants())
            walk_constant(constant);
    for (const TypeDecl* type : model.types()) {
        const unsigned use = uses_[type->name];
        finder_.at = {};
        finder_.at.in_type = true;
        finder_.at.declaration = type;
        finder_.at.on_rules = (use & by_rules) != 0;
        finder_.at.on_simplify = (use & by_simplify) != 0;
        free_ = &free_names_[type->name];
        walk_type(type->typecon);
    }
    free_ = nullptr;
    finder_.at = {};
    for (const VarDecl* variable : model.variables()) {
        finder_.at.declaration = variable;
        walk_type(variable->typecon);
    }
    for (const RuleDecl* rule : model.rules())
        walk_rule(rule);
    if (wants_habits_) report_unused();
    std::ranges::stable_sort(finder_.found, {},
                             [](const Warned& warned) { return warned.node.linenumber; });
}

void Walk::walk_constant(const ConstantDecl* constant) {
    finder_.at.declaration = constant;
    finder_.at.root = constant->value;
    walk_evaluated(constant->value);
    finder_.at = {};
}

// The field or variable whose type the walk is in, as rules name it.
const void* Walk::declared_optional() const {
    if (!names_.frames.empty()) return finder_.at.declaration;
    if (finder_.at.in_type) return nullptr;
    return names_.global(static_cast<const VarDecl*>(finder_.at.declaration)->name);
}

void Walk::walk_type(TypeCon* typecon) {
    if (stack_is_low()) return on_fresh_stack([&] { walk_type(typecon); });
    switch (kind_of(typecon)) {
    case TC_INT: return walk_bound(typecon->values.upper, false);
    case TC_SUM:
        if (typecon->values.labels->len == 1)
            finder_.add(
                Warning::single_label, typecon,
                "this enumeration has the one label '" +
                    std::string(static_cast<const char*>(plist_hd(typecon->values.labels))) + "'",
                "");
        return;
    case TC_ARRAY: walk_dimension(typecon); return walk_type(typecon->values.array.element);
    case TC_OPTIONAL: {
        const Surroundings before = finder_.at;
        const bool on_simplify =
            before.optional ? before.optional->on_simplify : before.on_simplify;
        AroundOptional optional{typecon->values.base, names_.frames.size(), before.optional,
                                declared_optional(), on_simplify};
        finder_.at.optional = &optional;
        finder_.at.on_simplify = false;
        walk_type(typecon->values.base);
        check_contradiction(finder_, optional);
        finder_.at = before;
        return;
    }
    case TC_PROD: return walk_record(typecon);
    case TC_NAMED: return walk_named(typecon);
    case TC_BOOL:
    case TC_UBOUND_FLOAT:
    case TC_UBOUND_INTEGER:
    case TC_STRING: return;
    }
}

void Walk::walk_record(const TypeCon* record) {
    names_.frames.push_back({record, 0});
    const std::size_t own = names_.frames.size() - 1;
    for (const VarDecl* field : items<VarDecl>(record->values.prod.fields)) {
        check_field(finder_, field);
        const void* around = std::exchange(finder_.at.declaration, field);
        walk_type(field->typecon);
        finder_.at.declaration = around;
        ++names_.frames[own].visible;
    }
    for (const RuleDecl* rule : items<RuleDecl>(record->values.prod.rules))
        walk_rule(rule);
    names_.frames.pop_back();
}

// A record around may have fields that are named like the constants of the type.
void Walk::walk_named(const TypeCon* typecon) {
    const char* name = typecon->values.name;
    if (wants_habits_) used_names_.insert(name);
    if (names_.frames.empty() && !free_) return;
    const auto free = free_names_.find(name);
    if (free == free_names_.end()) return;
    const Surroundings before = finder_.at;
    for (const auto& [constant, on_rules] : free->second) {
        std::size_t frame = 0;
        const std::string text(constant);
        if (free_ && !names_.finite_field(text.c_str(), &frame)) (*free_)[constant] |= on_rules;
        finder_.at.on_rules = before.on_rules && on_rules;
        if (!names_.finite_field(text.c_str(), &frame)) continue;
        finder_.add(Warning::captured_name, typecon,
                    "'" + text + "' is a constant in the type '" + name +
                        "', but a field of the record "
                        "around it in the finite form",
                    "rename one of them");
    }
    finder_.at = before;
}

// `on_rules` is false for an upper bound, which only the finite form contains, and true for a
// dimension, which flat rules depend on too.
void Walk::walk_bound(const Expr* expr, bool on_rules) {
    if (expr->structure == EXPR_INT_CONST) return;
    const Surroundings before = finder_.at;
    finder_.at.on_rules = on_rules;
    finder_.at.root = expr;
    walk_evaluated(expr);
    finder_.at = before;
}

// In the finite form a dimension sees the fields of the array's elements.
void Walk::walk_dimension(const TypeCon* array) {
    if (array->values.array.size->structure == EXPR_INT_CONST) return;
    TypeCon* element = names_.real(array->values.array.element);
    while (element && element->contype == TC_ARRAY)
        element = names_.real(element->values.array.element);
    const bool is_record = element && element->contype == TC_PROD;
    if (is_record) names_.frames.push_back({element, 0});
    walk_bound(array->values.array.size, finder_.at.on_rules);
    if (is_record) names_.frames.pop_back();
}

void Walk::walk_rule(const RuleDecl* rule) {
    const Surroundings before = finder_.at;
    finder_.at.in_rule = true;
    finder_.at.declaration = rule;
    finder_.at.root = rule->rule;
    names_variable_ = false;
    walk(rule->rule);
    if (wants_habits_ && !names_variable_)
        finder_.add(Warning::constant_rule, rule->rule, "this rule names no variable", "");
    if (wants_habits_) report_unasked();
    finder_.at = before;
}

// Expressions.

void Walk::walk_evaluated(const Expr* expr) {
    const bool before = finder_.at.is_evaluated;
    finder_.at.is_evaluated = true;
    walk(expr);
    finder_.at.is_evaluated = before;
}

// Constants, and simple names outside of all records and declared types.
inline bool Walk::says_nothing(const Expr* expr) const {
    if (is_name(expr))
        return expr->args.idcon->contype == IDCON_SIMPLE && names_.frames.empty() && !free_ &&
               !wants_habits_;
    return expr->structure == EXPR_INT_CONST || expr->structure == EXPR_STRING_CONST ||
           expr->structure == EXPR_FLOAT_CONST;
}

void Walk::walk_node(const Expr* expr) {
    if (stack_is_low()) return on_fresh_stack([&] { walk_node(expr); });
    switch (structure_of(expr)) {
    case EXPR_BINARY: return walk_binary(expr);
    case EXPR_UNARY:
        if (expr->opr == OPR_ORDER) check_order(finder_, expr);
        return walk(expr->args.arg);
    case EXPR_IDCONSTRUCTOR: return walk_idcon(expr->args.idcon, expr);
    case EXPR_ITE: return walk_conditional(expr);
    case EXPR_RANGE: return walk_loop(expr);
    case EXPR_CASE: return walk_case(expr);
    case EXPR_INT_CONST:
    case EXPR_STRING_CONST:
    case EXPR_FLOAT_CONST: return;
    }
}

// The value that an unbounded variable is compared with is evaluated.
void Walk::walk_binary(const Expr* expr) {
    const Expr* left = expr->args.binargs.leftarg;
    const Expr* right = expr->args.binargs.rightarg;
    if (left->type == ETYPE_INT && right->type == ETYPE_INT) check_constants(finder_, expr);
    if (!is_comparison(expr)) {
        walk(left);
        return walk(right);
    }
    check_comparison(finder_, expr);
    check_ranges(finder_, expr);
    compares_wholes_ |= left->type == ETYPE_PROD || left->type == ETYPE_ARRAY;
    const bool is_static = is_unbounded(left->type) || is_unbounded(right->type);
    const auto walk_side = [&](const Expr* side) {
        if (is_static && !is_name(side)) return walk_evaluated(side);
        walk(side);
    };
    if (wants_habits_ && left->type == ETYPE_OPTIONAL) {
        note_asked(left);
        note_asked(right);
    }
    walk_side(left);
    walk_side(right);
}

// A branch that is never taken leaves nothing in the finite form.
void Walk::walk_conditional(const Expr* expr) {
    const auto& ite = expr->args.ite;
    walk(ite.logictest);
    const auto known = known_value(names_, ite.logictest);
    if (!known || known->value != 0) walk(ite.trueexpr);
    if (!known || known->value == 0) walk(ite.falseexpr);
}

void Walk::walk_loop(const Expr* expr) {
    const auto& range = expr->args.range;
    walk_evaluated(range.rangebegin);
    walk_evaluated(range.rangeend);
    check_loop(finder_, expr);
    names_.loops.push_back({expr});
    walk(range.lambdaexpr);
    if (wants_habits_ && !names_.loops.back().is_used)
        finder_.add(
            Warning::unused_name, expr,
            "the variable '" + std::string(range.lambdavar) + "' of this loop is used nowhere", "");
    names_.loops.pop_back();
}

void Walk::walk_case(const Expr* expr) {
    const auto& of = expr->args.caseexpr;
    walk_idcon(of.casevar, About(of.casevar, expr->linenumber));
    check_selector(finder_, expr);
    check_arms(finder_, expr);
    if (wants_habits_) asked_.insert(text_of(of.casevar));
    for (const Expr* condition : items<Expr>(of.exprlist_condition))
        walk(condition);
    for (const Expr* evaluation : items<Expr>(of.exprlist_evaluation))
        walk(evaluation);
    walk(of.default_expr);
}

void Walk::walk_idcon(const IdCon* idcon, const About& about) {
    check_name(finder_, base_name(idcon), about);
    if (free_) note_free(base_name(idcon));
    if (wants_habits_) {
        note_name(idcon);
        if (idcon->contype == IDCON_COMPOSIT) {
            const std::string text = text_of(idcon);
            const std::size_t at = text.find(".SOME");
            if (at != std::string::npos) taken_.push_back({text.substr(0, at), about});
        }
    }
    for (const IdCon* rest = idcon; rest;) {
        const IdCon* step = head_of(rest);
        if (step->contype == IDCON_ARRAY)
            for (const Expr* index : items<Expr>(step->args.array.exprlist))
                walk_evaluated(index);
        rest = rest->contype == IDCON_COMPOSIT ? rest->args.compositid.nested : nullptr;
    }
}

// What is declared and not used.

void Walk::note_asked(const Expr* side) {
    if (is_name(side)) asked_.insert(text_of(side->args.idcon));
}

void Walk::note_free(const char* name) {
    const Names::Meaning meaning = names_.meaning_of(name);
    if (!meaning.global || meaning.global->ndtype > ND_STRING) return;
    bool& on_rules = (*free_)[name];
    on_rules = on_rules || finder_.at.on_rules;
}

void Walk::note_name(const IdCon* idcon) {
    const Names::Meaning meaning = names_.meaning_of(base_name(idcon));
    if (meaning.loop) {
        meaning.loop->is_used = true;
        return;
    }
    names_variable_ |= meaning.field || (meaning.global && meaning.global->ndtype == ND_VARIABLE);
    for (const IdCon* rest = idcon; rest;) {
        used_names_.insert(base_name(rest));
        rest = rest->contype == IDCON_COMPOSIT ? rest->args.compositid.nested : nullptr;
    }
}

void Walk::report_unasked() {
    for (const Use_& use : taken_)
        if (!asked_.contains(use.optional))
            finder_.add(Warning::unasked_optional, use.about,
                        "the value of '" + use.optional +
                            "' is used, but the rule does not ask whether it "
                            "is there",
                        "write " + use.optional + " = SOME -> ...");
    asked_.clear();
    taken_.clear();
}

void Walk::report_unused_fields(const TypeCon* typecon) {
    if (stack_is_low()) return on_fresh_stack([&] { report_unused_fields(typecon); });
    if (TypeCon* held = held_type(typecon)) return report_unused_fields(held);
    if (typecon->contype != TC_PROD) return;
    for (const VarDecl* field : items<VarDecl>(typecon->values.prod.fields)) {
        if (field->vartype == VARTYPE_PRIVATE && !used_names_.contains(field->name))
            finder_.add(Warning::unused_private, About(field, field->linenumber),
                        "the private field '" + std::string(field->name) + "' is in no rule", "");
        report_unused_fields(field->typecon);
    }
}

void Walk::report_unused() {
    const auto report = [&](const About& about, const char* kind, const char* name) {
        if (!used_names_.contains(name))
            finder_.add(Warning::unused_name, about,
                        "the " + std::string(kind) + " '" + name + "' is used nowhere", "");
    };
    for (const ConstantDecl* constant : model_.model().constants())
        report({constant, constant->linenumber}, "constant", constant->name);
    for (const TypeDecl* type : model_.model().types()) {
        report({type, type->linenumber}, "type", type->name);
        if (!compares_wholes_) report_unused_fields(type->typecon);
    }
    for (const VarDecl* variable : model_.model().variables()) {
        if (variable->vartype == VARTYPE_PRIVATE && !used_names_.contains(variable->name))
            finder_.add(Warning::unused_private, About(variable, variable->linenumber),
                        "the private variable '" + std::string(variable->name) + "' is in no rule",
                        "");
        if (!compares_wholes_) report_unused_fields(variable->typecon);
    }
}

} // namespace

std::vector<Warned> find_warnings(const CheckedModel& model, const Selection& selection) {
    Walk walk(model, selection);
    in_frame([&walk] { walk.run(); });
    return walk.found();
}

} // namespace norvane::driver
