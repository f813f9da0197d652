#include "analyse.h"

#include <algorithm>
#include <chrono>
#include <cstdio>

#include "assumptions.h"
#include "escapes.h"
#include "finite.h"
#include "languages.h"
#include "load_model.h"
#include "output.h"
#include "questions.h"
#include "text.h"
#include "warned_model.h"

namespace norvane::driver {
namespace {

// What a person reads through: variables with more values are left out where each value is asked
// for.
constexpr unsigned most_values = 256;
constexpr std::size_t most_configurations = 10000;
constexpr std::size_t longest_rule = 100;

class Analysis {
  public:
    Analysis(Session& session, const FlatModel& flat, const FlatRules& rules, SolverProcess& solver)
        : session_(session), flat_(flat), terms_(flat), questions_(terms_, rules, solver) {
        for (const FlatRule rule : rules)
            origins_.push_back(rule.origin);
        note_optionals();
    }

    // False if there is no product.
    bool run() {
        if (!tell_whether_there_is_one()) return false;
        const Options& options = session_.options;
        if (options.with_example) tell_example();
        if (options.with_count) tell_count();
        tell_values();
        tell_redundant_rules();
        return true;
    }

  private:
    bool is_json() const { return session_.options.format == Format::json; }

    // Each line is shown at once: an interrupted run keeps what it has found.
    void line(const std::string& text) {
        std::printf("%s\n", (is_json() ? text : for_terminal(text)).c_str());
        std::fflush(stdout);
        if (results_refused()) throw ResultsRefused();
    }
    void heading(const std::string& text) {
        if (!is_json()) line(text);
    }
    void begin(const std::string& doing) {
        session_.diagnostics.show_progress("asking the solver " + doing);
    }

    // "examples/bicycle.pm (34): (rider_kg >= 40)"
    std::string rule_text(std::size_t number) const {
        std::string text = rule_by_name(flat_, questions_.rule(number));
        if (text.size() > longest_rule) text.replace(longest_rule, std::string::npos, " ...");
        return origin(number) + ": " + text;
    }
    std::string origin(std::size_t number) const {
        return where_declared(flat_.model(), origins_[number]->linenumber).text;
    }
    std::string json_rules(const std::vector<std::size_t>& rules) const {
        std::string text = "[";
        for (const std::size_t rule : rules) {
            text += text.size() > 1 ? "," : "";
            text += "{\"rule\":" + std::to_string(rule + 1) +
                    ",\"origin\":" + json_string(origin(rule)) +
                    ",\"text\":" + json_string(rule_by_name(flat_, questions_.rule(rule))) + "}";
        }
        return text + "]";
    }
    void show_rules(const Questions::Contradiction& why) {
        for (const std::size_t rule : why.rules)
            line("    " + rule_text(rule));
        if (!why.is_smallest) line("    (perhaps not all of them are needed)");
    }

    static std::string shown_value(const Shape& shape, unsigned value) {
        const std::string text = value_in_source(shape, value);
        return text.empty() ? value_text(shape, value) : text;
    }

    // The parts of an optional are not parts of a product that does not have it.
    void note_optionals() {
        std::vector<std::pair<std::size_t, std::size_t>> around; // an optional, and its end
        flat_.for_each([&](const FlatVariable& variable) {
            while (!around.empty() && around.back().second <= variable.number)
                around.pop_back();
            optionals_.push_back(around.empty() ? variable.number : around.back().first);
            if (variable.shape.form == Shape::Form::optional)
                around.emplace_back(variable.number, variable.number + variable.shape.size);
            is_public_.push_back(variable.is_public);
            return true;
        });
    }
    bool is_there(const Product& product, std::size_t variable) const {
        for (std::size_t around = optionals_[variable]; around != variable;
             around = optionals_[variable]) {
            if (product[around] == 0) return false;
            variable = around;
        }
        return true;
    }

    // What tells one public configuration from another.
    std::vector<std::size_t> visible_variables(const Product& product) const {
        std::vector<std::size_t> visible;
        for (std::size_t variable = 0; variable < product.size(); ++variable)
            if (is_public_[variable] && is_there(product, variable)) visible.push_back(variable);
        return visible;
    }

