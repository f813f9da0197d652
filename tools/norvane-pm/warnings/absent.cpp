// The rules of an optional record while it is absent. They hold then too, for values of the fields
// that the finite form is free to choose: a rule such as `heavy -> size >= 7` restricts nothing, as
// `heavy` may be false, but `size >= 7` does.
#include <algorithm>
#include <unordered_set>

#include "norvane/base/deep.hpp"

#include "finder.h"

namespace norvane::driver {
namespace {

// Evaluates the rules with each field of the record at its lowest or its highest value. What is
// outside of the record has no value.
class Trial {
  public:
    explicit Trial(Names& names) : names_(names), outside_(names.frames.size()) {}

    // Looks for values for which all rules hold: from some values on, changes that of each field if
    // more rules hold then.
    bool finds_values(TypeCon* content);

  private:
    using Value = std::optional<double>;

    // Optionals may be nested, so each is looked at only so far, and not judged beyond that.
    static constexpr unsigned most_steps = 1 << 14;

    unsigned count_broken(TypeCon* content);
    void try_rules(TypeCon* typecon);
    bool takes_too_long() { return ++steps_ > most_steps; }
    Value value(const Expr* expr);
    Value of_name(const IdCon* idcon);
    Value of_type(const TypeCon* typecon, bool highest);
    static Value joined(const Value& left, const Value& right, bool decisive);
    Value of_binary(const Expr* expr);
    Value of_conditional(const Expr* expr);

