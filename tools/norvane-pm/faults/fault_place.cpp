// A report names the line of a record, which is the token that the parser had read when it made the
// record. A few records share one, so the kind of the report tells them apart, and the types: the
// check writes them from the leaves up, so the part at fault has none, and what is below it has.
#include "fault_place.h"

#include <algorithm>
#include <array>

#include "norvane/base/deep.hpp"

#include "edited_source.h"

namespace norvane::driver {
namespace {

// Levels of an expression that a report shows, as those of the library do.
constexpr int shown_depth = 3;

enum class Role { operand, lower, upper, index, arm, root };

// What the reports are about.
enum class Kind {
    binary,
    unary,
    condition,
    branches,
    loop,
    lower,
    upper,
    index,
    arm,
    name,
    value,
    root
};
struct Row {
    std::string_view name;
    Kind kind;
};
constexpr auto rows = std::to_array<Row>({
    {"ERR_OP_TYPES_BIN", Kind::binary},
    {"ERR_ENUM_FLOAT_COMPARE", Kind::binary},
    {"ERR_ENUM_INTEGER_COMPARE", Kind::binary},
    {"ERR_FLOATS_NOT_STATIC", Kind::binary},
    {"ERR_STRING_COMPARE", Kind::binary},
    {"ERR_STRVAR_COMPARE_LABEL", Kind::binary},
    {"ERR_OP_TYPES_UN", Kind::unary},
    {"ERR_IF_TYPE", Kind::condition},
    {"ERR_THEN_TYPE", Kind::branches},
    {"ERR_RANGES_NOT_INTEGER", Kind::loop},
    {"ERR_RANGES_LT", Kind::loop},
    {"ERR_RANGE_TYPE", Kind::loop},
    {"ERR_NAME_REDECLARED", Kind::loop},
    {"ERR_RANGES_BEGIN", Kind::lower},
    {"ERR_RANGES_END", Kind::upper},
    {"ERR_INDEX_NOT_INT", Kind::index},
    {"ERR_INDEX_NOT_STATIC", Kind::index},
    {"ERR_CASE_DEFAULT_TYPE", Kind::arm},
    {"ERR_ID_UNDECLARED", Kind::name},
    {"ERR_TYPE_AS_VAR_NAME", Kind::name},
    {"ERR_TYPE_AS_VAR", Kind::name},
    {"ERR_ILLEGAL_ARRAY_VAR", Kind::name},
    {"ERR_NEG_ARRAY_INDEX", Kind::value},
    {"ERR_ARRAY_INDEX_OUT_OF_RANGE", Kind::value},
    {"ERR_ARRAY_INDEX", Kind::name},
    {"ERR_VAR_AS_ARRAY", Kind::name},
    {"ERR_NOT_RECORD", Kind::name},
});

class Search {
  public:
    Search(const Report& report, Kind kind)
        : kind_(kind), message_(report.message), token_(token_of(report)),
          name_(quoted_name(report.message)) {}

    Subject run(const Expr* root) {
        expression(root, Role::root);
        return names_ > 1 ? path_ : found_;
    }

  private:
    bool is_here(unsigned linenumber) const {
        return token_ && token_of_line(linenumber) == *token_;
    }

    bool fits(const Expr* expr, Role role) const {
        const unsigned structure = expr->structure;
        switch (kind_) {
        case Kind::binary: return structure == EXPR_BINARY;
        case Kind::unary: return structure == EXPR_UNARY;
        case Kind::condition:
        case Kind::branches: return structure == EXPR_ITE;
        case Kind::loop: return structure == EXPR_RANGE;
        case Kind::lower: return role == Role::lower;
        case Kind::upper: return role == Role::upper;
        case Kind::index: return role == Role::index;
        case Kind::arm: return role == Role::arm;
        case Kind::root: return role == Role::root;
        case Kind::name:
        case Kind::value: return false;
        }
        return false;
    }

    // The first that has no type yet; else the first.
    void take(const Expr* expr) {
        const bool is_better =
            !found_.expr || (found_.expr->type != ETYPE_UNDEF && expr->type == ETYPE_UNDEF);
        if (is_better) found_.expr = expr;
    }

    void expression(const Expr* expr, Role role) {
        if (stack_is_low()) return on_fresh_stack([&] { expression(expr, role); });
        parts(expr);
        if (!fits(expr, role) || !is_here(expr->linenumber)) return;
        take(expr);
        if (found_.expr != expr) return;
        if (kind_ == Kind::condition) found_.expr = expr->args.ite.logictest;
        if (kind_ == Kind::branches) found_.expr = expr->args.ite.falseexpr;
    }

