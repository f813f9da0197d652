#include "questions.h"

#include <algorithm>
#include <charconv>
#include <numeric>

namespace norvane::driver {
namespace {

// How many variables one question about their values is about.
constexpr std::size_t variables_at_once = 256;

// How many of them, from these on, are read back from an answer: those before are decided, and what
// is seen of those after spares questions.
constexpr std::size_t variables_read = 4096;
// Rules of which a first question for a contradiction names one selector.
constexpr std::size_t rules_in_group = 256;

// No path looks like this: a name with a blank is in quotes there.
std::string selector(std::size_t rule) {
    return "|rule " + std::to_string(rule) + "|";
}

std::string group_selector(std::size_t group) {
    return "|rules " + std::to_string(group) + "|";
}

// The words of an answer: names between bars as one word, brackets as words of their own.
std::vector<std::string_view> words_of(std::string_view text) {
    std::vector<std::string_view> words;
    for (std::size_t at = 0; at < text.size();) {
        const char c = text[at];
        std::size_t end = at + 1;
        if (c == ' ' || c == '\n' || c == '\r' || c == '\t') {
            at = end;
            continue;
        }
        if (c == '|')
            end = std::min(text.find('|', end), text.size() - 1) + 1;
        else if (c != '(' && c != ')')
            end = std::min(text.find_first_of(" \n\r\t()|", end), text.size());
        words.push_back(text.substr(at, end - at));
        at = end;
    }
    return words;
}

// "true", "#b101" or "#x1F".
std::optional<unsigned> value_of(std::string_view word) {
    if (word == "true") return 1;
    if (word == "false") return 0;
    if (word.size() < 3 || word[0] != '#') return {};
    unsigned value = 0;
    const char* end = word.data() + word.size();
    const auto [after, error] =
        std::from_chars(word.data() + 2, end, value, word[1] == 'b' ? 2 : 16);
    if (error != std::errc() || after != end) return {};
    return value;
}

} // namespace

Verdict ask(SolverProcess& solver, const std::string& question) {
    solver.send(question);
    const std::string answer = solver.answer();
    if (answer == "sat") return Verdict::yes;
    if (answer == "unsat") return Verdict::no;
    if (answer == "unknown" || answer == "timeout") return Verdict::unknown;
    throw SolverFault{"the solver " + solver.name() + " answers " + answer.substr(0, 60) +
                      " where sat, unsat or unknown is expected"};
}

namespace {

// The values that satisfy what was asked, of `count` names that were sent.
Product read_values(SolverProcess& solver, std::size_t count) {
    const std::string answer = solver.answer();
    Product product;
    const auto words = words_of(answer);
    // ((NAME VALUE) (NAME VALUE) ...)
    for (std::size_t i = 1; i + 3 < words.size() && words[i] == "("; i += 4) {
        const auto value = value_of(words[i + 2]);
        if (!value || words[i + 3] != ")") break;
        product.push_back(*value);
    }
    if (product.size() != count)
        throw SolverFault{"the solver " + solver.name() +
                          " gives no values: " + answer.substr(0, 60)};
    return product;
}

// Of the variables of one model alone, from a number to another.
Product read_product(SolverProcess& solver, const FlatModel& flat, std::size_t from,
                     std::size_t to) {
    {
        Writer out([&solver](std::string_view text) { solver.send(text); });
        out << "(get-value (";
        for (std::size_t variable = from; variable < to; ++variable)
            flat.with(variable, [&](const FlatVariable& of) {
                SmtlibTerms::name(out, of.path);
                out << ' ';
            });
        out << "))\n";
    }
    return read_values(solver, to - from);
}

} // namespace

Product read_product(SolverProcess& solver, const FlatModel& flat, const std::string& prefix) {
    {
        Writer out([&solver](std::string_view text) { solver.send(text); });
        out << "(get-value (";
        flat.for_each([&](const FlatVariable& variable) {
            SmtlibTerms::name(out, prefix + variable.path);
            out << ' ';
            return true;
        });
        out << "))\n";
    }
    return read_values(solver, flat.size());
}

Questions::Questions(const Terms& terms, const FlatRules& rules, SolverProcess& solver)
    : terms_(terms), solver_(solver) {
    Writer out([&solver](std::string_view text) { solver.send(text); });
    out << "(set-option :produce-models true)\n"
           "(set-option :produce-unsat-assumptions true)\n"
           "(set-logic QF_BV)\n";
    SmtlibTerms smtlib(terms, out);
    smtlib.declarations();
    for (const FlatRule rule : rules) {
        const std::string name = selector(rules_.size());
        out << "(declare-const " << name << " Bool)\n(assert (=> " << name << ' ';
        smtlib.truth(rule.expr);
        out << "))\n";
        rules_.push_back(rule.expr);
    }
    if (rules_.size() <= rules_in_group) return;
    for (std::size_t from = 0; from < rules_.size(); from += rules_in_group) {
        const std::string name = group_selector(from / rules_in_group);
        out << "(declare-const " << name << " Bool)\n(assert (=> " << name << " (and true true";
        for (std::size_t i = from; i < std::min(from + rules_in_group, rules_.size()); ++i)
            out << ' ' << selector(i);
        out << ")))\n";
    }
}

void Questions::assert_value(Writer& out, std::size_t variable, unsigned value) {
    terms_.flat().with(variable, [&](const FlatVariable& v) {
        SmtlibTerms::has_value(out, v.path, v.shape, value);
    });
}

void Questions::enable(std::size_t from, std::size_t to) {
    std::string text;
    for (std::size_t i = from; i < to; ++i)
        text += "(assert " + selector(i) + ")\n";
    solver_.send(text);
}

Verdict Questions::has_product(Product* product) {
    push();
    enable_all();
    const Verdict verdict = ask(solver_);
    if (verdict == Verdict::yes && product) *product = read_product(solver_, terms_.flat());
    pop();
    return verdict;
}

// Contradictions. --------------------------------------------------------------------------------

Verdict Questions::ask_with(const std::vector<std::size_t>& rules) {
    if (rules.empty()) return ask(solver_); // not all solvers read an empty list
    std::string question = "(check-sat-assuming (";
    for (const std::size_t rule : rules)
        question += selector(rule) + " ";
    return ask(solver_, question + "))\n");
}

// The numbers of the selectors that contradict each other: of rules, or of groups.
std::vector<std::size_t> Questions::read_core(std::string_view begin, std::size_t count) {
    solver_.send("(get-unsat-assumptions)\n");
    const std::string answer = solver_.answer();
    std::vector<std::size_t> core;
    for (const std::string_view word : words_of(answer)) {
        std::size_t rule = 0;
        if (word.starts_with(begin) &&
            std::from_chars(word.data() + begin.size(), word.data() + word.size(), rule).ec ==
                std::errc() &&
            rule < count)
            core.push_back(rule);
    }
    std::ranges::sort(core);
    return core;
}

// All rules of a small model; in a large one only those of contradicting groups. One selector per
// rule in each question would take quadratic time.
std::vector<std::size_t> Questions::rules_that_matter() {
    std::vector<std::size_t> rules(rules_.size());
    std::iota(rules.begin(), rules.end(), std::size_t{0});
    if (rules.size() <= rules_in_group) return rules;
    const std::size_t groups = (rules.size() - 1) / rules_in_group + 1;
    std::string question = "(check-sat-assuming (";
    for (std::size_t group = 0; group < groups; ++group)
        question += group_selector(group) + " ";
    if (ask(solver_, question + "))\n") != Verdict::no) return rules;
    std::vector<bool> matters(groups);
    for (const std::size_t group : read_core("|rules ", groups))
        matters[group] = true;
    std::erase_if(rules, [&matters](std::size_t rule) { return !matters[rule / rules_in_group]; });
    return rules;
}

// Leaves out one rule after the other as long as the rest contradicts itself.
std::optional<Questions::Contradiction> Questions::smallest_core() {
    if (ask_with(rules_that_matter()) != Verdict::no) return {};
    Contradiction found{read_core("|rule ", rules_.size())};
    for (std::size_t i = 0; i < found.rules.size();) {
        std::vector<std::size_t> others = found.rules;
        others.erase(others.begin() + static_cast<std::ptrdiff_t>(i));
        const Verdict verdict = ask_with(others);
        if (verdict == Verdict::no) {
            // Those before are needed still, so the place in the list stays.
            found.rules = read_core("|rule ", rules_.size());
        } else {
            found.is_smallest = found.is_smallest && verdict == Verdict::yes;
            ++i;
        }
    }
    return found;
}

std::optional<Questions::Contradiction> Questions::contradiction() {
    return smallest_core();
}

std::optional<Questions::Contradiction> Questions::why_not(std::size_t variable,
                                                           const std::vector<unsigned>& values) {
    push();
    {
        Writer out([this](std::string_view text) { solver_.send(text); });
        out << "(assert (or false false";
        for (const unsigned value : values) {
            out << ' ';
            assert_value(out, variable, value);
        }
        out << "))\n";
    }
    auto found = smallest_core();
    pop();
    return found;
}

// Values. ----------------------------------------------------------------------------------------

std::vector<PossibleValues> Questions::possible_values(const Product& known, unsigned most) {
    std::vector<PossibleValues> values(terms_.flat().size());
    terms_.flat().for_each([&](const FlatVariable& variable) {
        if (variable.shape.upper >= most) return true;
        auto& possible = values[variable.number].is_possible;
        possible.resize(variable.shape.upper + 1);
        possible[known[variable.number]] = true;
        return true;
    });
    push();
    enable_all();
    for (std::size_t from = 0; from < values.size(); from += variables_at_once)
        find_values(from, std::min(from + variables_at_once, values.size()), values);
    pop();
    return values;
}

// Asks for products with a value not seen before until there is none. One product shows a value of
// every variable, so few questions suffice.
void Questions::find_values(std::size_t from, std::size_t to, std::vector<PossibleValues>& values) {
    Verdict verdict = Verdict::yes;
    while (verdict == Verdict::yes) {
        push();
        assert_unseen(from, to, values);
        verdict = ask(solver_);
        const std::size_t end = std::min(from + variables_read, values.size());
        if (verdict == Verdict::yes)
            note_values(read_product(solver_, terms_.flat(), from, end), from, values);
        pop();
    }
    for (std::size_t variable = from; variable < to; ++variable)
        values[variable].is_known = verdict == Verdict::no && !values[variable].is_possible.empty();
}

void Questions::assert_unseen(std::size_t from, std::size_t to,
                              const std::vector<PossibleValues>& values) {
    Writer out([this](std::string_view text) { solver_.send(text); });
    out << "(assert (or false false";
    for (std::size_t variable = from; variable < to; ++variable) {
        const auto& possible = values[variable].is_possible;
        for (unsigned value = 0; value < possible.size(); ++value) {
            if (possible[value]) continue;
            out << ' ';
            assert_value(out, variable, value);
        }
    }
    out << "))\n";
}

void Questions::note_values(const Product& product, std::size_t from,
                            std::vector<PossibleValues>& values) {
    for (std::size_t i = 0; i < product.size(); ++i) {
        auto& possible = values[from + i].is_possible;
        if (product[i] < possible.size()) possible[product[i]] = true;
    }
}

// Rules. -----------------------------------------------------------------------------------------

void Questions::redundant_rules(const std::function<void(std::size_t, Verdict)>& found) {
    if (!rules_.empty()) find_redundant(0, rules_.size(), found);
}

// All rules outside of the range hold already: half of those inside are added for the other half,
// so each is sent a few times only.
void Questions::find_redundant(std::size_t from, std::size_t to,
                               const std::function<void(std::size_t, Verdict)>& found) {
    if (to - from == 1) {
        push();
        {
            Writer out([this](std::string_view text) { solver_.send(text); });
            out << "(assert (not ";
            SmtlibTerms(terms_, out).truth(rules_[from]);
            out << "))\n";
        }
        const Verdict verdict = ask(solver_);
        pop();
        return found(from, verdict);
    }
    const std::size_t middle = from + (to - from) / 2;
    push();
    enable(middle, to);
    find_redundant(from, middle, found);
    pop();
    push();
    enable(from, middle);
    find_redundant(middle, to, found);
    pop();
}

Verdict Questions::products(const std::function<std::vector<std::size_t>(const Product&)>& differs,
                            const std::function<bool(const Product&)>& visit) {
    push();
    enable_all();
    Verdict verdict;
    while ((verdict = ask(solver_)) == Verdict::yes) {
        const Product product = read_product(solver_, terms_.flat());
        if (!visit(product)) break;
        Writer out([this](std::string_view text) { solver_.send(text); });
        out << "(assert (not (and true true";
        for (const std::size_t variable : differs(product)) {
            out << ' ';
            assert_value(out, variable, product[variable]);
        }
        out << ")))\n";
    }
    pop();
    return verdict;
}

} // namespace norvane::driver
