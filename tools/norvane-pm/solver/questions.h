// Questions about a model, and how a solver answers them.
#ifndef NORVANE_PM_QUESTIONS_H
#define NORVANE_PM_QUESTIONS_H

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "process.h"
#include "smtlib.h"
#include "terms.h"

namespace norvane::driver {

enum class Verdict { yes, no, unknown };

// The value of each variable, by its number.
using Product = std::vector<unsigned>;

// Which values a variable can have.
struct PossibleValues {
    std::vector<bool> is_possible; // by value
    bool is_known = false;         // no value without a product was left open
};

// Whether what was sent can be satisfied. Throws a SolverFault.
Verdict ask(SolverProcess& solver, const std::string& question = "(check-sat)\n");

// The values that satisfy it, of variables that were declared with a prefix.
Product read_product(SolverProcess& solver, const FlatModel& flat, const std::string& prefix = {});

class Questions {
  public:
    // Borrows both, and sends the variables and the rules. Each rule is one that a question can do
    // without.
    Questions(const Terms& terms, const FlatRules& rules, SolverProcess& solver);

    std::size_t rule_count() const { return rules_.size(); }
    const Expr* rule(std::size_t number) const { return rules_[number]; }

    // Is there a product? Its values, if so.
    Verdict has_product(Product* product);
    // Rules that contradict each other, none of which can be left out; or, with values of a
    // variable, rules that no product with one of these values satisfies.
    struct Contradiction {
        std::vector<std::size_t> rules;
        bool is_smallest = true; // false if the time limit ended the minimisation
    };
    std::optional<Contradiction> contradiction();
    std::optional<Contradiction> why_not(std::size_t variable, const std::vector<unsigned>& values);

    // The values that products have, for variables with at most `most` of them; an empty list for
    // the others. Begins with what a known product has.
    std::vector<PossibleValues> possible_values(const Product& known, unsigned most);

    // Calls found(number, verdict) for each rule: whether it follows from all others.
    void redundant_rules(const std::function<void(std::size_t, Verdict)>& found);

    // Calls visit(product) for products, each of which differs from those before in what
    // `differs(product)` names, until it returns false. Unknown if the time was too short.
    Verdict products(const std::function<std::vector<std::size_t>(const Product&)>& differs,
                     const std::function<bool(const Product&)>& visit);

  private:
    void push() { solver_.send("(push 1)\n"); }
    void pop() { solver_.send("(pop 1)\n"); }
    void assert_value(Writer& out, std::size_t variable, unsigned value);
    void enable(std::size_t from, std::size_t to);
    void enable_all() { enable(0, rules_.size()); }
    Verdict ask_with(const std::vector<std::size_t>& rules);
    std::vector<std::size_t> read_core(std::string_view begin, std::size_t count);
    std::vector<std::size_t> rules_that_matter();
    std::optional<Contradiction> smallest_core();
    void find_redundant(std::size_t from, std::size_t to,
                        const std::function<void(std::size_t, Verdict)>& found);
    void find_values(std::size_t from, std::size_t to, std::vector<PossibleValues>& values);
    void assert_unseen(std::size_t from, std::size_t to, const std::vector<PossibleValues>& values);
    // Of the variables from a number on.
    static void note_values(const Product& product, std::size_t from,
                            std::vector<PossibleValues>& values);

    const Terms& terms_;
    SolverProcess& solver_;
    std::vector<const Expr*> rules_;
};

} // namespace norvane::driver

#endif
