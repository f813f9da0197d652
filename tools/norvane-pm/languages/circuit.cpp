#include "circuit.h"

#include <algorithm>
#include <bit>
#include <utility>

#include "norvane/base/deep.hpp"

namespace norvane::driver {
namespace {

// A variable with more values is encoded by the bits of its number.
constexpr unsigned most_values = 64;

bool holds(std::int64_t left, unsigned char opr, std::int64_t right) {
    switch (opr) {
    case OPR_LT: return left < right;
    case OPR_LE: return left <= right;
    case OPR_GT: return left > right;
    case OPR_GE: return left >= right;
    case OPR_NEQ: return left != right;
    case OPR_EQ:
    case OPR_UBOUND_EQ: return left == right;
    default: throw Inexpressible{"it is not flat"};
    }
}

} // namespace

Encoding Circuit::encoding_of(const Shape& shape) {
    if (shape.upper == 1) return Encoding::truth;
    return shape.upper < most_values ? Encoding::values : Encoding::bits;
}

unsigned Circuit::literals_of(const Shape& shape) {
    switch (encoding_of(shape)) {
    case Encoding::truth: return 1;
    case Encoding::values: return shape.upper + 1;
    case Encoding::bits: break;
    }
    return static_cast<unsigned>(std::bit_width(shape.upper));
}

Circuit::Circuit(const Terms& terms, CircuitSink& sink) : terms_(terms), sink_(sink) {
    firsts_.reserve(terms.flat().size());
    terms.flat().for_each([this](const FlatVariable& variable) {
        firsts_.push_back(last_ + 1);
        last_ += static_cast<Literal>(literals_of(variable.shape));
        return true;
    });
}

void Circuit::bound_variables() {
    terms_.flat().for_each([this](const FlatVariable& variable) {
        bound(variable.number, variable.shape);
        return true;
    });
}

void Circuit::bound(std::size_t number, const Shape& shape) {
    switch (encoding_of(shape)) {
    case Encoding::truth: return;
    case Encoding::values: exactly_one(firsts_[number], shape.upper + 1); return;
    case Encoding::bits: break;
    }
    std::vector<Literal> clause = {-less(constant(shape.upper), variable(number, shape))};
    add_clause(clause);
}

void Circuit::exactly_one(Literal first, unsigned count) {
    if (sink_.has_one_of()) return sink_.one_of(first, first + static_cast<Literal>(count) - 1);
    std::vector<Literal> one;
    Literal before = never; // one of those before this one holds
    for (Literal literal = first; literal < first + static_cast<Literal>(count); ++literal) {
        one.push_back(literal);
        std::vector<Literal> not_two = {-before, -literal};
        add_clause(not_two);
        before = either(before, literal);
    }
    add_clause(one);
}

// Gates. -----------------------------------------------------------------------------------------

Literal Circuit::both(Literal a, Literal b) {
    if (a == never || b == never || a == -b) return never;
    if (a == always || a == b) return b;
    if (b == always) return a;
    sink_.conjunction(++last_, a, b);
    return last_;
}

Literal Circuit::differ(Literal a, Literal b) {
    if (a == never || b == never) return a == never ? b : a;
    if (a == always || b == always) return a == always ? -b : -a;
    if (a == b || a == -b) return a == b ? never : always;
    sink_.parity(++last_, a, b);
    return last_;
}

Literal Circuit::choose(Literal test, Literal yes, Literal no) {
    if (test == always || yes == no) return yes;
    if (test == never) return no;
    if (yes == always || yes == test) return either(test, no);
    if (yes == never || yes == -test) return both(-test, no);
    if (no == always || no == -test) return either(-test, yes);
    if (no == never || no == test) return both(test, yes);
    sink_.choice(++last_, test, yes, no);
    return last_;
}

// Rules. -----------------------------------------------------------------------------------------

void Circuit::require(const Expr* rule) {
    if (stack_is_low()) return on_fresh_stack([&] { require(rule); });
    if (rule->structure == EXPR_BINARY && rule->opr == OPR_AND) {
        require(rule->args.binargs.leftarg);
        require(rule->args.binargs.rightarg);
        return;
    }
    std::vector<Literal> clause;
    gather(rule, true, clause);
    add_clause(clause);
}

namespace {

// Whether the expression holds, or does not, if one of its sides does or does not.
bool is_alternative(const Expr* expr, bool is_true) {
    return expr->opr == OPR_AND ? !is_true
                                : is_true && (expr->opr == OPR_OR || expr->opr == OPR_IMPLIES);
}

} // namespace

// Adds literals of which one holds if and only if the expression does, or does not.
void Circuit::gather(const Expr* expr, bool is_true, std::vector<Literal>& clause) {
    if (stack_is_low()) return on_fresh_stack([&] { gather(expr, is_true, clause); });
    const auto& args = expr->args;
    if (expr->structure == EXPR_UNARY && expr->opr == OPR_NOT)
        return gather(args.arg, !is_true, clause);
    if (expr->structure == EXPR_BINARY && terms_.is_truth(expr)) {
        if (is_alternative(expr, is_true)) {
            const bool is_implication = expr->opr == OPR_IMPLIES;
            gather(args.binargs.leftarg, is_implication ? !is_true : is_true, clause);
            gather(args.binargs.rightarg, is_true, clause);
            return;
        }
        if (is_true && is_comparison(expr) && allowed_values(expr, clause)) return;
    }
    const Literal literal = truth(expr);
    clause.push_back(is_true ? literal : -literal);
}

void Circuit::add_clause(std::vector<Literal>& clause) {
    if (std::ranges::find(clause, always) != clause.end()) return;
    std::erase(clause, never);
    if (!clause.empty()) return sink_.clause(clause);
    // Formats differ in what an empty clause is; a literal that holds and does not is the same.
    const Literal one = last_ > 0 ? 1 : ++last_;
    const Literal contradiction[] = {one, -one};
    sink_.clause({contradiction, 1});
    sink_.clause({contradiction + 1, 1});
}

Literal Circuit::truth(const Expr* expr) {
    if (stack_is_low()) return on_fresh_stack([&] { return truth(expr); });
    const auto& args = expr->args;
    switch (form_of(expr)) {
    case FlatForm::constant: return args.intconst.value != 0 ? always : never;
    case FlatForm::name: return firsts_[terms_.truth(expr).number];
    case FlatForm::unary:
        if (expr->opr != OPR_NOT) throw Inexpressible{"it uses a number as a boolean"};
        return -truth(args.arg);
    case FlatForm::conditional: {
        const Literal test = truth(args.ite.logictest);
        const Literal yes = truth(args.ite.trueexpr);
        return choose(test, yes, truth(args.ite.falseexpr));
    }
    case FlatForm::binary: break;
    }
    return binary_truth(expr);
}

Literal Circuit::binary_truth(const Expr* expr) {
    if (is_comparison(expr)) {
        if (is_equality(expr) && terms_.compares_wholes(expr)) return compare_wholes(expr);
        if (!terms_.is_truth(expr->args.binargs.leftarg)) return compare(expr);
    }
    const Literal left = truth(expr->args.binargs.leftarg);
    const Literal right = truth(expr->args.binargs.rightarg);
    switch (expr->opr) {
    case OPR_AND: return both(left, right);
    case OPR_OR: return either(left, right);
    case OPR_IMPLIES: return either(-left, right);
    case OPR_XOR:
    case OPR_NEQ: return differ(left, right);
    case OPR_BIIMPLIES:
    case OPR_EQ: return -differ(left, right);
    default: throw Inexpressible{"it is not flat"};
    }
}

bool Circuit::allowed_values(const Expr* expr, std::vector<Literal>& allowed) {
    const auto sides = name_and_constant(expr);
    if (!sides || terms_.is_truth(sides->name)) return false;
    const auto [number, shape] = terms_.number(sides->name);
    if (encoding_of(shape) == Encoding::bits) return false;
    const std::int64_t limit = sides->constant->args.intconst.value;
    for (unsigned i = 0; i <= shape.upper; ++i) {
        if (!(sides->has_name_first ? holds(i, expr->opr, limit) : holds(limit, expr->opr, i)))
            continue;
        const Literal first = firsts_[number];
        const bool is_one = encoding_of(shape) == Encoding::truth;
        allowed.push_back(is_one ? (i == 0 ? -first : first) : first + static_cast<Literal>(i));
    }
    return true;
}

Literal Circuit::compare(const Expr* expr) {
    std::vector<Literal> allowed;
    if (allowed_values(expr, allowed)) {
        Literal one = never;
        for (const Literal literal : allowed)
            one = either(one, literal);
        return one;
    }
    push_number(expr->args.binargs.leftarg);
    push_number(expr->args.binargs.rightarg);
    const Number right = pop_number();
    const Number left = pop_number();
    switch (expr->opr) {
    case OPR_LT: return less(left, right);
    case OPR_LE: return -less(right, left);
    case OPR_GT: return less(right, left);
    case OPR_GE: return -less(left, right);
    case OPR_NEQ: return -equal(left, right);
    case OPR_EQ:
    case OPR_UBOUND_EQ: return equal(left, right);
    default: throw Inexpressible{"it is not flat"};
    }
}

Literal Circuit::compare_wholes(const Expr* expr) {
    Literal same = always;
    for_each_pair(terms_.place(expr->args.binargs.leftarg),
                  terms_.place(expr->args.binargs.rightarg),
                  [&](std::size_t a, std::size_t b, const Shape& shape) {
                      const Literal one = equal(variable(a, shape), variable(b, shape));
                      same = both(same, one);
                  });
    return expr->opr == OPR_NEQ ? -same : same;
}

Literal Circuit::equal(const Number& a, const Number& b) {
    Literal same = always;
    for (std::size_t i = 0; i < std::max(a.bits.size(), b.bits.size()); ++i)
        same = both(same, -differ(a.bit(i), b.bit(i)));
    return same;
}

Literal Circuit::less(const Number& a, const Number& b) {
    const std::size_t sign = std::max(a.bits.size(), b.bits.size()) - 1;
    Literal result = never;
    for (std::size_t i = 0; i < sign; ++i)
        result = choose(differ(a.bit(i), b.bit(i)), b.bit(i), result);
    return choose(differ(a.bit(sign), b.bit(sign)), a.bit(sign), result);
}

// Numbers. ---------------------------------------------------------------------------------------

Circuit::Number Circuit::pop_number() {
    Number number = std::move(numbers_.back());
    numbers_.pop_back();
    return number;
}

Circuit::Number Circuit::constant(std::int64_t value) {
    Number number{{}, {value, value}};
    for (unsigned i = 0; i < signed_bits(number.range); ++i)
        number.bits.push_back(((value >> i) & 1) != 0 ? always : never);
    return number;
}

Circuit::Number Circuit::variable(std::size_t number, const Shape& shape) {
    const Literal first = firsts_[number];
    Number result{{}, {0, shape.upper}};
    const unsigned bits = signed_bits(result.range) - 1;
    switch (encoding_of(shape)) {
    case Encoding::truth: result.bits = {first}; break;
    case Encoding::bits:
        for (unsigned i = 0; i < bits; ++i)
            result.bits.push_back(first + static_cast<Literal>(i));
        break;
    case Encoding::values: {
        const auto known = bits_of_.find(number);
        if (known != bits_of_.end()) return known->second;
        for (unsigned i = 0; i < bits; ++i) {
            Literal bit = never;
            for (unsigned value = 0; value <= shape.upper; ++value)
                if (((value >> i) & 1) != 0) bit = either(bit, first + static_cast<Literal>(value));
            result.bits.push_back(bit);
        }
        result.bits.push_back(never);
        bits_of_.emplace(number, result);
        return result;
    }
    }
    result.bits.push_back(never);
    return result;
}

void Circuit::push_number(const Expr* expr) {
    if (stack_is_low()) return on_fresh_stack([&] { push_number(expr); });
    const auto& args = expr->args;
    switch (form_of(expr)) {
    case FlatForm::constant: numbers_.push_back(constant(args.intconst.value)); return;
    case FlatForm::name: {
        const auto [number, shape] = terms_.number(expr);
        numbers_.push_back(variable(number, shape));
        return;
    }
    case FlatForm::unary: {
        push_number(args.arg);
        const Number arg = pop_number();
        numbers_.push_back(added(constant(0), arg, true, negated(arg.range)));
        return;
    }
    case FlatForm::conditional: {
        const Literal test = truth(args.ite.logictest);
        push_number(args.ite.trueexpr);
        push_number(args.ite.falseexpr);
        const Number no = pop_number();
        const Number yes = pop_number();
        Number chosen{{}, joined(yes.range, no.range)};
        for (std::size_t i = 0; i < std::max(yes.bits.size(), no.bits.size()); ++i)
            chosen.bits.push_back(choose(test, yes.bit(i), no.bit(i)));
        numbers_.push_back(std::move(chosen));
        return;
    }
    case FlatForm::binary: push_binary(expr);
    }
}

void Circuit::push_binary(const Expr* expr) {
    push_number(expr->args.binargs.leftarg);
    push_number(expr->args.binargs.rightarg);
    const Number right = pop_number();
    const Number left = pop_number();
    const Range range = range_of_result(expr->opr, left.range, right.range);
    switch (expr->opr) {
    case OPR_PLUS: numbers_.push_back(added(left, right, false, range)); return;
    case OPR_MINUS: numbers_.push_back(added(left, right, true, range)); return;
    case OPR_TIMES: numbers_.push_back(multiplied(left, right, range)); return;
    default: numbers_.push_back(bitwise(left, right, expr->opr, range));
    }
}

Circuit::Number Circuit::added(const Number& a, const Number& b, bool negates, const Range& range) {
    Number sum{{}, range};
    Literal carry = negates ? always : never;
    for (unsigned i = 0; i < signed_bits(range); ++i) {
        const Literal left = a.bit(i);
        const Literal right = negates ? -b.bit(i) : b.bit(i);
        const Literal half = differ(left, right);
        sum.bits.push_back(differ(half, carry));
        carry = choose(half, carry, left);
    }
    return sum;
}

Circuit::Number Circuit::multiplied(const Number& a, const Number& b, const Range& range) {
    const unsigned bits = signed_bits(range);
    Number result{std::vector<Literal>(bits, never), range};
    for (unsigned i = 0; i < bits; ++i) {
        if (b.bit(i) == never) continue;
        Literal carry = never;
        for (unsigned j = i; j < bits; ++j) {
            const Literal term = both(a.bit(j - i), b.bit(i));
            const Literal half = differ(result.bits[j], term);
            const Literal next = choose(half, carry, term);
            result.bits[j] = differ(half, carry);
            carry = next;
        }
    }
    return result;
}

Circuit::Number Circuit::bitwise(const Number& a, const Number& b, unsigned char opr,
                                 const Range& range) {
    Number result{{}, range};
    for (unsigned i = 0; i < signed_bits(range); ++i) {
        const Literal left = a.bit(i);
        const Literal right = b.bit(i);
        result.bits.push_back(opr == OPR_AND  ? both(left, right)
                              : opr == OPR_OR ? either(left, right)
                                              : differ(left, right));
    }
    return result;
}

} // namespace norvane::driver
