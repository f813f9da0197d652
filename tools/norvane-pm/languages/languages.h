// Flat rules in other languages. Each writer streams: what it holds grows with the number of
// variables at most, not with that of the rules.
//
// All of them mean the same. A variable has the values 0 to its upper bound, a boolean false and
// true; those below an optional are there whether or not it is, and each rule holds for them; two
// optionals are equal if both are there or both are not; arithmetic is that of 32 bits.
#ifndef NORVANE_PM_LANGUAGES_H
#define NORVANE_PM_LANGUAGES_H

#include <cstdio>
#include <string>

#include "norvane/proj.hpp"

namespace norvane::driver {

enum class RuleLanguage { text, json, smtlib, minizinc, asp, dimacs, opb, pm };

struct LanguageOptions {
    RuleLanguage language = RuleLanguage::text;
    bool with_origin = false; // of the text
    bool by_name = false;     // values in the text and in JSON: "carbon" for 2
};

// A rule that the language cannot express. What was written before it is not a result.
struct Unwritten {
    std::string text; // "model.pm (3): the rule ..."
};

// Writes the rules, with their origins, and the variables where the language declares them. Stops
// early where the stream refuses to take more. Throws Unwritten.
void write_rules(const FlatModel& flat, const FlatRules& rules, const LanguageOptions& options,
                 std::FILE* stream);

// A flat rule with values by name.
std::string rule_by_name(const FlatModel& flat, const Expr* rule);

} // namespace norvane::driver

#endif
