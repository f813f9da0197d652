// Where the finite form does not mean what the source means.
#include <cmath>
#include <cstring>
#include <unordered_set>
#include <utility>

#include "norvane/base/deep.hpp"

#include "finder.h"

namespace norvane::driver {
namespace {

constexpr const char* rename = "rename one of them";

const char* noun_of(const Names::Meaning& meaning) {
    if (meaning.field) return "field";
    if (!meaning.global) return "name";
    return meaning.global->ndtype == ND_VARIABLE ? "variable" : "constant";
}

void add_captured(Finder& finder, const char* name, const Names::Meaning& meaning,
                  const Field* field, const About& about) {
    Finding* finding =
        finder.add(Warning::captured_name, about,
                   "'" + std::string(name) + "' is the " + noun_of(meaning) + " '" + name +
                       "' for the check, but the field '" + name + "' in the finite form",
                   rename);
    if (!finding) return;
    finding->notes.push_back({line_of(finder.names.project(), field->decl->linenumber),
                              "the field is declared here, after its name is used"});
}

bool is_variable(const NameData* global) {
    return global && global->ndtype == ND_VARIABLE;
}

// The presence of an optional is a part of the finite form, though its content is not.
void add_optional_rule(Finder& finder, const AroundOptional& optional, bool is_certain,
                       const About& about, std::string message, std::string hint) {
    const bool before = std::exchange(finder.at.on_simplify, optional.on_simplify);
    const Finding* added =
        finder.add(Warning::optional_rule, about, std::move(message), std::move(hint));
    finder.at.on_simplify = before;
    if (added && !is_certain)
        finder.found.back().on_rules = finder.found.back().on_simplify = false;
}

void check_outside(Finder& finder, const char* name, const Names::Meaning& meaning,
                   const About& about) {
    if (!meaning.field && !is_variable(meaning.global)) return;
    const auto* rule = static_cast<const RuleDecl*>(finder.at.declaration);
    for (AroundOptional* around = finder.at.optional; around; around = around->next) {
        if (meaning.frame > around->outside) continue;
        const auto& rules = restriction_of(finder.names, *around).rules;
        const auto found = rules.find(rule);
        if (found == rules.end()) continue;
        return add_optional_rule(finder, *around, found->second, about,
                                 "this rule of an optional record restricts '" + std::string(name) +
                                     "' also while the record is absent",
                                 "write the rule outside of the record, after a question such "
                                 "as x = SOME");
    }
}

// Types that name each other may have more parts than memory has bytes, so each is looked into
// once.
bool holds_optional(Names& names, TypeCon* typecon, std::unordered_set<const TypeCon*>& seen) {
    if (stack_is_low()) return on_fresh_stack([&] { return holds_optional(names, typecon, seen); });
    typecon = names.real(typecon);
    if (!typecon || !seen.insert(typecon).second) return false;
    switch (kind_of(typecon)) {
    case TC_OPTIONAL: return true;
    case TC_ARRAY: return holds_optional(names, typecon->values.array.element, seen);
    case TC_PROD:
        for (const VarDecl* field : items<VarDecl>(typecon->values.prod.fields))
            if (holds_optional(names, field->typecon, seen)) return true;
        return false;
    case TC_BOOL:
    case TC_INT:
    case TC_UBOUND_FLOAT:
    case TC_UBOUND_INTEGER:
    case TC_STRING:
    case TC_SUM:
    case TC_NAMED: break;
    }
    return false;
}

// Two values of one type that is not simple.
void check_whole(Finder& finder, const IdCon* left, const IdCon* right, const About& about) {
    if (is_optional_word(left) || is_optional_word(right)) return;
    std::unordered_set<const TypeCon*> seen;
    if (!holds_optional(finder.names, finder.names.type_of(left), seen)) return;
    const std::string left_text = text_of(left);
    const std::string right_text = text_of(right);
    if (left_text == right_text) return;
    finder.add(
        Warning::optional_equality, about,
        "'" + left_text + "' and '" + right_text +
            "' are compared by whether their optionals are there, and not by what these hold",
        "compare the parts one by one");
}

void check_number(Finder& finder, const Expr* value, const IdCon* variable, const About& about) {
    const auto known = known_value(finder.names, value);
    if (!known || !std::isnan(known->value)) return;
    finder.add(Warning::not_a_number, about,
               "'" + text_of(variable) + "' is compared with a value that is not a number",
               "correct the calculation of the value");
}

void check_float(Finder& finder, const Expr* value, const Expr* variable, const About& about) {
    if (is_name(variable)) check_number(finder, value, variable->args.idcon, about);
}

bool names_loop(const Expr* expr, const char* variable);

bool any_names_loop(const PolyList* exprs, const char* variable) {
    for (const Expr* expr : items<Expr>(exprs))
        if (names_loop(expr, variable)) return true;
    return false;
}

// Whether an index depends on the variable of a loop.
bool names_loop(const Expr* expr, const char* variable) {
    if (stack_is_low()) return on_fresh_stack([&] { return names_loop(expr, variable); });
    const auto& args = expr->args;
    switch (structure_of(expr)) {
    case EXPR_BINARY:
        return names_loop(args.binargs.leftarg, variable) ||
               names_loop(args.binargs.rightarg, variable);
    case EXPR_UNARY: return names_loop(args.arg, variable);
    case EXPR_IDCONSTRUCTOR: return std::strcmp(base_name(args.idcon), variable) == 0;
    case EXPR_ITE:
        return names_loop(args.ite.logictest, variable) ||
               names_loop(args.ite.trueexpr, variable) || names_loop(args.ite.falseexpr, variable);
    case EXPR_RANGE:
        return names_loop(args.range.rangebegin, variable) ||
               names_loop(args.range.rangeend, variable) ||
               (std::strcmp(args.range.lambdavar, variable) != 0 &&
                names_loop(args.range.lambdaexpr, variable));
    case EXPR_CASE:
        return std::strcmp(base_name(args.caseexpr.casevar), variable) == 0 ||
               any_names_loop(args.caseexpr.exprlist_condition, variable) ||
               any_names_loop(args.caseexpr.exprlist_evaluation, variable) ||
               names_loop(args.caseexpr.default_expr, variable);
    case EXPR_INT_CONST:
    case EXPR_STRING_CONST:
    case EXPR_FLOAT_CONST: break;
    }
    return false;
}

bool has_one_turn(Names& names, const Expr* range) {
    const auto lower = known_value(names, range->args.range.rangebegin);
    const auto upper = known_value(names, range->args.range.rangeend);
    return lower && upper && lower->value == upper->value;
}

// The index of a string that is compared is copied, and evaluated when the innermost loop around it
// is closed, with the last value of that loop's variable.
void check_text_index(Finder& finder, const Expr* index, const IdCon* idcon, const About& about) {
    if (index->structure == EXPR_INT_CONST) return;
    if (finder.names.loops.empty()) {
        const auto known = known_value(finder.names, index);
        if (known && known->is_literal) return;
        finder.add(Warning::text_index, about,
                   "the index of the string '" + text_of(idcon) + "' stays as it is written",
                   "write the number");
        return;
    }
    const Expr* loop = finder.names.loops.back().range;
    if (!names_loop(index, loop->args.range.lambdavar)) return;
    if (has_one_turn(finder.names, loop)) return;
    finder.add(Warning::text_in_loop, about,
               "each turn of the loop looks at '" + text_of(idcon) + "' of the last turn",
               "write the comparisons one by one, without the loop");
}

void check_text(Finder& finder, const Expr* expr) {
    if (!is_name(expr)) return;
    const About about(expr);
    const IdCon* idcon = expr->args.idcon;
    for (const IdCon* rest = idcon; rest;) {
        const IdCon* step = head_of(rest);
        if (step->contype == IDCON_ARRAY)
            for (const Expr* index : items<Expr>(step->args.array.exprlist))
                check_text_index(finder, index, idcon, about);
        rest = rest->contype == IDCON_COMPOSIT ? rest->args.compositid.nested : nullptr;
    }
}

// A text that is compared with an enumeration stands for the label or variable that it spells.
void check_spelled(Finder& finder, const Expr* text, const About& about) {
    const char* name = text->args.str;
    check_name(finder, name, about);
    const Names::Meaning meaning = finder.names.meaning_of(name);
    if (finder.names.loops.empty() || !(meaning.field || is_variable(meaning.global))) return;
    finder.add(Warning::unsupported, about,
               "the text \"" + std::string(name) +
                   "\" in a loop names a variable, which is not supported",
               "write the name without quotes");
}

void check_sum(Finder& finder, const Expr* left, const Expr* right, const About& about) {
    if (left->structure == EXPR_STRING_CONST) check_spelled(finder, left, about);
    if (right->structure == EXPR_STRING_CONST) check_spelled(finder, right, about);
    if (!is_name(left) || !is_name(right) || left->type == right->type) return;
    check_text(finder, left->type == ETYPE_STRING ? left : right);
    check_typed_name(finder, left->args.idcon, about);
    check_typed_name(finder, right->args.idcon, about);
}

} // namespace

void check_name(Finder& finder, const char* name, const About& about) {
    if (finder.names.frames.empty()) return;
    std::size_t frame = 0;
    const Field* field = finder.names.finite_field(name, &frame);
    const bool is_seen = field && field->index < finder.names.frames[frame - 1].visible;
    const AroundOptional* optional = finder.at.optional;
    const bool may_be_outside =
        optional && finder.at.in_rule && !(is_seen && frame > optional->outside);
    if ((!field || is_seen) && !may_be_outside) return;
    const Names::Meaning meaning = finder.names.meaning_of(name);
    if (meaning.loop) return;
    if (field && !is_seen) add_captured(finder, name, meaning, field, about);
    if (may_be_outside) check_outside(finder, name, meaning, about);
}

void check_contradiction(Finder& finder, AroundOptional& optional) {
    const RuleDecl* rule = restriction_of(finder.names, optional).contradiction;
    if (!rule) return;
    const Surroundings before = finder.at;
    finder.at.declaration = rule;
    finder.at.root = rule->rule;
    add_optional_rule(finder, optional, true, rule->rule,
                      "no values of the fields satisfy the rules of this optional record, which "
                      "hold also while it is absent",
                      "correct the rules of the record");
    finder.at = before;
}

// Warns of a name in a type whose meaning changes in the finite form.
void check_typed_name(Finder& finder, const IdCon* idcon, const About& about) {
    if (!finder.at.in_type) return;
    const char* name = base_name(idcon);
    if (!finder.names.meaning_of(name).field) return;
    const NameData* global = finder.names.global(name);
    if (!global || global->ndtype != ND_TYPE) return;
    finder.add(Warning::type_hides_field, about,
               "'" + std::string(name) + "' is a field for the check, but the type '" + name +
                   "' in the finite form",
               "rename the field or the type");
}

// In the finite form the name of the field leads to the names of the type.
void check_field(Finder& finder, const VarDecl* field) {
    if (!finder.at.in_type || !finder.at.on_simplify) return;
    const NameData* global = finder.names.global(field->name);
    if (!global || global->ndtype != ND_TYPE) return;
    TypeCon* typecon = finder.names.real(field->typecon);
    while (typecon && typecon->contype == TC_ARRAY)
        typecon = finder.names.real(typecon->values.array.element);
    if (!typecon || typecon->contype != TC_PROD) return;
    const Surroundings before = finder.at;
    finder.at.on_rules = false;
    finder.add(Warning::type_hides_field, About(field, field->linenumber),
               "the field '" + std::string(field->name) +
                   "' has the name of a type that is declared later",
               "rename the field or the type");
    finder.at = before;
}

void check_comparison(Finder& finder, const Expr* expr) {
    const Expr* left = expr->args.binargs.leftarg;
    const Expr* right = expr->args.binargs.rightarg;
    const About about(expr);
    if (expr->opr == OPR_UBOUND_EQ) {
        if (text_of(left->args.idcon) == text_of(right->args.idcon)) return;
        finder.add(Warning::joined_variables, about,
                   "'" + text_of(left->args.idcon) + "' and '" + text_of(right->args.idcon) +
                       "' need only be in the same class of values to be equal",
                   "use one variable for both, or ranges such as [0..1000] as their types");
        return;
    }
    switch (left->type) {
    case ETYPE_OPTIONAL:
    case ETYPE_PROD:
    case ETYPE_ARRAY:
        if (is_name(left) && is_name(right))
            check_whole(finder, left->args.idcon, right->args.idcon, about);
        return;
    default: break;
    }
    if (left->type == ETYPE_SUM || right->type == ETYPE_SUM)
        return check_sum(finder, left, right, about);
    if (!is_unbounded(left->type) && !is_unbounded(right->type)) return;
    if (is_name(left)) check_typed_name(finder, left->args.idcon, about);
    if (is_name(right)) check_typed_name(finder, right->args.idcon, about);
    if (left->type == ETYPE_STRING) {
        check_text(finder, left);
        check_text(finder, right);
    } else if (left->type == ETYPE_ENUM_FLOAT) {
        check_float(finder, left, right, about);
        check_float(finder, right, left, about);
    }
}

void check_order(Finder& finder, const Expr* expr) {
    const Expr* arg = expr->args.arg;
    unsigned char type = arg->type;
    if (!is_name(arg)) {
        const IdCon name = {IDCON_SIMPLE, UNDEF_LINENO, {{arg->args.str}}};
        const TypeCon* typecon = finder.names.type_of(&name);
        const bool has_order = !typecon || typecon->contype == TC_SUM;
        type = has_order ? ETYPE_SUM : ETYPE_STRING;
    }
    if (!is_unbounded(type) && type != ETYPE_PROD && type != ETYPE_ARRAY) return;
    const std::string text = is_name(arg) ? text_of(arg->args.idcon) : arg->args.str;
    finder.add(Warning::order_of_unbounded, expr,
               "order(" + text + ") is not a position: '" + text +
                   "' is neither a label nor an enumeration",
               "compare the value itself");
}

// Two constants are joined, of which one has stayed a boolean.
void check_constants(Finder& finder, const Expr* expr) {
    const auto check = [&](const Expr* order, const Expr* other) {
        if (order->structure != EXPR_UNARY || order->opr != OPR_ORDER || !is_name(order->args.arg))
            return;
        const IdCon* name = order->args.arg->args.idcon;
        const NameData* global = finder.names.meaning_of(base_name(name)).global;
        if (!global || global->ndtype != ND_BOOL || !known_value(finder.names, other)) return;
        finder.add(Warning::unsupported, expr,
                   "order() of the boolean constant '" + text_of(name) + "' is not supported",
                   "use the constant itself");
    };
    check(expr->args.binargs.leftarg, expr->args.binargs.rightarg);
    check(expr->args.binargs.rightarg, expr->args.binargs.leftarg);
}

// Warns of a loop in a declared type if a type declared later has the name of the loop variable.
void check_loop(Finder& finder, const Expr* expr) {
    if (!finder.at.in_type) return;
    const NameData* global = finder.names.global(expr->args.range.lambdavar);
    if (!global || global->ndtype != ND_TYPE) return;
    const std::string name = expr->args.range.lambdavar;
    finder.add(Warning::unsupported, expr,
               "the variable '" + name +
                   "' of a loop has the name of a type that is declared later, "
                   "which is not supported",
               "rename the variable or the type");
}

namespace {

// A value with which a case compares its selector.
void check_condition(Finder& finder, const IdCon* selector, const Expr* condition) {
    switch (condition->type) {
    case ETYPE_OPTIONAL:
    case ETYPE_PROD:
    case ETYPE_ARRAY:
        if (is_name(condition)) check_whole(finder, selector, condition->args.idcon, condition);
        return;
    case ETYPE_ENUM_FLOAT: return check_number(finder, condition, selector, condition);
    case ETYPE_STRING: {
        const TypeCon* typecon = finder.names.type_of(selector);
        const bool is_text = condition->structure == EXPR_STRING_CONST;
        if (is_text && typecon && typecon->contype == TC_SUM)
            check_spelled(finder, condition, condition);
        return;
    }
    default: return;
    }
}

} // namespace

void check_selector(Finder& finder, const Expr* expr) {
    const IdCon* selector = expr->args.caseexpr.casevar;
    check_typed_name(finder, selector, expr);
    for (const Expr* condition : items<Expr>(expr->args.caseexpr.exprlist_condition))
        check_condition(finder, selector, condition);
    const Names::Meaning meaning = finder.names.meaning_of(base_name(selector));
    const bool is_constant = meaning.loop || is_optional_word(selector) ||
                             (meaning.global && meaning.global->ndtype <= ND_STRING);
    if (!is_constant || finder.at.is_evaluated) return;
    finder.add(Warning::unsupported, expr,
               "a case over '" + text_of(selector) + "', which is not a variable, is not supported",
               "write if ... then ... else ...");
}

} // namespace norvane::driver
