// The variables and rules of a model that one question is about, in a scope of the solver.
//
// The time for a question grows with all that the solver knows, and most answers depend on a few
// rules. So a question begins with none, and rules are added as they turn out to matter.
#ifndef NORVANE_PM_EXCERPT_H
#define NORVANE_PM_EXCERPT_H

#include <cstdint>
#include <unordered_set>
#include <vector>

#include "answers.h"
#include "terms.h"
#include "touched.h"
#include "writer.h"

namespace norvane::driver {

// Rules, and which variables they name.
class ConnectedRules {
  public:
    ConnectedRules(const Terms& terms, const std::vector<const Expr*>& rules);

    std::size_t size() const { return rules_.size(); }
    const Expr* rule(std::size_t number) const { return rules_[number]; }
    std::vector<std::size_t> variables_of(std::size_t rule) const {
        return driver::variables_of(terms_, rules_[rule]);
    }
    const std::vector<std::uint32_t>& rules_of(std::size_t variable) const {
        return rules_of_[variable];
    }

  private:
    const Terms& terms_;
    const std::vector<const Expr*>& rules_;
    std::vector<std::vector<std::uint32_t>> rules_of_; // by variable
};

class ModelExcerpt {
  public:
    // Borrows all of them. The scope is to be opened before, and closed after.
    ModelExcerpt(const Terms& terms, const ConnectedRules& all, SolverProcess& solver)
        : terms_(terms), all_(all), solver_(solver) {}

    // No effect on what is in it already.
    void add_variable(Writer& out, std::size_t variable);
    void add_rules(const std::vector<std::size_t>& rules);

    bool has(std::size_t rule) const { return has_rule_.contains(rule); }
    const std::vector<std::size_t>& variables() const { return variables_; }
    const std::vector<std::size_t>& rules() const { return rules_; }

    // With some of its rules.
    Verdict ask_with(const std::vector<std::size_t>& rules);
    // After yes, the value of each of its variables; after no, which rules contradict each other.
    Product values() const { return read_product(solver_, terms_.flat(), variables_); }
    std::vector<std::size_t> core() const { return read_core(solver_, asked_with_); }

  private:
    const Terms& terms_;
    const ConnectedRules& all_;
    SolverProcess& solver_;
    std::vector<std::size_t> variables_;
    std::vector<std::size_t> rules_;
    std::unordered_set<std::size_t> has_variable_;
    std::unordered_set<std::size_t> has_rule_;
    std::unordered_set<std::size_t> asked_with_;
};

} // namespace norvane::driver

#endif