    bool tell_whether_there_is_one();
    void tell_contradiction();
    void tell_example();
    struct Count {
        std::size_t known = 0;
        bool is_all = false;
    };
    Count count_configurations();
    void tell_count();
    void tell_values();
    static std::string list_of_values(const Shape& shape, const std::vector<unsigned>& values);
    void tell_value(const FlatVariable& variable, const PossibleValues& values);
    void tell_value_in_json(const FlatVariable& variable, const std::vector<unsigned>& impossible,
                            const std::vector<unsigned>& possible,
                            const std::optional<Questions::Contradiction>& why);
    void tell_redundant_rules();
    void tell_open(std::size_t count, const std::string& what, const std::string& why);

    Session& session_;
    const FlatModel& flat_;
    const Terms terms_;
    Questions questions_;
    std::vector<const RuleDecl*> origins_;
    std::vector<std::size_t> optionals_; // the innermost one around a variable; itself for none
    std::vector<bool> is_public_;
    std::size_t without_reason_ = 0; // variables whose excluded values have no rules
};

bool Analysis::tell_whether_there_is_one() {
    begin("for a product");
    const Verdict verdict = questions_.has_product();
    if (verdict == Verdict::unknown)
        throw SolverFault{"the solver does not know within the time whether there is a product: "
                          "see --time-limit"};
    if (is_json())
        line(std::string("{\"answer\":\"product\",\"exists\":") +
             (verdict == Verdict::yes ? "true}" : "false}"));
    if (verdict == Verdict::yes) {
        heading("There are products.");
        return true;
    }
    heading("There is no product. These rules contradict each other:");
    tell_contradiction();
    return false;
}

void Analysis::tell_contradiction() {
    begin("for rules that contradict each other");
    const auto why = questions_.contradiction();
    if (!why && is_json())
        return line("{\"answer\":\"contradiction\",\"rules\":null,\"smallest\":false}");
    if (!why) return heading("    (the time was too short to find them)");
    if (is_json())
        line("{\"answer\":\"contradiction\",\"rules\":" + json_rules(why->rules) +
             ",\"smallest\":" + (why->is_smallest ? "true}" : "false}"));
    else
        show_rules(*why);
}

void Analysis::tell_example() {
    heading("A product:");
    const Product& product = questions_.product();
    flat_.for_each([&](const FlatVariable& variable) {
        if (!is_there(product, variable.number)) return true;
        const unsigned value = product[variable.number];
        if (is_json())
            line("{\"answer\":\"example\",\"variable\":" + json_string(variable.path) +
                 ",\"value\":" + std::to_string(value) +
                 ",\"text\":" + json_string(value_text(variable.shape, value)) + "}");
        else
            line("    " + variable.path + " = " + shown_value(variable.shape, value));
        return true;
    });
}

Analysis::Count Analysis::count_configurations() {
    Count count;
    const auto end =
        std::chrono::steady_clock::now() + std::chrono::seconds(session_.options.time_limit);
    const Verdict verdict = questions_.products(
        [this](const Product& product) { return visible_variables(product); },
        [&count, end](const Product&) {
            return ++count.known <= most_configurations && std::chrono::steady_clock::now() < end;
        });
    count.is_all = verdict == Verdict::no;
    if (count.is_all) return count;
    // What is known depends on the machine's speed, so a power of ten is printed.
    std::size_t told = 1;
    while (told * 10 < count.known)
        told *= 10;
    count.known = count.known > 1 ? told : 0;
    return count;
}

void Analysis::tell_count() {
    begin("for all configurations");
    const Count count = count_configurations();
    const std::string number = std::to_string(count.known);
    if (is_json())
        line("{\"answer\":\"count\",\"configurations\":" + number +
             ",\"all\":" + (count.is_all ? "true}" : "false}"));
    else
        line((count.is_all ? "Public configurations: " : "Public configurations: more than ") +
             number);
}

void Analysis::tell_values() {
    begin("for values that no product has");
    const auto values = questions_.possible_values(most_values);
    heading("Values that no product has:");
    bool is_any = false;
    flat_.for_each([&](const FlatVariable& variable) {
        const PossibleValues& of = values[variable.number];
        const bool all_are = std::ranges::find(of.is_possible, false) == of.is_possible.end();
        if (!of.is_known || all_are) return true;
        is_any = true;
        tell_value(variable, of);
        return true;
    });
    if (!is_any) heading("  none");
    const auto unknown =
        std::ranges::count_if(values, [](const PossibleValues& of) { return !of.is_known; });
    if (without_reason_ > 0)
        heading("    (" + std::to_string(without_reason_) +
                " without rules: --assume 'VARIABLE = VALUE' looks for those of one value)");
    tell_open(static_cast<std::size_t>(unknown), "variable",
              "with more than " + std::to_string(most_values) +
                  " values, or without an answer in time");
}

// Adjacent values are printed as one interval: usually the values that are impossible lie at the
// ends of a range.
std::string Analysis::list_of_values(const Shape& shape, const std::vector<unsigned>& values) {
    std::string text;
    for (std::size_t i = 0, end; i < values.size(); i = end) {
        end = i + 1;
        while (end < values.size() && values[end] == values[end - 1] + 1)
            ++end;
        text += (i > 0 ? ", " : "") + shown_value(shape, values[i]);
        if (end > i + 1)
            text += (end > i + 2 ? " to " : ", ") + shown_value(shape, values[end - 1]);
    }
    return text;
}

// A variable that has one value left is decided.
void Analysis::tell_value(const FlatVariable& variable, const PossibleValues& values) {
    const Shape& shape = variable.shape;
    std::vector<unsigned> impossible;
    std::vector<unsigned> possible;
    for (unsigned value = 0; value <= shape.upper; ++value)
        (values.is_possible[value] ? possible : impossible).push_back(value);
    const auto why = questions_.why_not(variable.number, impossible);
    without_reason_ += !why;
    if (is_json()) return tell_value_in_json(variable, impossible, possible, why);
    const std::string text = possible.size() == 1
                                 ? " is always " + shown_value(shape, possible.front())
                                 : " is never " + list_of_values(shape, impossible);
    line("  " + variable.path + text + (why ? ", because of" : ""));
    if (why) show_rules(*why);
}

void Analysis::tell_value_in_json(const FlatVariable& variable,
                                  const std::vector<unsigned>& impossible,
                                  const std::vector<unsigned>& possible,
                                  const std::optional<Questions::Contradiction>& why) {
    std::string list;
    for (const unsigned value : impossible)
        list += (list.empty() ? "" : ",") + std::to_string(value);
    line("{\"answer\":\"values\",\"variable\":" + json_string(variable.path) + ",\"impossible\":[" +
         list +
         "],\"decided\":" + (possible.size() == 1 ? std::to_string(possible.front()) : "null") +
         ",\"because\":" + (why ? json_rules(why->rules) : "null") + "}");
}

void Analysis::tell_redundant_rules() {
    heading("Rules that follow from the others:");
    std::size_t done = 0;
    std::size_t unknown = 0;
    bool is_any = false;
    questions_.redundant_rules([&](std::size_t rule, Verdict differs) {
        begin("for rules that follow from the others, " + std::to_string(++done) + " of " +
              std::to_string(questions_.rule_count()));
        unknown += differs == Verdict::unknown;
        if (differs != Verdict::no) return;
        is_any = true;
        if (is_json())
            line("{\"answer\":\"redundant\",\"rules\":" + json_rules({rule}) + "}");
        else
            line("  " + rule_text(rule));
    });
    if (!is_any) heading("  none");
    tell_open(unknown, "rule", "without an answer in time");
}

// Whoever reads the answers must not take what was left open for a "no".
void Analysis::tell_open(std::size_t count, const std::string& what, const std::string& why) {
    if (count == 0) return;
    const std::string number = std::to_string(count);
    if (is_json())
        line("{\"answer\":\"open\",\"" + what + "s\":" + number + "}");
    else
        line("    (" + number + " " + what + (count == 1 ? " " : "s ") + why + ")");
}

} // namespace

void analyse(Session& session) {
    const Options& options = session.options;
    Model& loaded = load_model(session);
    add_assumptions(session, loaded, options.assumptions);
    const CheckedModel& model = check_model(session, loaded);
    show_warnings(session, model, Made::rules);
    const FlatRules& rules = expand_rules(session, model, RuleForm::simplified, RuleOrigins::kept);
    session.begin(Step::ask, session.subject);
    const FlatModel flat(model);
    check_size(session, flat);
    bool has_product = false;
    try {
        SolverProcess solver(options.solver, options.time_limit);
        has_product = Analysis(session, flat, rules, solver).run();
    } catch (const SolverFault& fault) {
        session.diagnostics.say(fault.text);
        throw InputAtFault();
    } catch (const Inexpressible& reason) {
        session.diagnostics.say("a rule cannot be written for the solver: " + reason.why);
        throw InputAtFault();
    }
    if (has_product) return;
    session.diagnostics.say("there is no product");
    throw InputAtFault();
}

} // namespace norvane::driver
