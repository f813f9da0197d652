// Models in other languages, written as source of PM.
#ifndef NORVANE_PM_IMPORT_H
#define NORVANE_PM_IMPORT_H

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace norvane::driver {

// The text is not of its language.
struct ImportFault {
    unsigned line;
    unsigned column; // in bytes, from 1
    std::string text;
};

// A construct that PM cannot express, and its line.
struct LeftOut {
    unsigned line;
    std::string text;
};

struct Imported {
    std::string source;
    std::vector<std::pair<std::string, std::string>> texts; // names of PM, and what they stand for
    std::vector<LeftOut> left_out;
};

// Imports clauses in DIMACS; names come from comments. Both functions take UTF-8.
Imported import_dimacs(std::string_view text);
// Imports a feature model in UVL. The PM model has the same number of products.
Imported import_uvl(std::string_view text);

} // namespace norvane::driver

#endif
