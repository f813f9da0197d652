#include "report.h"

#include "drawing.h"
#include "finite.h"
#include "graph.h"
#include "load_model.h"
#include "page.h"
#include "questions.h"
#include "warned_model.h"

namespace norvane::driver {
namespace {

// A browser takes seconds for more.
constexpr std::size_t most_rows = 200000;
constexpr std::size_t most_path_bytes =
    20'000'000; // of nested parts, each path has those around it
// Values of a variable that the solver is asked about one by one.
constexpr unsigned most_values = 256;

void check_size(Session& session, const FlatModel& flat, const FlatRules& rules) {
    std::size_t rows = flat.size();
    for (auto at = rules.begin(); at != rules.end() && rows <= most_rows; ++at)
        ++rows;
    std::size_t bytes = 0;
    if (rows <= most_rows)
        flat.for_each([&bytes](const FlatVariable& variable) {
            bytes += variable.path.size();
            return bytes <= most_path_bytes;
        });
    if (rows <= most_rows && bytes <= most_path_bytes) return;
    session.diagnostics.say("a page holds at most " + std::to_string(most_rows) +
                            " variables and rules, and 20 MB of names of variables: see norvane-pm "
                            "variables and norvane-pm rules");
    throw InputAtFault();
}

std::vector<unsigned> impossible_values(const PossibleValues& of) {
    std::vector<unsigned> impossible;
    for (unsigned value = 0; of.is_known && value < of.is_possible.size(); ++value)
        if (!of.is_possible[value]) impossible.push_back(value);
    return impossible;
}

void find_excluded(Questions& questions, Answers& answers) {
    const auto values = questions.possible_values(most_values);
    for (std::size_t variable = 0; variable < values.size(); ++variable) {
        const bool is_large = values[variable].is_possible.empty();
        answers.has_large = answers.has_large || is_large;
        answers.open_variables += !values[variable].is_known && !is_large;
        const std::vector<unsigned> impossible = impossible_values(values[variable]);
        if (impossible.empty()) continue;
        const auto why = questions.why_not(variable, impossible);
        answers.excluded.push_back(
            {variable, impossible, why ? why->rules : std::vector<std::size_t>()});
    }
}

Answers ask_solver(Session& session, const Terms& terms, const FlatRules& rules) {
    session.begin(Step::ask, session.subject);
    SolverProcess solver(session.options.solver, session.options.time_limit);
    Questions questions(terms, rules, solver);
    Answers answers;
    answers.solver = solver.name();
    const Verdict verdict = questions.has_product();
    if (verdict == Verdict::unknown) return answers;
    answers.has_product = verdict == Verdict::yes;
    if (verdict == Verdict::no) {
        if (const auto why = questions.contradiction()) answers.contradiction = why->rules;
        return answers;
    }
    find_excluded(questions, answers);
    questions.redundant_rules([&answers](std::size_t rule, Verdict differs) {
        if (differs == Verdict::no) answers.redundant.push_back(rule);
        answers.open_rules += differs == Verdict::unknown;
    });
    return answers;
}

std::optional<Answers> answers_for(Session& session, const Terms& terms, const FlatRules& rules) {
    if (session.options.solver.empty()) return {};
    try {
        return ask_solver(session, terms, rules);
    } catch (const SolverFault& fault) {
        session.diagnostics.say(fault.text);
    } catch (const Inexpressible& reason) {
        session.diagnostics.say("a rule cannot be written for the solver: " + reason.why);
    }
    throw InputAtFault();
}

} // namespace

void write_report(Session& session) {
    const CheckedModel& model = load_and_check_model(session);
    const std::vector<Finding> warnings = show_warnings(session, model, Made::rules);
    const FlatRules& rules = expand_rules(session, model, RuleForm::simplified, RuleOrigins::kept);
    const FlatModel flat(model);
    check_size(session, flat, rules);
    const Terms terms(flat);
    const std::string title = input_name(session.model_file);
    SourceFiles sources;
    if (session.standard_input) sources.set(title, session.standard_input->text());
    const PageContents contents{title,
                                terms,
                                rules,
                                warnings,
                                answers_for(session, terms, rules),
                                draw_graph(terms, rules)};
    session.write_output([&](std::FILE* stream) {
        Writer out(stream);
        write_page(contents, sources, out);
    });
}

void write_graph(Session& session) {
    const CheckedModel& model = load_and_check_model(session);
    show_warnings(session, model, Made::rules);
    const FlatRules& rules = expand_rules(session, model, RuleForm::simplified, RuleOrigins::kept);
    const FlatModel flat(model);
    check_size(session, flat);
    session.write_output([&](std::FILE* stream) {
        Writer out(stream);
        write_dot(Terms(flat), rules, out);
    });
}

} // namespace norvane::driver
