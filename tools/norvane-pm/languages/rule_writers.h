// The writers of the languages, for languages.cpp.
#ifndef NORVANE_PM_RULE_WRITERS_H
#define NORVANE_PM_RULE_WRITERS_H

#include "languages.h"
#include "terms.h"
#include "writer.h"

namespace norvane::driver {

// A rule under its number, counted from 1, and the place it comes from: "bicycle.pm (23)".
struct NumberedRule {
    const Expr* expr;
    std::size_t number;
    const DeclaredAt& origin;
};

class RuleWriter {
  public:
    RuleWriter() = default;
    virtual ~RuleWriter() = default;
    RuleWriter(const RuleWriter&) = delete;
    RuleWriter& operator=(const RuleWriter&) = delete;

    virtual void begin() {}
    virtual void rule(const NumberedRule& rule) = 0; // throws Inexpressible
    virtual void end() {}
};

// A number, or a truth by its word.
void write_constant(Writer& out, const Expr* constant);

std::unique_ptr<RuleWriter> text_writer(const Terms& terms, const LanguageOptions& options,
                                        Writer& out);
std::unique_ptr<RuleWriter> pm_writer(const Terms& terms, Writer& out);
std::unique_ptr<RuleWriter> json_writer(const Terms& terms, bool by_name, Writer& out);
std::unique_ptr<RuleWriter> smtlib_writer(const Terms& terms, Writer& out);
std::unique_ptr<RuleWriter> minizinc_writer(const Terms& terms, Writer& out);
// Those that reduce rules to connections of two-valued variables. They pass over the rules twice,
// since clauses are counted before the first one: `rules` is called for each pass.
void write_clauses(const Terms& terms, RuleLanguage language, Writer& out,
                   const std::function<void(RuleWriter&)>& rules);

} // namespace norvane::driver

#endif
