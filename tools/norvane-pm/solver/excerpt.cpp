#include "excerpt.h"

#include <string>

#include "smtlib.h"

namespace norvane::driver {
namespace {

// No path looks like this: a name with a blank is in quotes there.
std::string selector(std::size_t rule) {
    return "|rule " + std::to_string(rule) + "|";
}

} // namespace

ConnectedRules::ConnectedRules(const Terms& terms, const std::vector<const Expr*>& rules)
    : terms_(terms), rules_(rules), rules_of_(terms.flat().size()) {
    for (std::size_t rule = 0; rule < rules.size(); ++rule)
        for (const std::size_t variable : variables_of(rule))
            rules_of_[variable].push_back(static_cast<std::uint32_t>(rule));
}

void ModelExcerpt::add_variable(Writer& out, std::size_t variable) {
    if (!has_variable_.insert(variable).second) return;
    variables_.push_back(variable);
    terms_.flat().with(variable, [this, &out](const FlatVariable& of) {
        SmtlibTerms(terms_, out).declaration(of);
    });
}

void ModelExcerpt::add_rules(const std::vector<std::size_t>& rules) {
    Writer out([this](std::string_view text) { solver_.send(text); });
    for (const std::size_t rule : rules) {
        if (!has_rule_.insert(rule).second) continue;
        rules_.push_back(rule);
        for (const std::size_t variable : all_.variables_of(rule))
            add_variable(out, variable);
        const std::string name = selector(rule);
        out << "(declare-const " << name << " Bool)\n(assert (=> " << name << ' ';
        SmtlibTerms(terms_, out).truth(all_.rule(rule));
        out << "))\n";
    }
}

Verdict ModelExcerpt::ask_with(const std::vector<std::size_t>& rules) {
    asked_with_ = {rules.begin(), rules.end()};
    if (rules.empty()) return ask(solver_); // not all solvers read an empty list
    std::string question = "(check-sat-assuming (";
    for (const std::size_t rule : rules)
        question += selector(rule) + " ";
    return ask(solver_, question + "))\n");
}

} // namespace norvane::driver
