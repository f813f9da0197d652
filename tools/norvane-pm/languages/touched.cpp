#include "touched.h"

#include <algorithm>
#include <numeric>

#include "norvane/base/deep.hpp"

namespace norvane::driver {
namespace {

void gather(const Terms& terms, const Expr* expr, std::vector<std::size_t>& found) {
    if (stack_is_low()) return on_fresh_stack([&] { gather(terms, expr, found); });
    const auto& args = expr->args;
    switch (structure_of(expr)) {
    case EXPR_BINARY:
        gather(terms, args.binargs.leftarg, found);
        gather(terms, args.binargs.rightarg, found);
        return;
    case EXPR_UNARY: gather(terms, args.arg, found); return;
    case EXPR_ITE:
        gather(terms, args.ite.logictest, found);
        gather(terms, args.ite.trueexpr, found);
        gather(terms, args.ite.falseexpr, found);
        return;
    case EXPR_IDCONSTRUCTOR: {
        const FlatPlace place = terms.place(expr);
        for (std::size_t i = 0; i < place.shape->size; ++i)
            found.push_back(place.first + i);
        return;
    }
    case EXPR_INT_CONST:
    case EXPR_STRING_CONST:
    case EXPR_FLOAT_CONST:
    case EXPR_RANGE:
    case EXPR_CASE: return; // of these, only numbers are in flat rules
    }
}

} // namespace

std::vector<std::size_t> variables_of(const Terms& terms, const Expr* rule) {
    std::vector<std::size_t> found;
    gather(terms, rule, found);
    std::ranges::sort(found);
    found.erase(std::unique(found.begin(), found.end()), found.end());
    return found;
}

Groups::Groups(std::size_t variables) : nearer_(variables) {
    std::iota(nearer_.begin(), nearer_.end(), std::size_t{0});
}

std::size_t Groups::first_of(std::size_t variable) {
    // Each step halves the way, so it stays short however many rules there are.
    while (nearer_[variable] != variable) {
        nearer_[variable] = nearer_[nearer_[variable]];
        variable = nearer_[variable];
    }
    return variable;
}

void Groups::connect(const std::vector<std::size_t>& variables) {
    for (const std::size_t variable : variables) {
        const std::size_t a = first_of(variables.front());
        const std::size_t b = first_of(variable);
        nearer_[std::max(a, b)] = std::min(a, b);
    }
}

} // namespace norvane::driver