    Names& names_;
    const std::size_t outside_;
    std::vector<const VarDecl*> fields_; // that were met, outer ones first
    std::unordered_set<const VarDecl*> highest_;
    std::unordered_set<const TypeCon*> seen_; // as types that name each other have many parts
    unsigned broken_ = 0;
    unsigned steps_ = 0;
};

void Trial::try_rules(TypeCon* typecon) {
    if (stack_is_low()) return on_fresh_stack([&] { try_rules(typecon); });
    typecon = names_.real(typecon);
    if (!typecon || takes_too_long()) return;
    if (typecon->contype == TC_ARRAY) return try_rules(typecon->values.array.element);
    if (typecon->contype == TC_OPTIONAL) return try_rules(typecon->values.base);
    if (typecon->contype != TC_PROD || !seen_.insert(typecon).second) return;
    names_.frames.push_back({typecon, 0});
    const std::size_t own = names_.frames.size() - 1;
    for (const VarDecl* field : items<VarDecl>(typecon->values.prod.fields)) {
        fields_.push_back(field);
        try_rules(field->typecon);
        ++names_.frames[own].visible;
    }
    for (const RuleDecl* rule : items<RuleDecl>(typecon->values.prod.rules))
        broken_ += value(rule->rule).value_or(0) == 0;
    names_.frames.pop_back();
}

unsigned Trial::count_broken(TypeCon* content) {
    fields_.clear();
    seen_.clear();
    broken_ = 0;
    try_rules(content);
    return broken_;
}

bool Trial::finds_values(TypeCon* content) {
    constexpr std::size_t most_fields = 64; // as each takes a walk over the rules
    unsigned broken = count_broken(content);
    const std::vector<const VarDecl*> fields(fields_);
    if (fields.size() > most_fields) return true;
    for (const VarDecl* field : fields) {
        if (broken == 0) break;
        highest_.insert(field);
        const unsigned now = count_broken(content);
        if (now >= broken) highest_.erase(field);
        broken = std::min(now, broken);
    }
    return broken == 0 || takes_too_long();
}

Trial::Value Trial::of_type(const TypeCon* typecon, bool highest) {
    if (!typecon) return {};
    switch (kind_of(typecon)) {
    case TC_BOOL:
    case TC_OPTIONAL: return highest;
    case TC_INT: {
        const auto upper = known_value(names_, typecon->values.upper);
        if (highest && !upper) return {};
        return highest ? upper->value : 0;
    }
    case TC_SUM: return highest ? typecon->values.labels->len - 1 : 0;
    case TC_UBOUND_FLOAT:
    case TC_UBOUND_INTEGER:
    case TC_STRING:
    case TC_PROD:
    case TC_ARRAY:
    case TC_NAMED: break;
    }
    return {};
}

Trial::Value Trial::of_name(const IdCon* idcon) {
    if (is_optional_word(idcon)) return idcon->args.id.idname[0] == 'S';
    const Names::Meaning meaning = names_.meaning_of(base_name(idcon));
    if (meaning.field && meaning.frame > outside_)
        return of_type(names_.type_of(idcon), highest_.contains(meaning.field->decl));
    if (!meaning.global) return {};
    switch (meaning.global->ndtype) {
    case ND_BOOL:
    case ND_INT: return meaning.global->int_value;
    case ND_FLOAT: return meaning.global->float_value;
    case ND_LABEL: return meaning.global->label_index;
    default: return {};
    }
}

// `and` and `or` have a value although an operand has none, if the other one is decisive.
Trial::Value Trial::joined(const Value& left, const Value& right, bool decisive) {
    const auto decides = [decisive](const Value& operand) {
        return operand && (*operand != 0) == decisive;
    };
    if (decides(left) || decides(right)) return decisive;
    return left && right ? Value(!decisive) : Value();
}

Trial::Value Trial::of_binary(const Expr* expr) {
    const Value left = value(expr->args.binargs.leftarg);
    const Value right = value(expr->args.binargs.rightarg);
    if (expr->type == ETYPE_BOOL && expr->opr == OPR_AND) return joined(left, right, false);
    if (expr->type == ETYPE_BOOL && expr->opr == OPR_OR) return joined(left, right, true);
    if (expr->opr == OPR_IMPLIES) return joined(left ? Value(*left == 0) : Value(), right, true);
    if (!left || !right) return {};
    switch (expr->opr) {
    case OPR_XOR: return *left != *right;
    case OPR_BIIMPLIES: return *left == *right;
    default: return combined(expr->opr, *left, *right);
    }
}

Trial::Value Trial::of_conditional(const Expr* expr) {
    const auto& ite = expr->args.ite;
    const Value test = value(ite.logictest);
    if (test) return value(*test != 0 ? ite.trueexpr : ite.falseexpr);
    const Value yes = value(ite.trueexpr);
    const Value no = value(ite.falseexpr);
    return yes && no && *yes == *no ? yes : Value();
}

Trial::Value Trial::value(const Expr* expr) {
    if (takes_too_long()) return {};
    if (stack_is_low()) return on_fresh_stack([&] { return value(expr); });
    switch (structure_of(expr)) {
    case EXPR_INT_CONST: return expr->args.intconst.value;
    case EXPR_FLOAT_CONST: return expr->args.floatconst.value;
    case EXPR_IDCONSTRUCTOR: return of_name(expr->args.idcon);
    case EXPR_BINARY: return of_binary(expr);
    case EXPR_ITE: return of_conditional(expr);
    case EXPR_UNARY: {
        const Value arg = value(expr->args.arg);
        if (!arg) return {};
        if (expr->opr == OPR_NOT) return *arg == 0;
        return expr->opr == OPR_MINUS ? -*arg : *arg;
    }
    case EXPR_RANGE: {
        // The same in all turns, as the variable of the loop has no value here.
        if (expr->opr != OPR_FORALL && expr->opr != OPR_EXIST) return {};
        names_.loops.push_back({expr});
        const Value turn = value(expr->args.range.lambdaexpr);
        names_.loops.pop_back();
        return turn;
    }
    case EXPR_STRING_CONST:
    case EXPR_CASE: break;
    }
    return {};
}

} // namespace

bool holds_while_absent(Names& names, TypeCon* content) {
    const TypeCon* real = names.real(content);
    if (real && real->contype == TC_OPTIONAL) return true; // which is judged itself
    return Trial(names).finds_values(content);
}

} // namespace norvane::driver
