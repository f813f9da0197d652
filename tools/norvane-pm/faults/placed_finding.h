// Findings while they are gathered.
#ifndef NORVANE_PM_PLACED_FINDING_H
#define NORVANE_PM_PLACED_FINDING_H

#include <string>
#include <vector>

#include "finding.h"
#include "source_text.h"

namespace norvane::driver {

// A finding with the token that it is about, by which findings are put in the order of the source.
struct PlacedFinding {
    std::size_t token;
    Finding finding;
    bool has_all_places = true; // false where a part of the correction is in no file
};

// Sorts the findings by place. Findings repeated at one place, because a file is included twice or
// a macro uses an argument twice, are merged.
std::vector<Finding> in_order(std::vector<PlacedFinding> all);

// An error at these tokens, with the macro and the includes that they came by.
PlacedFinding error_at(const SourceText& source, TokenRange range, std::string name,
                       std::string message);

// Adds what to write instead of these tokens. What a macro has put there cannot be replaced.
void replace(const SourceText& source, PlacedFinding& found, TokenRange range, std::string text,
             bool is_certain);

// Adds what to write between tokens.
void insert_before(const SourceText& source, PlacedFinding& found, std::size_t token,
                   std::string text, bool is_certain);
void insert_after(const SourceText& source, PlacedFinding& found, std::size_t token,
                  std::string text, bool is_certain);

} // namespace norvane::driver

#endif