    void parts(const Expr* expr) {
        const auto& args = expr->args;
        switch (static_cast<ExprStructure>(expr->structure)) {
        case EXPR_BINARY:
            expression(args.binargs.leftarg, Role::operand);
            expression(args.binargs.rightarg, Role::operand);
            break;
        case EXPR_UNARY: expression(args.arg, Role::operand); break;
        case EXPR_IDCONSTRUCTOR: identifier(args.idcon, args.idcon); break;
        case EXPR_ITE:
            expression(args.ite.logictest, Role::operand);
            expression(args.ite.trueexpr, Role::operand);
            expression(args.ite.falseexpr, Role::operand);
            break;
        case EXPR_RANGE:
            expression(args.range.rangebegin, Role::lower);
            expression(args.range.rangeend, Role::upper);
            expression(args.range.lambdaexpr, Role::operand);
            break;
        case EXPR_CASE: arms(expr); break;
        case EXPR_INT_CONST:
        case EXPR_STRING_CONST:
        case EXPR_FLOAT_CONST: break;
        }
    }

    void arms(const Expr* expr) {
        const auto& args = expr->args.caseexpr;
        expression(args.default_expr, Role::operand);
        identifier(args.casevar, args.casevar);
        for (const Expr* condition : items<Expr>(args.exprlist_condition))
            expression(condition, Role::operand);
        for (const Expr* evaluation : items<Expr>(args.exprlist_evaluation))
            expression(evaluation, Role::arm);
        // The comparison with the selector has no line of its own.
        const bool has_no_type =
            expr->type == ETYPE_UNDEF && args.default_expr->type != ETYPE_UNDEF;
        if (token_ || kind_ != Kind::binary || !has_no_type || found_.expr) return;
        take(expr);
        for (const Expr* condition : items<Expr>(args.exprlist_condition)) {
            if (!message_.ends_with(" = " + excerpt(condition) + ")'")) continue;
            found_.expr = condition;
            found_.selector = args.casevar;
            return;
        }
    }

    void identifier(IdCon* idcon, IdCon* path) {
        if (stack_is_low()) return on_fresh_stack([&] { identifier(idcon, path); });
        if (idcon->contype == IDCON_COMPOSIT) {
            identifier(idcon->args.compositid.hier, path);
            identifier(idcon->args.compositid.nested, path);
            return;
        }
        if (idcon->contype == IDCON_ARRAY)
            for (const Expr* index : items<Expr>(idcon->args.array.exprlist))
                expression(index, Role::index);
        if ((kind_ != Kind::name && kind_ != Kind::value) || !is_here(idcon->linenumber)) return;
        const std::string_view name = idcon->args.id.idname;
        if (name != name_.substr(0, name_.find('['))) return;
        ++names_;
        found_ = {kind_ == Kind::value ? index_of(idcon) : nullptr, idcon, path};
        path_ = {nullptr, path, path};
    }

    // "Index in dimension 2 of array variable ..."
    const Expr* index_of(const IdCon* idcon) const {
        const std::size_t digit = message_.find_first_of("123456789");
        if (digit == std::string_view::npos || idcon->contype != IDCON_ARRAY) return nullptr;
        int dimension = message_[digit] - '0';
        for (const Expr* index : items<Expr>(idcon->args.array.exprlist))
            if (--dimension == 0) return index;
        return nullptr;
    }

    Kind kind_;
    std::string_view message_;
    std::optional<std::size_t> token_;
    std::string_view name_;
    Subject found_;
    Subject path_;
    unsigned names_ = 0;
};

} // namespace

std::string excerpt(const Expr* expr) {
    return printed(
        [=](UtilString* to) { ppm_printn_expr_str(const_cast<Expr*>(expr), to, shown_depth); });
}

std::string_view quoted_name(std::string_view message) {
    const std::size_t open = message.find('\'');
    if (open == std::string_view::npos) return {};
    const std::size_t close = message.find('\'', open + 1);
    if (close == std::string_view::npos) return {};
    return message.substr(open + 1, close - open - 1);
}

Subject subject_of(const Report& report, const Expr* root) {
    const auto row = std::ranges::find(rows, report.name, &Row::name);
    if (row == rows.end()) return {root, nullptr, nullptr};
    return Search(report, row->kind).run(root);
}

} // namespace norvane::driver
