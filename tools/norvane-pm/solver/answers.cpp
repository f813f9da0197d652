#include "answers.h"

#include <algorithm>
#include <charconv>
#include <numeric>
#include <optional>

#include "smtlib.h"
#include "writer.h"

namespace norvane::driver {
namespace {

constexpr std::string_view selector = "|rule ";

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

// The values of `count` names that were sent.
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

void send_names(SolverProcess& solver, const FlatModel& flat,
                const std::vector<std::size_t>& variables, const std::string& prefix) {
    Writer out([&solver](std::string_view text) { solver.send(text); });
    out << "(get-value (";
    for (const std::size_t variable : variables) {
        flat.with(variable, [&](const FlatVariable& of) {
            SmtlibTerms::name(out, prefix + of.path);
            out << ' ';
        });
    }
    out << "))\n";
}

// Callers use values as indexes, so one that a variable cannot have ends here.
Product values_of(SolverProcess& solver, const FlatModel& flat,
                  const std::vector<std::size_t>& variables, const std::string& prefix = {}) {
    if (variables.empty()) return {};
    send_names(solver, flat, variables, prefix);
    Product product = read_values(solver, variables.size());
    for (std::size_t i = 0; i < product.size(); ++i) {
        flat.with(variables[i], [&](const FlatVariable& of) {
            if (product[i] <= of.shape.upper) return;
            throw SolverFault{"the solver " + solver.name() + " gives '" + of.path +
                              "' the value " + std::to_string(product[i]) +
                              ", beyond its last value " + std::to_string(of.shape.upper)};
        });
    }
    return product;
}

std::vector<std::size_t> numbers(std::size_t from, std::size_t to) {
    std::vector<std::size_t> all(to - from);
    std::iota(all.begin(), all.end(), from);
    return all;
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

Product read_product(SolverProcess& solver, const FlatModel& flat, const std::string& prefix) {
    return values_of(solver, flat, numbers(0, flat.size()), prefix);
}

Product read_product(SolverProcess& solver, const FlatModel& flat, std::size_t from,
                     std::size_t to) {
    return values_of(solver, flat, numbers(from, to));
}

Product read_product(SolverProcess& solver, const FlatModel& flat,
                     const std::vector<std::size_t>& variables) {
    return values_of(solver, flat, variables);
}

std::vector<std::size_t> read_core(SolverProcess& solver,
                                   const std::unordered_set<std::size_t>& assumed) {
    solver.send("(get-unsat-assumptions)\n");
    const std::string answer = solver.answer();
    std::vector<std::size_t> core;
    for (const std::string_view word : words_of(answer)) {
        if (!word.starts_with(selector)) continue;
        std::size_t rule = 0;
        std::from_chars(word.data() + selector.size(), word.data() + word.size(), rule);
        if (!assumed.contains(rule))
            throw SolverFault{"the solver " + solver.name() + " gives " + std::string(word) +
                              " as a reason, which it was not asked about"};
        core.push_back(rule);
    }
    std::ranges::sort(core);
    core.erase(std::unique(core.begin(), core.end()), core.end());
    return core;
}

} // namespace norvane::driver
