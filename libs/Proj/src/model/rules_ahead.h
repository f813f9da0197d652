// Walking through the rules of a project, reading ahead.
//
// In a large project such a walk would wait for memory most of the time: rules lie one behind the
// other, but their names lead all over the symbol table. Both are known in advance, so what a rule
// is going to read is asked for while the rules before it are worked on, in steps that follow each
// other at the distance of one rule. It is a hint to the processor: no result depends on it.
#ifndef NORVANE_PROJ_RULES_AHEAD_H
#define NORVANE_PROJ_RULES_AHEAD_H

#include "norvane/base/list.h"
#include "norvane/proj/decl.h"
#include "norvane/proj/symboltable.h"

namespace norvane::model {

class RulesAhead {
  public:
    // Neither the list nor the table may change during the walk, but for environments that are
    // pushed and popped again.
    RulesAhead(const SymbolTable* symboltable, const PolyList* rules);

    // The next rule of the list, or null behind the last one.
    RuleDecl* next();

  private:
    // How far ahead of the rule that is worked on each step is.
    enum Distance : unsigned { typecons = 1, records, entries, slots, nodes = 6 };

    // A name on its way.
    struct Name {
        unsigned hash;
        const struct HashEntry* entry;
        const NameData* namedata;
    };
    // The names of a rule; those of a long one as far as there is room.
    struct Names {
        unsigned count = 0;
        Name names[24];
        Name* begin() { return names; }
        Name* end() { return names + count; }
    };
    static constexpr unsigned rules_under_way = slots; // a power of two, as the counter may wrap

    Names& names_of_rule(unsigned distance) { return names_[(at_ + distance) % rules_under_way]; }
    void step();
    void fetch_nodes();
    void fetch_slots();
    void fetch_entries();
    void fetch_records();
    void fetch_typecons();
    void collect(Names& names, const Expr* rule) const;

    const PolyHash* global_; // the two tables that names of rules are looked up in
    const PolyHash* variables_;
    const PolyListNode* next_;                 // to be returned
    const PolyListNode* next_nodes_;           // to be fetched
    const PolyListNode* next_names_ = nullptr; // to be looked up
    const Expr* fetched_ = nullptr;            // the rule whose nodes were fetched last
    unsigned at_ = 0;
    Names names_[rules_under_way];
};

} // namespace norvane::model

#endif
