// The statements of a source, also of one that does not parse: up to the next semicolon, section
// word or brace.
#ifndef NORVANE_PM_STATEMENTS_H
#define NORVANE_PM_STATEMENTS_H

#include <cstddef>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "source_text.h"

namespace norvane::driver {

struct Statement {
    std::size_t first;
    std::size_t end;          // after its semicolon, or at what ends it otherwise
    std::string_view section; // the section word that it follows; empty before the first one
    unsigned depth = 0;       // of records around it
    bool is_record_rule = false;
    bool opens_record = false;  // its last token is a brace
    bool closes_record = false; // its first one is
    bool is_stray = false;      // begins with a brace that closes no record
    std::size_t whole_end = 0;  // of one that opens a record: after the statement that closes it
    bool is_closed = true;      // of one that opens a record

    bool is_rule() const { return depth == 0 ? section == "rule" : is_record_rule; }
    // What to parse before it, so that it stands where it does.
    std::string head() const;
};

// What tokens are taken for that stand for another word.
using MeantWords = std::unordered_map<std::size_t, std::string>;

// In the order of the source. They hold all tokens but the section words.
std::vector<Statement> statements_of(const SourceText& source, const MeantWords& meant);

} // namespace norvane::driver

#endif
