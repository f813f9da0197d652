// The rules of an optional record while it is absent. They hold then too, for values of the fields
// that the finite form is free to choose: a rule such as `heavy -> size >= 7` restricts nothing, as
// `heavy` may be false, but `size >= 7` does.
#include <algorithm>
#include <limits>
#include <unordered_map>
#include <unordered_set>
#include <utility>

#include "norvane/base/deep.hpp"

#include "finder.h"

namespace norvane::driver {
namespace {

// Evaluates the rules with a value for each field of the record. What is outside of the record has
// no value.
class Trial {
  public:
    explicit Trial(Names& names) : names_(names), outside_(names.frames.size()) {}

    // Looks for values for which all rules hold: the lowest or the highest of each field, and then,
    // field by field, the one of those around the values in the rules for which more rules hold.
    bool finds_values(TypeCon* content);

  private:
    using Value = std::optional<double>;

    static constexpr double lowest = 0;
    static constexpr double highest = std::numeric_limits<double>::max();
    // Optionals may be nested, so each is looked at only so far, and not judged beyond that.
    static constexpr unsigned most_steps = 1 << 20;
    static constexpr std::size_t most_candidates = 64;

    bool finds_values_from(double start, const std::vector<const VarDecl*>& fields,
                           TypeCon* content);
    bool improve(const VarDecl* field, TypeCon* content);
    unsigned count_broken(TypeCon* content);
    void try_rules(TypeCon* typecon);
    bool takes_too_long() { return ++steps_ > most_steps; }
    void add_candidates(double value);
    Value value(const Expr* expr);
    Value of_name(const IdCon* idcon);
    const VarDecl* last_field(const VarDecl* first, const IdCon* idcon);
    Value of_type(const TypeCon* typecon, double chosen);
    Value of_global(const NameData* global);
    Value of_text(const char* text);
    static Value joined(const Value& left, const Value& right, bool decisive);
    Value of_binary(const Expr* expr);
    Value of_conditional(const Expr* expr);
    Value of_case(const Expr* expr);
    Value of_loop(const Expr* expr);

