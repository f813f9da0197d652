// Whether two models have the same products, and how a solver finds one that only one of them has.
//
// A product is a value for each variable. Two values of an unbounded type are compared by what they
// stand for: a class of one model has values of several classes of the other.
#ifndef NORVANE_PM_COMPARISON_H
#define NORVANE_PM_COMPARISON_H

#include "answers.h"
#include "smtlib.h"

namespace norvane::driver {

struct ComparedModel {
    const Terms& terms;
    const FlatRules& rules;
};

// False where the models have variables of other paths or kinds: no product of one is then a
// product of the other.
bool have_same_variables(const FlatModel& a, const FlatModel& b);

// Is there a product of `one` that `other` does not have? Its values, as those of `one`. The two
// have the same variables. Throws a SolverFault or what a rule is Inexpressible for.
Verdict has_more_products(const ComparedModel& one, const ComparedModel& other,
                          SolverProcess& solver, Product* product);

} // namespace norvane::driver

#endif
