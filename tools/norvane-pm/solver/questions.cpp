#include "questions.h"

#include <algorithm>
#include <numeric>
#include <utility>

#include "evaluation.h"
#include "smtlib.h"

namespace norvane::driver {
namespace {

// How many variables one question about their values is about.
constexpr std::size_t variables_at_once = 256;

// How many of them, from these on, are read back from an answer: those before are decided, and what
// is seen of those after spares questions.
constexpr std::size_t variables_read = 4096;

// Questions whose excerpt grows by what was violated, before it doubles each time.
constexpr unsigned rounds_of_violated = 24;

// Of one contradiction that is made smaller, and of all reasons for values. A step is a rule in a
// question, so the answers are the same on a fast machine and on a slow one.
constexpr std::size_t most_steps_of_one = 100'000;
constexpr std::size_t most_steps = 4'000'000;

} // namespace

Questions::Questions(const Terms& terms, const FlatRules& rules, SolverProcess& solver)
    : terms_(terms), solver_(solver) {
    solver.send("(set-option :produce-models true)\n"
                "(set-option :produce-unsat-assumptions true)\n"
                "(set-logic QF_BV)\n");
    for (const FlatRule rule : rules)
        rules_.push_back(rule.expr);
}

// The whole model. -------------------------------------------------------------------------------

void Questions::enter_model() {
    if (is_in_model_) return;
    is_in_model_ = true;
    push();
    Writer out([this](std::string_view text) { solver_.send(text); });
    SmtlibTerms smtlib(terms_, out);
    smtlib.declarations();
    for (const Expr* rule : rules_) {
        out << "(assert ";
        smtlib.truth(rule);
        out << ")\n";
    }
}

void Questions::leave_model() {
    if (is_in_model_) pop();
    is_in_model_ = false;
}

void Questions::assert_value(Writer& out, std::size_t variable, unsigned value) {
    terms_.flat().with(variable, [&](const FlatVariable& v) {
        SmtlibTerms::has_value(out, v.path, v.shape, value);
    });
}

Verdict Questions::has_product() {
    enter_model();
    const Verdict verdict = driver::ask(solver_);
    if (verdict != Verdict::yes) return verdict;
    product_ = read_product(solver_, terms_.flat());
    const Evaluation evaluation(terms_, product_);
    for (std::size_t rule = 0; rule < rules_.size(); ++rule) {
        if (!evaluation.truth(rules_[rule]))
            throw SolverFault{"the solver " + solver_.name() + " gives a product that rule " +
                              std::to_string(rule + 1) + " excludes"};
    }
    return verdict;
}

Verdict Questions::products(const std::function<std::vector<std::size_t>(const Product&)>& differs,
                            const std::function<bool(const Product&)>& visit) {
    enter_model();
    push();
    Verdict verdict;
    std::vector<std::size_t> excluded; // with the values of the product before
    Product product;
    while ((verdict = driver::ask(solver_)) == Verdict::yes) {
        const Product before = std::exchange(product, read_product(solver_, terms_.flat()));
        if (!before.empty() && std::ranges::all_of(excluded, [&](std::size_t variable) {
                return product[variable] == before[variable];
            }))
            fail_at_a_repetition();
        if (!visit(product)) break;
        excluded = differs(product);
        Writer out([this](std::string_view text) { solver_.send(text); });
        out << "(assert (not (and true true";
        for (const std::size_t variable : excluded) {
            out << ' ';
            assert_value(out, variable, product[variable]);
        }
        out << ")))\n";
    }
    pop();
    return verdict;
}

// Values. ----------------------------------------------------------------------------------------

std::vector<PossibleValues> Questions::possible_values(unsigned most) {
    std::vector<PossibleValues> values(terms_.flat().size());
    terms_.flat().for_each([&](const FlatVariable& variable) {
        if (variable.shape.upper >= most) return true;
        auto& possible = values[variable.number].is_possible;
        possible.resize(variable.shape.upper + 1);
        possible[product_[variable.number]] = true;
        return true;
    });
    enter_model();
    for (std::size_t from = 0; from < values.size(); from += variables_at_once)
        find_values(from, std::min(from + variables_at_once, values.size()), values);
    return values;
}

// Asks for products with a value not seen before until there is none. One product shows a value of
// every variable, so few questions suffice.
void Questions::find_values(std::size_t from, std::size_t to, std::vector<PossibleValues>& values) {
    Verdict verdict = Verdict::yes;
    while (verdict == Verdict::yes) {
        push();
        assert_unseen(from, to, values);
        verdict = driver::ask(solver_);
        const std::size_t end = std::min(from + variables_read, values.size());
        if (verdict == Verdict::yes &&
            note_values(read_product(solver_, terms_.flat(), from, end), from, values) == 0)
            fail_at_a_repetition();
        pop();
    }
    for (std::size_t variable = from; variable < to; ++variable)
        values[variable].is_known = verdict == Verdict::no && !values[variable].is_possible.empty();
}

void Questions::assert_unseen(std::size_t from, std::size_t to,
                              const std::vector<PossibleValues>& values) {
    Writer out([this](std::string_view text) { solver_.send(text); });
    out << "(assert (or false false";
    for (std::size_t variable = from; variable < to; ++variable) {
        const auto& possible = values[variable].is_possible;
        for (unsigned value = 0; value < possible.size(); ++value) {
            if (possible[value]) continue;
            out << ' ';
            assert_value(out, variable, value);
        }
    }
    out << "))\n";
}

std::size_t Questions::note_values(const Product& product, std::size_t from,
                                   std::vector<PossibleValues>& values) {
    std::size_t found = 0;
    for (std::size_t i = 0; i < product.size(); ++i) {
        auto& possible = values[from + i].is_possible;
        if (possible.empty() || possible[product[i]]) continue;
        possible[product[i]] = true;
        ++found;
    }
    return found;
}

// What asks until there is no further answer would not end.
void Questions::fail_at_a_repetition() const {
    throw SolverFault{"the solver " + solver_.name() +
                      " answers with values that it was told to exclude"};
}

// Parts of the model. -----------------------------------------------------------------------------

const ConnectedRules& Questions::connected() {
    if (!connected_) connected_.emplace(terms_, rules_);
    return *connected_;
}

void Questions::make(ModelExcerpt& part, const Claim& claim) {
    Writer out([this](std::string_view text) { solver_.send(text); });
    if (claim.variable != none) part.add_variable(out, claim.variable);
    if (claim.without != none)
        for (const std::size_t variable : connected().variables_of(claim.without))
            part.add_variable(out, variable);
    if (claim.write) claim.write(out);
}

Verdict Questions::ask(ModelExcerpt& part, const std::vector<std::size_t>& rules) {
    steps_ += rules.size() + 1;
    return part.ask_with(rules);
}

// Whether there is a product in the excerpt, and so, with the values of the known product for all
// other variables, one of the model without that rule. As long as such a product violates rules of
// the model, these are added.
Verdict Questions::search(ModelExcerpt& part, const Claim& claim) {
    for (unsigned round = 1;; ++round) {
        const Verdict verdict = ask(part, part.rules());
        if (verdict != Verdict::yes) return verdict;
        const std::vector<std::size_t> missing = violated(part, claim);
        if (missing.empty()) return Verdict::yes;
        part.add_rules(missing);
        if (round > rounds_of_violated) part.add_rules(neighbours(part, claim));
    }
}

std::vector<std::size_t> Questions::violated(const ModelExcerpt& part, const Claim& claim) {
    Changes changed;
    const Product values = part.values();
    for (std::size_t i = 0; i < values.size(); ++i) {
        const std::size_t variable = part.variables()[i];
        if (product_[variable] == values[i]) continue;
        changed.emplace_back(variable, product_[variable]);
        product_[variable] = values[i];
    }
    take_back(part, claim, changed);
    const Evaluation evaluation(terms_, product_);
    std::vector<std::size_t> found;
    for (const auto& [variable, before] : changed) {
        for (const std::size_t rule : connected().rules_of(variable))
            if (rule != claim.without && !part.has(rule) && !evaluation.truth(rules_[rule]))
                found.push_back(rule);
    }
    for (const auto& [variable, before] : changed)
        product_[variable] = before;
    return found;
}

// A solver chooses any values for what does not matter, and each that differs from the known
// product may violate rules that do not matter either.
void Questions::take_back(const ModelExcerpt& part, const Claim& claim, Changes& changed) {
    const Evaluation evaluation(terms_, product_);
    std::erase_if(changed, [&](const auto& change) {
        const auto& [variable, before] = change;
        if (variable == claim.variable) return false;
        const unsigned chosen = std::exchange(product_[variable], before);
        const auto& rules = connected().rules_of(variable);
        const bool holds = std::ranges::all_of(rules, [&](std::size_t rule) {
            if (rule == claim.without) return !evaluation.truth(rules_[rule]);
            return !part.has(rule) || evaluation.truth(rules_[rule]);
        });
        if (!holds) product_[variable] = chosen;
        return holds;
    });
}

// About as many as the excerpt has, the nearest ones first.
std::vector<std::size_t> Questions::neighbours(const ModelExcerpt& part, const Claim& claim) {
    std::vector<std::size_t> found;
    std::vector<std::size_t> variables = part.variables();
    std::unordered_set<std::size_t> known_variables(variables.begin(), variables.end());
    std::unordered_set<std::size_t> known_rules(part.rules().begin(), part.rules().end());
    known_rules.insert(claim.without);
    const auto visit = [&](std::size_t rule) {
        if (!known_rules.insert(rule).second) return;
        found.push_back(rule);
        for (const std::size_t variable : connected().variables_of(rule))
            if (known_variables.insert(variable).second) variables.push_back(variable);
    };
    for (std::size_t i = 0; i < variables.size() && found.size() < part.rules().size(); ++i)
        for (const std::size_t rule : connected().rules_of(variables[i]))
            visit(rule);
    return found;
}

// Contradictions. --------------------------------------------------------------------------------

// Leaves out one rule after the other as long as the rest contradicts itself or the claim.
Questions::Contradiction Questions::smallest(const Claim& claim, std::vector<std::size_t> core) {
    Contradiction found{std::move(core)};
    if (found.rules.size() < 2) return found;
    push();
    ModelExcerpt part(terms_, connected(), solver_);
    make(part, claim);
    part.add_rules(found.rules);
    const std::size_t enough = steps_ + most_steps_of_one;
    for (std::size_t i = 0; i < found.rules.size();) {
        if (steps_ > enough) {
            found.is_smallest = false;
            break;
        }
        std::vector<std::size_t> others = found.rules;
        others.erase(others.begin() + static_cast<std::ptrdiff_t>(i));
        const Verdict verdict = ask(part, others);
        if (verdict == Verdict::no) {
            // Those before are needed still, so the place in the list stays.
            found.rules = part.core();
        } else {
            found.is_smallest = found.is_smallest && verdict == Verdict::yes;
            ++i;
        }
    }
    pop();
    return found;
}

std::optional<Questions::Contradiction> Questions::contradiction() {
    leave_model();
    std::vector<std::size_t> rules(rules_.size());
    std::iota(rules.begin(), rules.end(), std::size_t{0});
    push();
    ModelExcerpt all(terms_, connected(), solver_);
    all.add_rules(rules);
    const Verdict verdict = ask(all, rules);
    if (verdict == Verdict::no) rules = all.core();
    pop();
    if (verdict != Verdict::no) return {};
    return smallest({}, std::move(rules));
}

std::optional<Questions::Contradiction> Questions::why_not(std::size_t variable,
                                                           const std::vector<unsigned>& values) {
    if (steps_ > most_steps) return {};
    leave_model();
    const auto write = [&](Writer& out) {
        out << "(assert (or false false";
        for (const unsigned value : values) {
            out << ' ';
            assert_value(out, variable, value);
        }
        out << "))\n";
    };
    const Claim claim{write, variable};
    push();
    ModelExcerpt part(terms_, connected(), solver_);
    make(part, claim);
    std::vector<std::size_t> core;
    const Verdict verdict = search(part, claim);
    if (verdict == Verdict::no) core = part.core();
    pop();
    if (verdict != Verdict::no) return {};
    return smallest(claim, std::move(core));
}

// Rules. -----------------------------------------------------------------------------------------

void Questions::redundant_rules(const std::function<void(std::size_t, Verdict)>& found) {
    leave_model();
    for (std::size_t rule = 0; rule < rules_.size(); ++rule)
        found(rule, differs_without(rule));
}

// Is there a product that the rule alone excludes?
Verdict Questions::differs_without(std::size_t rule) {
    const auto write = [this, rule](Writer& out) {
        out << "(assert (not ";
        SmtlibTerms(terms_, out).truth(rules_[rule]);
        out << "))\n";
    };
    const Claim claim{write, none, rule};
    push();
    ModelExcerpt part(terms_, connected(), solver_);
    make(part, claim);
    const Verdict verdict = search(part, claim);
    pop();
    return verdict;
}

} // namespace norvane::driver
