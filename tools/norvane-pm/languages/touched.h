// Which variables a flat rule names, and which variables hang together by rules.
#ifndef NORVANE_PM_TOUCHED_H
#define NORVANE_PM_TOUCHED_H

#include <cstddef>
#include <vector>

#include "terms.h"

namespace norvane::driver {

// The numbers of the variables in their order, each once; all of them for a record or an array.
std::vector<std::size_t> variables_of(const Terms& terms, const Expr* rule);

// Variables that rules connect, directly or through others.
class Groups {
  public:
    explicit Groups(std::size_t variables);
    void connect(const std::vector<std::size_t>& variables);
    // The first variable of the group that this one is in.
    std::size_t first_of(std::size_t variable);

  private:
    std::vector<std::size_t> nearer_; // a variable of the group with a lower number, or itself
};

} // namespace norvane::driver

#endif
