// Expressions, as views of the trees of a model.
#ifndef NORVANE_PYTHON_EXPRESSIONS_H
#define NORVANE_PYTHON_EXPRESSIONS_H

#include <memory>

#include "library.h"

namespace norvane::python {

// Keeps what the tree belongs to.
struct Expression {
    std::shared_ptr<const void> owner;
    Expr* expr;
};

// A type as it is declared, or as the finite form has it.
struct Type {
    std::shared_ptr<const void> owner;
    TypeCon* typecon;
};

} // namespace norvane::python

#endif
