// Which part of an expression a report of the library is about.
#ifndef NORVANE_PM_FAULT_PLACE_H
#define NORVANE_PM_FAULT_PLACE_H

#include <string>
#include <string_view>
#include <vector>

#include "norvane/proj.hpp"

namespace norvane::driver {

// The parts that the report may be about: an Expr, or an IdCon and the path that it is in.
struct Subject {
    const Expr* expr = nullptr;
    IdCon* idcon = nullptr;
    IdCon* path = nullptr;
    const IdCon* selector = nullptr; // of the case, where the expression is the value of an arm
    const void* part() const { return expr ? static_cast<const void*>(expr) : idcon; }
};

// The part of a checked expression at which the check has ended; empty where several are possible.
Subject subject_of(const Report& report, const Expr* root);

// An expression as reports show it.
std::string excerpt(const Expr* expr);

// The first text of a message in single quotes.
std::string_view quoted_name(std::string_view message);

} // namespace norvane::driver

#endif
