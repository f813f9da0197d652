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

// What could not be carried over, in words, and the line that it stands in.
struct LeftOut {
    unsigned line;
    std::string text;
};

struct Imported {
    std::string source;
    std::vector<std::pair<std::string, std::string>> texts; // names of PM, and what they stand for
    std::vector<LeftOut> left_out;
};

// Clauses, with names from comments. The text is in UTF-8, as in the other one.
Imported import_dimacs(std::string_view text);
// A feature model. The source has as many products as it has.
Imported import_uvl(std::string_view text);

} // namespace norvane::driver

#endif
