// The rules of an optional record while it is absent. They hold then too, for values of the fields
// that the finite form is free to choose. So they restrict the rest of the product where that may
// have values for which no values of the fields satisfy them: `size >= 7` does, and `size > 5 ->
// length = 2` does not, as `length` may be 2.
//
// This is decided for rules that share fields, by trying values of the outside and searching for
// those of the fields. What has no known value here satisfies a rule, so that what is found to be a
// restriction is one.
#include <algorithm>
#include <limits>
#include <map>
#include <unordered_map>
#include <unordered_set>
#include <utility>

#include "norvane/base/deep.hpp"

#include "finder.h"

namespace norvane::driver {
namespace {

class Trial {
  public:
    Trial(Names& names, const AroundOptional& optional)
        : names_(names), optional_(optional), around_(names.frames) {}

    Restriction run();
    unsigned steps() const { return steps_ + steps_outside_; }

  private:
    using Value = std::optional<double>;
    using Key = const void*; // a field, or a variable
    struct RuleAt {
        const RuleDecl* rule;
        std::vector<Frame> frames;
    };
    // Rules that share fields.
    struct Group {
        std::vector<const RuleAt*> rules;
        std::vector<Key> fields;
        std::vector<Key> outside;
        std::vector<double> constants;
        bool calculates = false;
    };
    // A field or a variable of a simple type, and the values that are tried.
    struct Domain {
        std::vector<double> values;
        bool is_whole = true; // all values; otherwise those around the constants
    };
    enum class Outcome { free, possible, certain };

    // What takes more is not decided.
    static constexpr unsigned most_steps = 1 << 20;
    static constexpr unsigned most_steps_outside = 1 << 18;
    static constexpr std::size_t most_samples = 256;
    static constexpr std::size_t most_values = 32;

    void add_rules(TypeCon* typecon, bool is_one_of_many);
    Group collect(const RuleAt& at);
    std::vector<Group> groups();
    Outcome judge(const Group& group);
    Outcome judge_sample(const Group& group);
    bool set_sample(const Group& group, std::size_t number);
    bool may_hold(const Group& group, std::size_t fields_set);
    Outcome judge_outside();
    Outcome judge_rule(const RuleDecl* rule, bool& is_certain);
    bool takes_too_long() { return ++steps_ > limit_; }

    TypeCon* type_of_key(const IdCon* idcon, const Names::Meaning& meaning, Key& key);
    Domain domain_of(const TypeCon* typecon, const Group& group);
    static Domain around_constants(const Group& group, double lowest, double highest,
                                   bool is_real = false);
    bool is_decidable(const Group& group);

    Value value(const Expr* expr);
    Value of_name(const IdCon* idcon);
    void collect_key(const IdCon* idcon, Key key, bool is_field);
    static Value of_global(const NameData* global);
    Value of_text(const char* text);
    Value constant(double known);
    static Value joined(const Value& left, const Value& right, bool decisive);
    Value of_binary(const Expr* expr);
    Value of_conditional(const Expr* expr);
    Value of_case(const Expr* expr);
    Value of_loop(const Expr* expr);

