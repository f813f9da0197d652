#include "answers.h"

#include <algorithm>
#include <charconv>
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

// Asks for the values of the names that `write` sends.
template <typename Write>
void send_names(SolverProcess& solver, Write write) {
    Writer out([&solver](std::string_view text) { solver.send(text); });
    out << "(get-value (";
    write(out);
    out << "))\n";
}

void send_name(Writer& out, const std::string& path) {
    SmtlibTerms::name(out, path);
    out << ' ';
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
    send_names(solver, [&](Writer& out) {
        flat.for_each([&](const FlatVariable& variable) {
            send_name(out, prefix + variable.path);
            return true;
        });
    });
    return read_values(solver, flat.size());
}

Product read_product(SolverProcess& solver, const FlatModel& flat, std::size_t from,
                     std::size_t to) {
    std::vector<std::size_t> variables;
    for (std::size_t variable = from; variable < to; ++variable)
        variables.push_back(variable);
    return read_product(solver, flat, variables);
}

Product read_product(SolverProcess& solver, const FlatModel& flat,
                     const std::vector<std::size_t>& variables) {
    if (variables.empty()) return {};
    send_names(solver, [&](Writer& out) {
        for (const std::size_t variable : variables)
            flat.with(variable, [&out](const FlatVariable& of) { send_name(out, of.path); });
    });
    return read_values(solver, variables.size());
}

std::vector<std::size_t> read_core(SolverProcess& solver, std::size_t count) {
    solver.send("(get-unsat-assumptions)\n");
    const std::string answer = solver.answer();
    std::vector<std::size_t> core;
    for (const std::string_view word : words_of(answer)) {
        std::size_t rule = 0;
        if (word.starts_with(selector) &&
            std::from_chars(word.data() + selector.size(), word.data() + word.size(), rule).ec ==
                std::errc() &&
            rule < count)
            core.push_back(rule);
    }
    std::ranges::sort(core);
    return core;
}

} // namespace norvane::driver
