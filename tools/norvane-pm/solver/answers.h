// What a solver answers: verdicts, the values of a product, and the names in a core.
#ifndef NORVANE_PM_ANSWERS_H
#define NORVANE_PM_ANSWERS_H

#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "process.h"
#include "terms.h"

namespace norvane::driver {

enum class Verdict { yes, no, unknown };

// The value of each variable, by its number.
using Product = std::vector<unsigned>;

// Whether what was sent can be satisfied. Throws a SolverFault.
Verdict ask(SolverProcess& solver, const std::string& question = "(check-sat)\n");

// The values that satisfy it, of variables that were declared with a prefix; or of those from one
// number to before another, or of a list. A value beyond a variable's upper bound is a SolverFault.
Product read_product(SolverProcess& solver, const FlatModel& flat, const std::string& prefix = {});
Product read_product(SolverProcess& solver, const FlatModel& flat, std::size_t from,
                     std::size_t to);
Product read_product(SolverProcess& solver, const FlatModel& flat,
                     const std::vector<std::size_t>& variables);

// The assumptions that contradict each other, of those that are called "|rule NUMBER|", in the
// order of their numbers. Others than the assumed ones are a SolverFault: callers that look for a
// smaller core rely on getting one.
std::vector<std::size_t> read_core(SolverProcess& solver,
                                   const std::unordered_set<std::size_t>& assumed);

} // namespace norvane::driver

#endif
