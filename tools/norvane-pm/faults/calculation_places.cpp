// A leaf has the line of its first token and an operator its own, so the tree needs no walk along
// the tokens, as that of a model does.
#include "calculation_places.h"

#include <algorithm>

#include "norvane/base/deep.hpp"

namespace norvane::driver {

std::vector<CExpr*> parts_of(const CExpr* expr) {
    std::vector<CExpr*> parts;
    for_each_part(expr, [&parts](CExpr* part) { parts.push_back(part); });
    return parts;
}

TokenRange CalculationPlaces::range_of(const CExpr* expr) const {
    if (stack_is_low()) return on_fresh_stack([&] { return range_of(expr); });
    const std::size_t token = EditedCalculation::token_of_line(expr->line_no);
    const auto& args = expr->args;
    switch (expr->structure) {
    case CEXPR_UOP: return {token, range_in_parentheses(args.uop.arg).last};
    case CEXPR_BOP:
        return {range_in_parentheses(args.bop.left_arg).first,
                range_in_parentheses(args.bop.right_arg).last};
    case CEXPR_ITE:
        return {range_in_parentheses(args.ite.cond).first,
                range_in_parentheses(args.ite.else_expr).last};
    case CEXPR_CALL: return {token, closing(end_of_path(token) + 1)};
    case CEXPR_PMVAR: return {token, end_of_path(token)};
    case CEXPR_LVAR:
    case CEXPR_INT_CONST:
    case CEXPR_FLOAT_CONST:
    case CEXPR_STRING_CONST:
    case CEXPR_BOOL_CONST: break;
    }
    return {token, token};
}

TokenRange CalculationPlaces::range_in_parentheses(const CExpr* expr) const {
    TokenRange range = range_of(expr);
    // Those of a call belong to its arguments together.
    const auto opens = [this](std::size_t token) {
        if (word(token) != "(") return false;
        return token == 0 || text_.tokens()[token - 1].kind != TokenKind::word ||
               is_reserved(word(token - 1), Language::calculation);
    };
    while (range.first > 0 && opens(range.first - 1) && word(range.last + 1) == ")") {
        --range.first;
        ++range.last;
    }
    return range;
}

TokenRange CalculationPlaces::name_of_call(const CExpr* call) const {
    const std::size_t token = EditedCalculation::token_of_line(call->line_no);
    return {token, end_of_path(token)};
}

std::vector<std::size_t> CalculationPlaces::names_of_path(const CExpr* variable) const {
    const TokenRange range = range_of(variable);
    std::vector<std::size_t> names = {range.first};
    for (std::size_t i = range.first; i < range.last; ++i) {
        if (word(i) == "[") i = closing(i);
        if (word(i) == ".") names.push_back(i + 1);
    }
    return names;
}

std::size_t CalculationPlaces::end_of(const CFunc* func) const {
    const std::size_t name = EditedCalculation::token_of_line(func->line_no);
    std::size_t open = closing(name + 1);
    while (open < text_.size() && word(open) != "{" && word(open) != ";")
        ++open;
    const std::size_t end = closing(open);
    return word(end) == "}" ? end : name;
}

// The bracket that closes one; the same token if there is none.
std::size_t CalculationPlaces::closing(std::size_t open) const {
    const std::string_view opening = word(open);
    const std::string_view end = opening == "(" ? ")" : opening == "[" ? "]" : "}";
    unsigned depth = 0;
    for (std::size_t i = open; i < text_.size(); ++i) {
        if (word(i) == opening) ++depth;
        if (word(i) == end && --depth == 0) return i;
    }
    return open;
}

std::size_t CalculationPlaces::end_of_path(std::size_t token) const {
    for (;;) {
        if (word(token + 1) == "[") {
            const std::size_t end = closing(token + 1);
            if (end == token + 1) return token;
            token = end;
        } else if (word(token + 1) == ".") {
            token += 2;
        } else {
            return std::min(token, text_.size() - 1);
        }
    }
}

} // namespace norvane::driver
