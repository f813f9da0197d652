// The prefetch steps of RulesAhead.
#include "rules_ahead.h"

#include <cstdint>

#include "norvane/base/hash.h"
#include "tags.h"

namespace norvane::model {

namespace {

constexpr std::uintptr_t cache_line = 64;

// A symbol table of up to this many names stays in the cache without prefetching.
constexpr unsigned small_table = 8192;

// Upper limit of the bytes that are prefetched for one rule.
constexpr std::uintptr_t largest_rule = 8192;

const Expr* rule_at(const PolyListNode* node) {
    return static_cast<const RuleDecl*>(node->element)->rule;
}

// The first name of a path, or null in a broken tree, which the walk over the rules will report.
const char* first_name(const IdCon* idcon) {
    while (idcon->contype == IDCON_COMPOSIT)
        idcon = idcon->args.compositid.hier;
    const bool has_name = idcon->contype == IDCON_SIMPLE || idcon->contype == IDCON_ARRAY;
    return has_name ? idcon->args.id.idname : nullptr;
}

// The operands that are still to be searched for names, the last one first. Operands beyond the
// fixed size are dropped, so their names are not prefetched.
class Pending {
  public:
    void push(const Expr* expr) {
        if (count_ < sizeof exprs_ / sizeof *exprs_) exprs_[count_++] = expr;
    }
    const Expr* pop() { return count_ == 0 ? nullptr : exprs_[--count_]; }

  private:
    unsigned count_ = 0;
    const Expr* exprs_[32];
};

void push_operands(Pending& pending, const Expr* expr) {
    const auto& args = expr->args;
    switch (structure_of(expr)) {
    case EXPR_BINARY:
        pending.push(args.binargs.rightarg);
        return pending.push(args.binargs.leftarg);
    case EXPR_UNARY: return pending.push(args.arg);
    case EXPR_ITE:
        pending.push(args.ite.falseexpr);
        pending.push(args.ite.trueexpr);
        return pending.push(args.ite.logictest);
    case EXPR_IDCONSTRUCTOR:
    case EXPR_INT_CONST:
    case EXPR_STRING_CONST:
    case EXPR_FLOAT_CONST: return;
    case EXPR_RANGE:
    case EXPR_CASE: return; // too rare to be worth their prefetch
    }
}

} // namespace

RulesAhead::RulesAhead(const SymbolTable* symboltable, const PolyList* rules)
    : global_(symboltable->global_table),
      variables_(static_cast<const PolyHash*>(symboltable->local_table->last->element)),
      next_(rules->first), next_nodes_(rules->first) {
    if (global_->size + variables_->size > small_table) next_names_ = next_;
    for (unsigned i = slots; i < nodes; ++i)
        fetch_nodes();
    for (unsigned i = 0; i < slots; ++i)
        step();
}

RuleDecl* RulesAhead::next() {
    if (!next_) return nullptr;
    step();
    auto* rule = static_cast<RuleDecl*>(next_->element);
    next_ = next_->next;
    return rule;
}

void RulesAhead::step() {
    ++at_;
    fetch_nodes();
    fetch_slots();
    fetch_entries();
    fetch_records();
    fetch_typecons();
}

// The parser allocates the nodes of a rule after those of the previous rule, and the root last, so
// they usually lie between the two roots. Other nodes are not prefetched.
void RulesAhead::fetch_nodes() {
    if (!next_nodes_) return;
    const Expr* rule = rule_at(next_nodes_);
    const auto begin = reinterpret_cast<std::uintptr_t>(fetched_);
    const auto end = reinterpret_cast<std::uintptr_t>(rule + 1);
    if (begin < end && end - begin < largest_rule) {
        for (std::uintptr_t at = begin; at < end; at += cache_line)
            __builtin_prefetch(reinterpret_cast<const void*>(at));
    }
    fetched_ = rule;
    next_nodes_ = next_nodes_->next;
}

void RulesAhead::fetch_slots() {
    Names& names = names_of_rule(slots);
    names.count = 0;
    if (!next_names_) return;
    collect(names, rule_at(next_names_));
    next_names_ = next_names_->next;
    for (const Name& name : names) {
        phash_prefetch_slot(global_, name.hash);
        phash_prefetch_slot(variables_, name.hash);
    }
}

void RulesAhead::fetch_entries() {
    for (Name& name : names_of_rule(entries)) {
        name.entry = phash_prefetch_entry(global_, name.hash);
        if (!name.entry) name.entry = phash_prefetch_entry(variables_, name.hash);
    }
}

void RulesAhead::fetch_records() {
    for (Name& name : names_of_rule(records)) {
        name.namedata = static_cast<const NameData*>(phash_prefetch_key(name.entry));
        if (!name.namedata) continue;
        // It may span two cache lines.
        __builtin_prefetch(name.namedata);
        __builtin_prefetch(&name.namedata->value_type);
    }
}

void RulesAhead::fetch_typecons() {
    for (const Name& name : names_of_rule(typecons)) {
        if (name.namedata) __builtin_prefetch(name.namedata->typecon);
    }
}

void RulesAhead::collect(Names& names, const Expr* rule) const {
    Pending pending;
    for (const Expr* expr = rule; expr; expr = pending.pop()) {
        if (expr->structure != EXPR_IDCONSTRUCTOR) {
            push_operands(pending, expr);
            continue;
        }
        if (names.count == sizeof names.names / sizeof *names.names) return;
        const char* name = first_name(expr->args.idcon);
        if (!name) continue;
        // Valid for both tables, because they have the same hash callback.
        names.names[names.count++].hash = phash_hash_of(global_, name);
    }
}

} // namespace norvane::model
