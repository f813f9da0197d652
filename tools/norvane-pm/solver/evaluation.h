// What a flat rule says of a product, computed without a solver.
#ifndef NORVANE_PM_EVALUATION_H
#define NORVANE_PM_EVALUATION_H

#include <cstdint>

#include "answers.h"
#include "terms.h"

namespace norvane::driver {

// Borrows both.
class Evaluation {
  public:
    Evaluation(const Terms& terms, const Product& product) : terms_(terms), product_(product) {}

    // Throws Inexpressible, as the writers of languages do.
    bool truth(const Expr* expr) const;

  private:
    bool truth_of_binary(const Expr* expr) const;
    bool are_same_wholes(const Expr* equality) const;
    std::int32_t number(const Expr* expr) const;
    std::int32_t number_of_binary(const Expr* expr) const;

    const Terms& terms_;
    const Product& product_;
};

} // namespace norvane::driver

#endif
