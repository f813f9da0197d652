// Which tokens the parts of a calculation were made from.
#ifndef NORVANE_PM_CALCULATION_PLACES_H
#define NORVANE_PM_CALCULATION_PLACES_H

#include <vector>

#include "edited_calculation.h"

namespace norvane::driver {

// Calls visit(CExpr*) for each expression directly below this one, in the order of the source.
template <typename Visit>
void for_each_part(const CExpr* expr, Visit visit) {
    const auto& args = expr->args;
    switch (expr->structure) {
    case CEXPR_UOP: return visit(args.uop.arg);
    case CEXPR_BOP: visit(args.bop.left_arg); return visit(args.bop.right_arg);
    case CEXPR_ITE:
        visit(args.ite.cond);
        visit(args.ite.then_expr);
        return visit(args.ite.else_expr);
    case CEXPR_CALL:
        for (CExpr* argument : items<CExpr>(args.call.args))
            visit(argument);
        return;
    case CEXPR_PMVAR:
        for (const CPMVar* name = args.pmvar; name; name = name->nested)
            for (CExpr* index : items<CExpr>(name->arr_indices))
                visit(index);
        return;
    case CEXPR_LVAR:
    case CEXPR_INT_CONST:
    case CEXPR_FLOAT_CONST:
    case CEXPR_STRING_CONST:
    case CEXPR_BOOL_CONST: return;
    }
}
// The same as a list.
std::vector<CExpr*> parts_of(const CExpr* expr);

// The expressions of EditedCalculation::load, whose lines are tokens.
class CalculationPlaces {
  public:
    explicit CalculationPlaces(const SourceText& text) : text_(text) {}

    // The tokens of an expression; with its parentheses, if so asked.
    TokenRange range_of(const CExpr* expr) const;
    TokenRange range_in_parentheses(const CExpr* expr) const;
    // The name of the function that is called, and of the namespace.
    TokenRange name_of_call(const CExpr* call) const;
    // Each name of a path such as a[1].b.
    std::vector<std::size_t> names_of_path(const CExpr* variable) const;
    // The brace that ends the body of a function; its name where that is not known.
    std::size_t end_of(const CFunc* func) const;

  private:
    std::string_view word(std::size_t token) const {
        return token < text_.size() ? text_.word(token) : "";
    }
    std::size_t closing(std::size_t open) const;
    std::size_t end_of_path(std::size_t token) const;

    const SourceText& text_;
};

} // namespace norvane::driver

#endif
