#include "finder.h"

#include <algorithm>
#include <cmath>
#include <iterator>

namespace norvane::driver {

// How many warnings back a repetition is looked for: a name that a rule uses twice, for example.
constexpr std::ptrdiff_t repetition_window = 8;

Finding* Finder::add(Warning warning, const About& about, std::string message, std::string hint) {
    const bool concerns_results = at.on_rules || at.on_simplify;
    if (!wants(warning)) return nullptr;
    const bool is_about_results =
        row_of(warning).level == Level::meaning || warning == Warning::unsupported;
    if (is_about_results && !concerns_results) return nullptr;
    const bool may_repeat = row_of(warning).level == Level::meaning;
    const auto recent = may_repeat ? std::min(std::ssize(found), repetition_window) : 0;
    const auto known = std::find_if(found.end() - recent, found.end(), [&](const Warned& other) {
        return other.node.linenumber == about.linenumber && other.finding.message == message;
    });
    if (known != found.end()) { // once said, of all that it concerns
        known->on_rules |= at.on_rules;
        known->on_simplify |= at.on_simplify;
        return nullptr;
    }
    const Node node{about.linenumber, about.declaration ? about.declaration : at.declaration,
                    about.declaration ? nullptr : at.root, about.part};
    Finding finding{Severity::warning,
                    row_of(warning).name,
                    std::move(message),
                    line_of(names.project(), about.linenumber),
                    {},
                    std::move(hint),
                    {}};
    found.push_back({warning, node, std::move(finding), at.on_rules, at.on_simplify});
    return &found.back().finding;
}

std::string text_of(const IdCon* idcon) {
    return printed([=](UtilString* to) { ppm_print_idcon_str(const_cast<IdCon*>(idcon), to); });
}

namespace {

std::optional<Known> known_constant(Names& names, const IdCon* idcon) {
    if (idcon->contype != IDCON_SIMPLE) return {};
    const Names::Meaning meaning = names.meaning_of(idcon->args.id.idname);
    if (!meaning.global) return {};
    switch (meaning.global->ndtype) {
    case ND_BOOL:
    case ND_INT: return Known{static_cast<double>(meaning.global->int_value), false};
    case ND_FLOAT: return Known{meaning.global->float_value, false};
    default: return {};
    }
}

} // namespace

std::optional<double> combined(unsigned char opr, double left, double right) {
    switch (opr) {
    case OPR_PLUS: return left + right;
    case OPR_MINUS: return left - right;
    case OPR_TIMES: return left * right;
    case OPR_DIV: return left / right;
    case OPR_LT: return left < right;
    case OPR_LE: return left <= right;
    case OPR_GT: return left > right;
    case OPR_GE: return left >= right;
    case OPR_EQ: return left == right;
    case OPR_NEQ: return left != right;
    default: return {};
    }
}

namespace {

std::optional<Known> known_binary(Names& names, const Expr* expr, unsigned depth) {
    const auto left = known_value(names, expr->args.binargs.leftarg, depth + 1);
    if (!left) return {};
    const auto right = known_value(names, expr->args.binargs.rightarg, depth + 1);
    if (!right) return {};
    const auto value = combined(expr->opr, left->value, right->value);
    if (!value) return {};
    // Integers wrap around, which is not followed here.
    if (expr->type == ETYPE_INT && std::abs(*value) > 2147483647.0) return {};
    return Known{*value, left->is_literal && right->is_literal};
}

std::optional<Known> known_unary(Names& names, const Expr* expr, unsigned depth) {
    if (expr->opr != OPR_MINUS && expr->opr != OPR_NOT) return {};
    auto result = known_value(names, expr->args.arg, depth + 1);
    if (result) result->value = expr->opr == OPR_MINUS ? -result->value : result->value == 0;
    return result;
}

} // namespace

// Not a full evaluation, which could take as long as the check: loops and cases have no value here.
std::optional<Known> known_value(Names& names, const Expr* expr, unsigned depth) {
    constexpr unsigned deepest = 50;
    if (depth >= deepest) return {};
    switch (structure_of(expr)) {
    case EXPR_INT_CONST: return Known{static_cast<double>(expr->args.intconst.value), true};
    case EXPR_FLOAT_CONST: return Known{expr->args.floatconst.value, true};
    case EXPR_IDCONSTRUCTOR: return known_constant(names, expr->args.idcon);
    case EXPR_BINARY: return known_binary(names, expr, depth);
    case EXPR_UNARY: return known_unary(names, expr, depth);
    case EXPR_STRING_CONST:
    case EXPR_ITE:
    case EXPR_RANGE:
    case EXPR_CASE: break;
    }
    return {};
}

} // namespace norvane::driver
