// What the steps of the search for warnings share.
#ifndef NORVANE_PM_FINDER_H
#define NORVANE_PM_FINDER_H

#include <limits>
#include <optional>
#include <string>
#include <unordered_map>

#include "find_warnings.h"
#include "names.h"

namespace norvane::driver {

// What the rules of an optional record restrict while it is absent.
struct Restriction {
    // Those that restrict the rest of the product, and whether that is certain: where the rest says
    // otherwise when the record is there, it may never come to it.
    std::unordered_map<const RuleDecl*, bool> rules;
    const RuleDecl* contradiction = nullptr; // one of those that no values of the fields satisfy
};

// An optional around the place.
struct AroundOptional {
    TypeCon* content;
    std::size_t outside;     // how many of the records around are outside of it
    AroundOptional* next;    // the next one around it; null for none
    const void* declaration; // the field that it is, or the variable's entry; null for a type
    bool on_simplify;        // its presence is a part of the finite form
    std::optional<Restriction> restriction{}; // once that was asked
};

// What is known of the place that the walk has reached.
struct Surroundings {
    bool in_type = false;      // in a declared type, whose names are resolved when it is declared
    bool on_rules = true;      // what is found there concerns the flat rules,
    bool on_simplify = true;   // and the finite form
    bool is_evaluated = false; // the expression is evaluated, and not simplified
    AroundOptional* optional = nullptr; // the innermost one
    bool in_rule = false;
    const void* declaration = nullptr;
    const Expr* root = nullptr; // the expression that the walk is in
};

// What a warning is about: an expression, a name in it, a type, or a declaration.
struct About {
    About(const Expr* expr) : linenumber(expr->linenumber), part(expr) {}
    About(const IdCon* idcon, unsigned line) : linenumber(line), part(idcon) {}
    About(const TypeCon* typecon) : linenumber(typecon->linenumber), part(typecon) {}
    About(const void* declared, unsigned line) : linenumber(line), declaration(declared) {}

    unsigned linenumber;
    const void* part = nullptr;
    const void* declaration = nullptr; // the one that the walk is in if null
};

class Finder {
  public:
    Finder(Project* project, SymbolTable* table, const Selection& selection)
        : names(project, table), selection_(selection) {}

    bool wants(Warning warning) const { return selection_.is_on(warning); }
    // Adds a warning, if it is wanted and not there yet. The result takes notes.
    Finding* add(Warning warning, const About& about, std::string message, std::string hint);

    Names names;
    Surroundings at;
    std::vector<Warned> found;
    // The smallest upper bound of all ranges. A comparison with a number from 0 up to it is never
    // constant, so it needs no check.
    double smallest_bound = std::numeric_limits<double>::infinity();

  private:
    const Selection& selection_;
};

std::string text_of(const IdCon* idcon);

// A value that is known before the product is configured, as far as simple expressions have one;
// `depth` is that of the expression in the one that is asked for.
struct Known {
    double value;
    bool is_literal; // no constant is named in it
};
std::optional<Known> known_value(Names& names, const Expr* expr, unsigned depth = 0);

// What an operator of arithmetic or comparison makes of two numbers.
std::optional<double> combined(unsigned char opr, double left, double right);

// The warnings about the meaning of the finite form, by what they look at. (meaning.cpp)
void check_name(Finder& finder, const char* name, const About& about);
void check_typed_name(Finder& finder, const IdCon* idcon, const About& about);
void check_comparison(Finder& finder, const Expr* expr);
void check_order(Finder& finder, const Expr* expr);
void check_constants(Finder& finder, const Expr* expr);
void check_loop(Finder& finder, const Expr* expr);
void check_selector(Finder& finder, const Expr* expr);
void check_field(Finder& finder, const VarDecl* field);

// What the rules of an optional record restrict while it is absent. Computed once per record, while
// the walk is in it. (absent.cpp)
const Restriction& restriction_of(Names& names, AroundOptional& optional);
// Warns of rules that contradict each other, after the walk over the content. (meaning.cpp)
void check_contradiction(Finder& finder, AroundOptional& optional);

// The others. (habits.cpp)
void check_ranges(Finder& finder, const Expr* expr);
void check_arms(Finder& finder, const Expr* expr);

} // namespace norvane::driver

#endif
