// What the parts of a flat rule are: truths, numbers and the values that these can have.
#ifndef NORVANE_PM_TERMS_H
#define NORVANE_PM_TERMS_H

#include <cstdint>
#include <string>

#include "flat_model.h"

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
    Range range_of_binary(const Expr* expr) const;

    const FlatModel& flat_;
};

bool is_comparison(const Expr* expr);
bool is_equality(const Expr* expr); // or an inequality

} // namespace norvane::driver

#endif
