// Flat rules as a circuit of two-valued gates: what clauses, pseudo-boolean constraints and logic
// programs are written from.
#ifndef NORVANE_PM_CIRCUIT_H
#define NORVANE_PM_CIRCUIT_H

#include <limits>
#include <span>
#include <unordered_map>
#include <vector>

#include "terms.h"

namespace norvane::driver {

// The number of a two-valued variable, from 1, or minus that for its negation.
using Literal = int;
constexpr Literal always = std::numeric_limits<int>::max();
constexpr Literal never = -always;

// What a circuit is written to. `out` of a gate is a literal of its own, which the others decide,
// so a language counts as many solutions as the rules have.
class CircuitSink {
  public:
    CircuitSink() = default;
    virtual ~CircuitSink() = default;
    CircuitSink(const CircuitSink&) = delete;
    CircuitSink& operator=(const CircuitSink&) = delete;

    virtual void conjunction(Literal out, Literal a, Literal b) = 0;
    virtual void parity(Literal out, Literal a, Literal b) = 0;
    virtual void choice(Literal out, Literal test, Literal yes, Literal no) = 0;
    virtual void clause(std::span<const Literal> literals) = 0; // one of them at least
    virtual bool has_one_of() const { return false; }
    virtual void one_of(Literal /*first*/, Literal /*last*/) {} // exactly one, where it has this
};

// How a variable is made of literals.
enum class Encoding {
    truth,  // one literal, for variables with two values: the second of them
    values, // one literal for each value, of which exactly one holds
    bits    // those of the number, the lowest first
};

class Circuit {
  public:
    Circuit(const Terms& terms, CircuitSink& sink);

    static Encoding encoding_of(const Shape& shape);
    static unsigned literals_of(const Shape& shape);
    Literal first_literal(std::size_t variable) const { return firsts_[variable]; }
    Literal last() const { return last_; }

    // Limits each variable to its values.
    void bound_variables();
    // Makes a rule hold.
    void require(const Expr* rule);

  private:
    // A signed number; its last bit is the sign.
    struct Number {
        std::vector<Literal> bits;
        Range range;
        Literal bit(std::size_t i) const { return i < bits.size() ? bits[i] : bits.back(); }
    };

    void bound(std::size_t variable, const Shape& shape);
    void exactly_one(Literal first, unsigned count);

    Literal both(Literal a, Literal b);
    Literal either(Literal a, Literal b) { return -both(-a, -b); }
    Literal differ(Literal a, Literal b);
    Literal choose(Literal test, Literal yes, Literal no);

    void gather(const Expr* expr, bool holds, std::vector<Literal>& clause);
    void add_clause(std::vector<Literal>& clause);

    Literal truth(const Expr* expr);
    Literal binary_truth(const Expr* expr);
    Literal compare(const Expr* expr);
    Literal compare_wholes(const Expr* expr);
    // The values of a variable that a comparison with a constant allows, where each has a literal.
    bool allowed_values(const Expr* expr, std::vector<Literal>& allowed);
    Literal equal(const Number& a, const Number& b);
    Literal less(const Number& a, const Number& b);

    // Numbers are kept in a stack, since those of deep expressions cannot be returned by value.
    void push_number(const Expr* expr);
    void push_binary(const Expr* expr);
    Number pop_number();
    Number variable(std::size_t number, const Shape& shape);
    static Number constant(std::int64_t value);
    Number added(const Number& a, const Number& b, bool negates, const Range& range);
    Number multiplied(const Number& a, const Number& b, const Range& range);
    Number bitwise(const Number& a, const Number& b, unsigned char opr, const Range& range);

    const Terms& terms_;
    CircuitSink& sink_;
    std::vector<Literal> firsts_; // of each variable
    Literal last_ = 0;            // the highest literal that is in use
    std::vector<Number> numbers_;
    std::unordered_map<std::size_t, Number> bits_of_; // of variables encoded by their values
};

} // namespace norvane::driver

#endif