    Names& names_;
    const std::size_t outside_;
    std::vector<const VarDecl*> fields_; // that were met, outer ones first
    std::unordered_map<const VarDecl*, double> chosen_;
    std::vector<double> candidates_{lowest, highest};
    std::unordered_map<std::string_view, double> texts_;
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
    constexpr std::size_t most_fields = 64; // as each takes walks over the rules
    if (count_broken(content) == 0) return true;
    const std::vector<const VarDecl*> fields(fields_);
    return fields.size() > most_fields || finds_values_from(lowest, fields, content) ||
           finds_values_from(highest, fields, content) || takes_too_long();
}

bool Trial::finds_values_from(double start, const std::vector<const VarDecl*>& fields,
                              TypeCon* content) {
    for (const VarDecl* field : fields)
        chosen_[field] = start;
    for (bool is_better = true; is_better;) {
        if (count_broken(content) == 0) return true;
        is_better = false;
        for (const VarDecl* field : fields)
            is_better = improve(field, content) || is_better;
    }
    return false;
}

bool Trial::improve(const VarDecl* field, TypeCon* content) {
    double& chosen = chosen_[field];
    double best = chosen;
    const unsigned before = count_broken(content);
    unsigned fewest = before;
    const std::vector<double> candidates(candidates_);
    for (const double candidate : candidates) {
        if (fewest == 0 || steps_ > most_steps) break;
        chosen = candidate;
        const unsigned now = count_broken(content);
        if (now >= fewest) continue;
        fewest = now;
        best = candidate;
    }
    chosen = best;
    return fewest < before && steps_ <= most_steps;
}

void Trial::add_candidates(double value) {
    for (const double near : {value, value - 1, value + 1})
        if (candidates_.size() < most_candidates &&
            std::ranges::find(candidates_, near) == candidates_.end())
            candidates_.push_back(near);
}

Trial::Value Trial::of_type(const TypeCon* typecon, double chosen) {
    if (!typecon) return {};
    switch (kind_of(typecon)) {
    case TC_BOOL:
    case TC_OPTIONAL: return std::clamp(chosen, lowest, 1.0);
    case TC_INT: {
        const auto upper = known_value(names_, typecon->values.upper);
        if (!upper) return {};
        return std::clamp(chosen, lowest, std::max(lowest, upper->value));
    }
    case TC_SUM: return std::clamp(chosen, lowest, typecon->values.labels->len - 1.0);
    case TC_UBOUND_FLOAT:
    case TC_UBOUND_INTEGER:
    case TC_STRING: return chosen;
    case TC_PROD:
    case TC_ARRAY:
    case TC_NAMED: break;
    }
    return {};
}

Trial::Value Trial::of_global(const NameData* global) {
    switch (global->ndtype) {
    case ND_BOOL:
    case ND_INT: return global->int_value;
    case ND_FLOAT: return global->float_value;
    case ND_LABEL: return global->label_index;
    default: return {};
    }
}

// The field that a path ends in, as the rules of its own record name it.
const VarDecl* Trial::last_field(const VarDecl* first, const IdCon* idcon) {
    const VarDecl* last = first;
    while (idcon->contype == IDCON_COMPOSIT) {
        idcon = idcon->args.compositid.nested;
        const TypeCon* typecon = names_.real(last->typecon);
        while (typecon && (typecon->contype == TC_ARRAY || typecon->contype == TC_OPTIONAL))
            typecon = names_.real(typecon->contype == TC_ARRAY ? typecon->values.array.element
                                                               : typecon->values.base);
        const bool is_record = typecon && typecon->contype == TC_PROD;
        const Field* field = is_record ? names_.field(typecon, base_name(idcon)) : nullptr;
        if (field) last = field->decl;
    }
    return last;
}

Trial::Value Trial::of_name(const IdCon* idcon) {
    if (is_optional_word(idcon)) return idcon->args.id.idname[0] == 'S';
    const Names::Meaning meaning = names_.meaning_of(base_name(idcon));
    if (meaning.field && meaning.frame > outside_)
        return of_type(names_.real(names_.type_of(idcon)),
                       chosen_[last_field(meaning.field->decl, idcon)]);
    const Value value = meaning.global ? of_global(meaning.global) : Value();
    if (value) add_candidates(*value);
    return value;
}

// A text is a label, or differs from all other texts and from all numbers around it.
Trial::Value Trial::of_text(const char* text) {
    constexpr double far = 1e9;
    constexpr double apart = 4;
    const NameData* global = names_.global(text);
    if (global && global->ndtype == ND_LABEL) return of_global(global);
    return texts_.try_emplace(text, far + apart * static_cast<double>(texts_.size())).first->second;
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
    case EXPR_INT_CONST:
        add_candidates(expr->args.intconst.value);
        return expr->args.intconst.value;
    case EXPR_FLOAT_CONST:
        add_candidates(expr->args.floatconst.value);
        return expr->args.floatconst.value;
    case EXPR_STRING_CONST: {
        const Value text = of_text(expr->args.str);
        if (text) add_candidates(*text);
        return text;
    }
    case EXPR_IDCONSTRUCTOR: return of_name(expr->args.idcon);
    case EXPR_BINARY: return of_binary(expr);
    case EXPR_ITE: return of_conditional(expr);
    case EXPR_UNARY: {
        const Value arg = value(expr->args.arg);
        if (!arg) return {};
        if (expr->opr == OPR_NOT) return *arg == 0;
        return expr->opr == OPR_MINUS ? -*arg : *arg;
    }
    case EXPR_RANGE: return of_loop(expr);
    case EXPR_CASE: return of_case(expr);
    }
    return {};
}

Trial::Value Trial::of_case(const Expr* expr) {
    const auto& of = expr->args.caseexpr;
    const Value selector = of_name(of.casevar);
    const PolyListNode* evaluation = of.exprlist_evaluation->first;
    for (const Expr* condition : items<Expr>(of.exprlist_condition)) {
        const Value arm = value(condition);
        if (!selector || !arm) return {};
        if (*selector == *arm) return value(static_cast<const Expr*>(evaluation->element));
        evaluation = evaluation->next;
    }
    return value(of.default_expr);
}

// The same in all turns, as the variable of the loop has no value here.
Trial::Value Trial::of_loop(const Expr* expr) {
    const auto& range = expr->args.range;
    names_.loops.push_back({expr});
    const Value turn = value(range.lambdaexpr);
    names_.loops.pop_back();
    if (expr->opr == OPR_FORALL || expr->opr == OPR_EXIST) return turn;
    const Value first = value(range.rangebegin);
    const Value last = value(range.rangeend);
    if (expr->opr != OPR_SUM || !turn || !first || !last) return {};
    return *turn * std::max(0.0, *last - *first + 1);
}

} // namespace

// The names in the rules are looked up where the optional stands.
bool holds_while_absent(Names& names, AroundOptional& optional) {
    if (optional.is_free) return *optional.is_free;
    const TypeCon* real = names.real(optional.content);
    if (real && real->contype == TC_OPTIONAL) return true; // which is judged itself
    const std::vector<Frame> frames(names.frames);
    names.frames.resize(optional.outside);
    const std::vector<Loop> loops = std::exchange(names.loops, {});
    optional.is_free = Trial(names).finds_values(optional.content);
    names.loops = loops;
    names.frames = frames;
    return *optional.is_free;
}

} // namespace norvane::driver
