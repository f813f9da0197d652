// Questions about a model, and how a solver answers them.
#ifndef NORVANE_PM_QUESTIONS_H
#define NORVANE_PM_QUESTIONS_H

#include <functional>
#include <optional>
#include <utility>
#include <vector>

#include "answers.h"
#include "excerpt.h"
#include "process.h"
#include "terms.h"

namespace norvane::driver {

// Which values a variable can have.
struct PossibleValues {
    std::vector<bool> is_possible; // by value
    bool is_known = false;         // no value without a product was left open
};

class Questions {
  public:
    // Borrows both.
    Questions(const Terms& terms, const FlatRules& rules, SolverProcess& solver);

    std::size_t rule_count() const { return rules_.size(); }
    const Expr* rule(std::size_t number) const { return rules_[number]; }

    // Is there a product? It is kept for the questions below; all but the contradiction need one.
    Verdict has_product();
    // The value of each variable.
    const Product& product() const { return product_; }

    // Rules that contradict each other, none of which can be left out; or, with values of a
    // variable, rules that no product with one of these values satisfies.
    struct Contradiction {
        std::vector<std::size_t> rules;
        bool is_smallest = true; // false if leaving out more would take too long
    };
    std::optional<Contradiction> contradiction();
    // Nothing if the time was too short, or after too many steps for reasons in all: a large model
    // may have thousands of rules for each of thousands of values.
    std::optional<Contradiction> why_not(std::size_t variable, const std::vector<unsigned>& values);

    // The values that products have, for variables with at most `most` of them; an empty list for
    // the others.
    std::vector<PossibleValues> possible_values(unsigned most);

    // Calls found(number, verdict) for each rule: no where it follows from all others.
    void redundant_rules(const std::function<void(std::size_t, Verdict)>& found);

    // Calls visit(product) for products, each of which differs from those before in what
    // `differs(product)` names, until it returns false. Unknown if the time was too short.
    Verdict products(const std::function<std::vector<std::size_t>(const Product&)>& differs,
                     const std::function<bool(const Product&)>& visit);

  private:
    static constexpr std::size_t none = SIZE_MAX;
    // What a question says besides the rules of its excerpt.
    struct Claim {
        std::function<void(Writer&)> write;
        std::size_t variable = none; // whose value it is about
        std::size_t without = none;  // the rule that it denies
    };
    using Changes = std::vector<std::pair<std::size_t, unsigned>>; // variables, and values before

    void push() { solver_.send("(push 1)\n"); }
    void pop() { solver_.send("(pop 1)\n"); }
    void enter_model();
    void leave_model();
    void assert_value(Writer& out, std::size_t variable, unsigned value);
    const ConnectedRules& connected();
    void make(ModelExcerpt& part, const Claim& claim);
    Verdict ask(ModelExcerpt& part, const std::vector<std::size_t>& rules);
    Verdict search(ModelExcerpt& part, const Claim& claim);
    std::vector<std::size_t> violated(const ModelExcerpt& part, const Claim& claim);
    void take_back(const ModelExcerpt& part, const Claim& claim, Changes& changed);
    std::vector<std::size_t> neighbours(const ModelExcerpt& part, const Claim& claim);
    Contradiction smallest(const Claim& claim, std::vector<std::size_t> core);
    Verdict differs_without(std::size_t rule);
    void find_values(std::size_t from, std::size_t to, std::vector<PossibleValues>& values);
    void assert_unseen(std::size_t from, std::size_t to, const std::vector<PossibleValues>& values);
    // Of the variables from a number on; how many values were not known.
    static std::size_t note_values(const Product& product, std::size_t from,
                                   std::vector<PossibleValues>& values);
    [[noreturn]] void fail_at_a_repetition() const;

    const Terms& terms_;
    SolverProcess& solver_;
    std::vector<const Expr*> rules_;
    std::optional<ConnectedRules> connected_; // made once it is needed
    bool is_in_model_ = false;                // a scope with all of it is open
    Product product_;
    std::size_t steps_ = 0; // rules in the questions about parts of the model
};

} // namespace norvane::driver

#endif