    Names& names_;
    const AroundOptional& optional_;
    const std::vector<Frame> around_; // the records around the optional
    std::vector<RuleAt> rules_;
    std::unordered_set<const TypeCon*> seen_; // as types that name each other have many parts
    std::unordered_set<Key> unknown_;         // fields of which there are several
    std::unordered_map<Key, TypeCon*> types_; // of the keys that were met
    std::map<Key, Domain> domains_;
    std::unordered_map<Key, double> chosen_;
    Group* collecting_ = nullptr;
    Key absent_ = nullptr; // while rules outside are evaluated, the optional
    bool names_absent_ = false;
    std::unordered_map<std::string_view, double> texts_;
    unsigned steps_ = 0;
    unsigned limit_ = most_steps;
    unsigned steps_outside_ = 0;
};

void Trial::add_rules(TypeCon* typecon, bool is_one_of_many) {
    if (stack_is_low()) return on_fresh_stack([&] { add_rules(typecon, is_one_of_many); });
    typecon = names_.real(typecon);
    if (!typecon || takes_too_long()) return;
    if (typecon->contype == TC_ARRAY) return add_rules(typecon->values.array.element, true);
    if (typecon->contype == TC_OPTIONAL) return add_rules(typecon->values.base, is_one_of_many);
    if (typecon->contype != TC_PROD) return;
    const bool is_new = seen_.insert(typecon).second;
    if (!is_new)
        for (const VarDecl* field : items<VarDecl>(typecon->values.prod.fields))
            unknown_.insert(field);
    if (!is_new) return;
    names_.frames.push_back({typecon, 0});
    const std::size_t own = names_.frames.size() - 1;
    for (const VarDecl* field : items<VarDecl>(typecon->values.prod.fields)) {
        const TypeCon* real = names_.real(field->typecon);
        if (is_one_of_many || (real && real->contype == TC_ARRAY)) unknown_.insert(field);
        add_rules(field->typecon, is_one_of_many);
        ++names_.frames[own].visible;
    }
    for (const RuleDecl* rule : items<RuleDecl>(typecon->values.prod.rules)) {
        rules_.push_back({rule, names_.frames});
        steps_ += 8 * static_cast<unsigned>(names_.frames.size()); // of a copy, and its uses
    }
    names_.frames.pop_back();
}

// What a rule consists of.
Trial::Group Trial::collect(const RuleAt& at) {
    Group group;
    group.rules.push_back(&at);
    collecting_ = &group;
    names_.frames = at.frames;
    value(at.rule->rule);
    collecting_ = nullptr;
    return group;
}

std::vector<Trial::Group> Trial::groups() {
    std::vector<Group> all;
    const auto add_new = [](auto& to, const auto& from) {
        for (const auto& one : from)
            if (std::ranges::find(to, one) == to.end()) to.push_back(one);
    };
    for (const RuleAt& at : rules_) {
        Group group = collect(at);
        const auto shares = [&group](const Group& other) {
            return std::ranges::find_first_of(group.fields, other.fields) != group.fields.end();
        };
        for (auto other = all.begin(); other != all.end();) {
            if (!shares(*other)) {
                ++other;
                continue;
            }
            group.rules.insert(group.rules.begin(), other->rules.begin(), other->rules.end());
            add_new(group.fields, other->fields);
            add_new(group.outside, other->outside);
            add_new(group.constants, other->constants);
            group.calculates |= other->calculates;
            other = all.erase(other);
        }
        all.push_back(std::move(group));
    }
    return all;
}

Restriction Trial::run() {
    Restriction found;
    names_.frames.resize(optional_.outside);
    add_rules(optional_.content, false);
    constexpr std::size_t most_rules = 1000; // as each is compared with the groups before it
    if (rules_.size() > most_rules) return found;
    for (const Group& group : groups()) {
        const Outcome outcome = judge(group);
        if (outcome == Outcome::free) continue;
        if (group.outside.empty() && !found.contradiction)
            found.contradiction = group.rules.front()->rule;
        for (const RuleAt* at : group.rules)
            found.rules[at->rule] = outcome == Outcome::certain;
    }
    return found;
}

// The values around constants decide comparisons with these, and nothing else.
bool Trial::is_decidable(const Group& group) {
    constexpr std::size_t most_fields = 64;
    const auto is_rough = [this](Key field) { return !domains_[field].is_whole; };
    const auto rough = std::ranges::count_if(group.fields, is_rough);
    return group.fields.size() <= most_fields && (rough == 0 || (rough == 1 && !group.calculates));
}

Trial::Outcome Trial::judge(const Group& group) {
    domains_.clear();
    chosen_.clear();
    Group wider = group;
    for (const Key key : group.outside) {
        domains_[key] = domain_of(types_[key], group);
        if (domains_[key].values.empty()) return Outcome::free;
        for (const double value : domains_[key].values)
            wider.constants.push_back(value);
    }
    for (const Key key : group.fields)
        domains_[key] = domain_of(types_[key], wider);
    if (!is_decidable(group)) return Outcome::free;
    Outcome worst = Outcome::free;
    for (std::size_t i = 0; i < most_samples && set_sample(group, i); ++i) {
        worst = std::max(worst, judge_sample(group));
        if (worst == Outcome::certain) break;
    }
    return worst;
}

// Chooses values for what is outside; false after the last ones.
bool Trial::set_sample(const Group& group, std::size_t number) {
    for (const Key key : group.outside) {
        const std::vector<double>& values = domains_[key].values;
        chosen_[key] = values[number % values.size()];
        number /= values.size();
    }
    return number == 0;
}

Trial::Outcome Trial::judge_sample(const Group& group) {
    for (const Key field : group.fields)
        chosen_.erase(field);
    if (may_hold(group, 0) || steps_ > limit_) return Outcome::free;
    if (group.outside.empty()) return Outcome::certain;
    for (const Key field : group.fields)
        chosen_.erase(field);
    const unsigned before = std::exchange(steps_, steps_outside_);
    limit_ = most_steps_outside;
    const Outcome outcome = judge_outside();
    limit_ = most_steps;
    steps_outside_ = std::exchange(steps_, before);
    return outcome;
}

// Searches for values of the fields from one on, for which no rule is broken.
bool Trial::may_hold(const Group& group, std::size_t fields_set) {
    for (const RuleAt* at : group.rules) {
        names_.frames = at->frames;
        if (value(at->rule->rule) == 0.0) return false;
    }
    if (fields_set == group.fields.size() || steps_ > limit_) return true;
    const Key field = group.fields[fields_set];
    for (const double value : domains_[field].values) {
        chosen_[field] = value;
        if (may_hold(group, fields_set + 1)) return true;
    }
    chosen_.erase(field);
    return domains_[field].values.empty() && may_hold(group, fields_set + 1);
}

// Whether the rest of the product may have the values while the optional is absent: its rules may
// say when that is so.
Trial::Outcome Trial::judge_outside() {
    absent_ = optional_.declaration;
    bool is_certain = true;
    Outcome outcome = Outcome::certain;
    for (std::size_t depth = 0; depth <= optional_.outside; ++depth) {
        names_.frames.assign(around_.begin(), around_.begin() + static_cast<std::ptrdiff_t>(depth));
        if (depth > 0) names_.frames.back().visible = std::numeric_limits<unsigned>::max();
        const PolyList* rules = depth > 0 ? names_.frames.back().record->values.prod.rules
                                          : names_.project()->ruledecllist;
        for (const RuleDecl* rule : items<RuleDecl>(rules))
            if (judge_rule(rule, is_certain) == Outcome::free) outcome = Outcome::free;
    }
    absent_ = nullptr;
    if (outcome == Outcome::free) return outcome;
    return is_certain && steps_ <= limit_ ? Outcome::certain : Outcome::possible;
}

Trial::Outcome Trial::judge_rule(const RuleDecl* rule, bool& is_certain) {
    names_absent_ = false;
    const Value known = value(rule->rule);
    if (known == 0.0) return Outcome::free;
    if (!known && names_absent_) is_certain = false;
    return Outcome::certain;
}

// Values.

Trial::Domain Trial::around_constants(const Group& group, double lowest, double highest,
                                      bool is_real) {
    Domain domain{{}, false};
    std::vector<double> constants = group.constants;
    std::ranges::sort(constants);
    const auto add = [&](double value) {
        const bool is_new = std::ranges::find(domain.values, value) == domain.values.end();
        if (value >= lowest && value <= highest && is_new) domain.values.push_back(value);
    };
    add(lowest);
    for (std::size_t i = 0; i < constants.size(); ++i) {
        for (const double near : {constants[i] - 1, constants[i], constants[i] + 1})
            add(near);
        if (is_real && i > 0) add((constants[i - 1] + constants[i]) / 2);
    }
    if (domain.values.empty()) add(0);
    add(highest);
    return domain;
}

// Without values for what has none that could be tried.
Trial::Domain Trial::domain_of(const TypeCon* typecon, const Group& group) {
    Domain domain;
    const auto up_to = [&](double upper) {
        if (upper < 0 || upper >= most_values) return around_constants(group, 0, upper);
        for (double value = 0; value <= upper; ++value)
            domain.values.push_back(value);
        return domain;
    };
    if (!typecon) return domain;
    switch (kind_of(typecon)) {
    case TC_BOOL:
    case TC_OPTIONAL: return up_to(1);
    case TC_INT: {
        const auto upper = known_value(names_, typecon->values.upper);
        return upper ? up_to(upper->value) : domain;
    }
    case TC_SUM: return up_to(typecon->values.labels->len - 1.0);
    case TC_UBOUND_FLOAT:
    case TC_UBOUND_INTEGER:
    case TC_STRING:
        return around_constants(group, std::numeric_limits<double>::lowest(),
                                std::numeric_limits<double>::max(),
                                kind_of(typecon) == TC_UBOUND_FLOAT);
    case TC_PROD:
    case TC_ARRAY:
    case TC_NAMED: break;
    }
    return domain;
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

// The type of what a path ends in, and the field or variable that it is: elements of an array and
// fields of a type are the same in all places, which are as good as others outside of the optional.
TypeCon* Trial::type_of_key(const IdCon* idcon, const Names::Meaning& meaning, Key& key) {
    key = meaning.field ? static_cast<Key>(meaning.field->decl) : meaning.global;
    TypeCon* typecon =
        names_.real(meaning.field ? meaning.field->decl->typecon : meaning.global->typecon);
    while (idcon->contype == IDCON_COMPOSIT) {
        idcon = idcon->args.compositid.nested;
        while (typecon && held_type(typecon))
            typecon = names_.real(held_type(typecon));
        const bool is_record = typecon && typecon->contype == TC_PROD;
        const Field* field = is_record ? names_.field(typecon, base_name(idcon)) : nullptr;
        if (!field) continue;
        key = field->decl;
        typecon = names_.real(field->decl->typecon);
    }
    return typecon;
}

Trial::Value Trial::of_name(const IdCon* idcon) {
    if (is_optional_word(idcon)) return idcon->args.id.idname[0] == 'S';
    const Names::Meaning meaning = names_.meaning_of(base_name(idcon));
    const bool is_variable = meaning.global && meaning.global->ndtype == ND_VARIABLE;
    if (!meaning.field && !is_variable) {
        const Value known = meaning.global ? of_global(meaning.global) : Value();
        return known ? constant(*known) : known;
    }
    Key key = nullptr;
    type_of_key(idcon, meaning, key);
    if (absent_ && key == absent_) {
        names_absent_ = true;
        return 0;
    }
    if (collecting_) {
        collect_key(idcon, key, meaning.field && meaning.frame > optional_.outside);
        return {};
    }
    const auto chosen = chosen_.find(key);
    return chosen == chosen_.end() ? Value() : chosen->second;
}

void Trial::collect_key(const IdCon* idcon, Key key, bool is_field) {
    if (is_field && unknown_.contains(key)) return;
    std::vector<Key>& keys = is_field ? collecting_->fields : collecting_->outside;
    if (std::ranges::find(keys, key) == keys.end()) keys.push_back(key);
    types_[key] = names_.real(names_.type_of(idcon));
}

Trial::Value Trial::constant(double known) {
    if (collecting_ &&
        std::ranges::find(collecting_->constants, known) == collecting_->constants.end())
        collecting_->constants.push_back(known);
    return known;
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
    if (collecting_ && !is_comparison(expr) && expr->type != ETYPE_BOOL)
        collecting_->calculates = true;
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
    case EXPR_INT_CONST: return constant(expr->args.intconst.value);
    case EXPR_FLOAT_CONST: return constant(expr->args.floatconst.value);
    case EXPR_STRING_CONST: {
        const Value text = of_text(expr->args.str);
        return text ? constant(*text) : text;
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
        const auto* evaluated = static_cast<const Expr*>(evaluation->element);
        if (collecting_)
            value(evaluated);
        else if (!selector || !arm)
            return {};
        else if (*selector == *arm)
            return value(evaluated);
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
const Restriction& restriction_of(Names& names, AroundOptional& optional) {
    if (optional.restriction) return *optional.restriction;
    optional.restriction.emplace();
    const TypeCon* real = names.real(optional.content);
    if (real && real->contype == TC_OPTIONAL) return *optional.restriction; // judged itself
    // Each optional may ask all rules of the model: beyond this, the rest is not decided.
    constexpr unsigned most_in_all = 1 << 24;
    if (names.steps_for_optionals > most_in_all) return *optional.restriction;
    const std::vector<Frame> frames(names.frames);
    const std::vector<Loop> loops = std::exchange(names.loops, {});
    Trial trial(names, optional);
    optional.restriction = trial.run();
    names.steps_for_optionals += trial.steps();
    names.loops = loops;
    names.frames = frames;
    return *optional.restriction;
}

} // namespace norvane::driver
