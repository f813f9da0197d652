// What the parts of a flat rule are: truths, numbers and the values that these can have.
#ifndef NORVANE_PM_TERMS_H
#define NORVANE_PM_TERMS_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "norvane/proj.hpp"

namespace norvane::driver {

// A rule that a language cannot express: why.
struct Inexpressible {
    std::string why;
};

// The values of a number, from `low` to `high`. Arithmetic wraps around in 32 bits, so a result
// that may leave them can be any number.
struct Range {
    std::int64_t low;
    std::int64_t high;
    bool wraps = false; // itself or a part of it
};

// The number of bits that hold all values of the range as a signed number, at most 32.
unsigned signed_bits(const Range& range);

Range negated(const Range& range);
// The values of both.
Range joined(const Range& left, const Range& right);
// The results of an operator on numbers. Throws Inexpressible for an operator that has none.
Range range_of_result(unsigned char opr, const Range& left, const Range& right);

// What an expression of a flat rule can be. A switch over it has no `default:`.
enum class FlatForm { binary, unary, name, constant, conditional };
// Throws Inexpressible for what only a rule as it is written can be.
FlatForm form_of(const Expr* expr);

// An operator as PM spells it. Throws Inexpressible for one that flat rules do not have.
std::string_view word_of(unsigned char opr);

// A scalar that an expression names.
struct Named {
    std::size_t number;
    const Shape& shape;
};

class Terms {
  public:
    explicit Terms(const FlatModel& flat) : flat_(flat) {}

    const FlatModel& flat() const { return flat_; }
    bool is_truth(const Expr* expr) const;
    Range range_of(const Expr* expr) const;
    // Whether an equality compares records or arrays as a whole.
    bool compares_wholes(const Expr* equality) const;
    // What is named; the path is put into `path`, where that is given.
    FlatPlace place(const Expr* named, std::string* path = nullptr) const;
    Named scalar(const Expr* named, std::string* path = nullptr) const;
    // A scalar that is a truth, or one that is a number.
    Named truth(const Expr* named, std::string* path = nullptr) const;
    Named number(const Expr* named, std::string* path = nullptr) const;

  private:
    const FlatModel& flat_;
};

bool is_equality(const Expr* expr); // or an inequality

// A binary expression of a name and a constant, whichever comes first.
struct NameAndConstant {
    const Expr* name;
    const Expr* constant;
    bool has_name_first;
};
std::optional<NameAndConstant> name_and_constant(const Expr* binary);

} // namespace norvane::driver

#endif
