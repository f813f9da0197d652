// Walks through the rules of a project and prefetches what the next rules will read.
//
// In a large project such a walk mostly waits for memory: the rules are allocated one after
// another, but their names are scattered over the symbol table. So each step of the walk prefetches
// in stages, one rule apart: the nodes of a later rule, the hash slots of its names, their entries,
// records and types. Prefetches are hints to the processor; no result depends on them.
#ifndef NORVANE_PROJ_RULES_AHEAD_H
#define NORVANE_PROJ_RULES_AHEAD_H

#include "norvane/base/list.h"
#include "norvane/proj/decl.h"
#include "norvane/proj/symboltable.h"

namespace norvane::model {

class RulesAhead {
  public:
    // Borrows both. Neither may change during the walk, except that environments may be pushed and
    // popped again.
    RulesAhead(const SymbolTable* symboltable, const PolyList* rules);

    // The next rule of the list, or null after the last one.
    RuleDecl* next();

  private:
    // By how many rules each stage runs ahead of the rule that next() returns.
    enum Distance : unsigned { typecons = 1, records, entries, slots, nodes = 6 };

    // A name that is being prefetched.
    struct Name {
        unsigned hash;
        const struct HashEntry* entry;
        const NameData* namedata;
    };
    // The names of a rule. Those beyond the fixed size are not prefetched.
    struct Names {
        unsigned count = 0;
        Name names[24];
        Name* begin() { return names; }
        Name* end() { return names + count; }
    };
    static constexpr unsigned rules_under_way = slots; // a power of two, because at_ wraps

    Names& names_of_rule(unsigned distance) { return names_[(at_ + distance) % rules_under_way]; }
    void step();
    void fetch_nodes();
    void fetch_slots();
    void fetch_entries();
    void fetch_records();
    void fetch_typecons();
    void collect(Names& names, const Expr* rule) const;

    const PolyHash* global_; // the names of rules are in this table or the next one
    const PolyHash* variables_;
    const PolyListNode* next_;                 // returned by the next call of next()
    const PolyListNode* next_nodes_;           // nodes to be prefetched next
    const PolyListNode* next_names_ = nullptr; // names to be looked up next
    const Expr* fetched_ = nullptr;            // the rule whose nodes were prefetched last
    unsigned at_ = 0;
    Names names_[rules_under_way];
};

} // namespace norvane::model

#endif
