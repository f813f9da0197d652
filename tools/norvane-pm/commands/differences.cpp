#include "differences.h"

#include <algorithm>
#include <cstdio>
#include <unordered_map>

#include "comparison.h"
#include "escapes.h"
#include "finite.h"
#include "languages.h"
#include "load_model.h"
#include "output.h"
#include "text.h"
#include "warned_model.h"

namespace norvane::driver {
namespace {

struct Side {
    std::string file;
    const CheckedModel& model;
    const FlatRules& rules;
    const FlatModel flat;
    const Terms terms;

    Side(Session& session, const std::string& name, const CheckedModel& checked)
        : file(name), model(checked),
          rules(expand_rules(session, checked, RuleForm::simplified, RuleOrigins::kept)),
          flat(checked), terms(flat) {
        check_size(session, flat);
    }
};

const CheckedModel& load(Session& session, const std::string& file) {
    session.model_file = file;
    session.standard_input.reset();
    const CheckedModel& model = load_and_check_model(session);
    show_warnings(session, model, Made::rules);
    return model;
}

// What a variable is, without its values.
std::string kind_of(const FlatVariable& variable) {
    return std::string(variable.is_public ? "public " : "private ") +
           kind_text(variable.shape.kind);
}

// The values of the variable by name; a range of integers as one text.
std::vector<std::string> values_of(const Shape& shape) {
    if (shape.kind == ScalarKind::range) return {"0.." + std::to_string(shape.upper)};
    std::vector<std::string> values;
    for (unsigned value = 0; value <= shape.upper; ++value)
        values.push_back(value_text(shape, value));
    return values;
}

class Differences {
  public:
    Differences(Session& session, const Side& before, const Side& after)
        : is_json_(session.options.format == Format::json), before_(before), after_(after) {}

    bool any() const { return any_; }

    void tell_variables() {
        std::unordered_map<std::string, std::size_t> in_after;
        after_.flat.for_each([&in_after](const FlatVariable& variable) {
            in_after.emplace(variable.path, variable.number);
            return true;
        });
        before_.flat.for_each([&](const FlatVariable& variable) {
            const auto at = in_after.find(variable.path);
            if (at == in_after.end()) {
                tell("removed", "variable", variable.path, kind_of(variable));
                return true;
            }
            after_.flat.with(at->second,
                             [&](const FlatVariable& other) { tell_change(variable, other); });
            in_after.erase(at);
            return true;
        });
        after_.flat.for_each([&](const FlatVariable& variable) {
            if (in_after.contains(variable.path))
                tell("added", "variable", variable.path, kind_of(variable));
            return true;
        });
    }

    // Rules are the same if their texts are, with values by name.
    void tell_rules() {
        std::unordered_map<std::string, std::size_t> count;
        for (const FlatRule rule : after_.rules)
            ++count[rule_by_name(after_.flat, rule.expr)];
        for_each_unmatched(before_, count, "removed");
        count.clear();
        for (const FlatRule rule : before_.rules)
            ++count[rule_by_name(before_.flat, rule.expr)];
        for_each_unmatched(after_, count, "added");
    }

    // Each has its own solver: a question that takes too long may leave one without an answer.
    void tell_products(const Options& options) {
        if (!have_same_variables(before_.flat, after_.flat)) {
            line("Products are not compared: the models have different variables.",
                 "{\"difference\":\"products\",\"same\":null}");
            return;
        }
        const bool more_before = tell_product(options, before_, after_);
        const bool more_after = tell_product(options, after_, before_);
        if (more_before || more_after) return;
        line("The models have the same products.", "{\"difference\":\"products\",\"same\":true}");
    }

  private:
    void line(const std::string& text, const std::string& json) const {
        std::printf("%s\n", is_json_ ? json.c_str() : for_terminal(text).c_str());
        std::fflush(stdout);
        if (results_refused()) throw ResultsRefused();
    }

    void tell(const std::string& change, const std::string& what, const std::string& name,
              const std::string& text) {
        any_ = true;
        const char mark = change == "added" ? '+' : change == "removed" ? '-' : '~';
        line(std::string(1, mark) + " " + what + " " + name + ": " + text,
             "{\"difference\":\"" + what + "\",\"change\":\"" + change +
                 "\",\"name\":" + json_string(name) + ",\"text\":" + json_string(text) + "}");
    }

    void tell_change(const FlatVariable& before, const FlatVariable& after) {
        const std::string kind = kind_of(before);
        const std::string other_kind = kind_of(after);
        if (kind != other_kind)
            tell("changed", "variable", before.path, kind + ", now " + other_kind);
        const auto values = values_of(before.shape);
        const auto other_values = values_of(after.shape);
        if (before.shape.kind != after.shape.kind || values == other_values) return;
        const std::string lost = without(values, other_values);
        const std::string gained = without(other_values, values);
        std::string text = lost.empty() ? "" : "without " + lost;
        if (!gained.empty()) text += (text.empty() ? "with " : "; with ") + gained;
        if (text.empty()) text = "the same in another order";
        tell("changed", "values of", before.path, text);
    }

    static std::string without(const std::vector<std::string>& values,
                               std::vector<std::string> others) {
        std::ranges::sort(others);
        std::string text;
        for (const std::string& value : values)
            if (!std::ranges::binary_search(others, value))
                text += (text.empty() ? "" : ", ") + value;
        return text;
    }

    void for_each_unmatched(const Side& side, std::unordered_map<std::string, std::size_t>& count,
                            const char* change) {
        for (const FlatRule rule : side.rules) {
            const std::string text = rule_by_name(side.flat, rule.expr);
            const auto at = count.find(text);
            if (at != count.end() && at->second > 0) {
                --at->second;
                continue;
            }
            tell(change, "rule", where_declared(side.model, rule.origin->linenumber).text, text);
        }
    }

    // True unless the other model has all products of this one.
    bool tell_product(const Options& options, const Side& side, const Side& other) {
        SolverProcess solver(options.solver, options.time_limit);
        Product product;
        const Verdict verdict = has_more_products({side.terms, side.rules},
                                                  {other.terms, other.rules}, solver, &product);
        if (verdict == Verdict::no) return false;
        const std::string file = json_string(side.file);
        if (verdict == Verdict::unknown) {
            line("The time was too short to look for a product that only " + side.file + " has.",
                 "{\"difference\":\"products\",\"same\":null,\"only\":" + file + "}");
            return true;
        }
        any_ = true;
        line("A product that only " + side.file + " has:",
             "{\"difference\":\"products\",\"same\":false,\"only\":" + file + "}");
        side.flat.for_each([&](const FlatVariable& variable) {
            const std::string text = value_text(variable.shape, product[variable.number]);
            line("    " + variable.path + " = " + text,
                 "{\"difference\":\"product\",\"only\":" + file + ",\"variable\":" +
                     json_string(variable.path) + ",\"text\":" + json_string(text) + "}");
            return true;
        });
        return true;
    }

    const bool is_json_;
    bool any_ = false;
    const Side& before_;
    const Side& after_;
};

} // namespace

void diff(Session& session) {
    const Options& options = session.options;
    const Side before(session, options.file, load(session, options.file));
    const Side after(session, options.other_file, load(session, options.other_file));
    session.begin(Step::print, session.subject);
    Differences differences(session, before, after);
    try {
        differences.tell_variables();
        differences.tell_rules();
        if (!options.solver.empty()) differences.tell_products(options);
    } catch (const SolverFault& fault) {
        session.diagnostics.say(fault.text);
        throw InputAtFault();
    } catch (const Inexpressible& reason) {
        session.diagnostics.say("a rule cannot be written: " + reason.why);
        throw InputAtFault();
    }
    if (!differences.any()) return;
    session.diagnostics.say("the models differ");
    throw InputAtFault();
}

} // namespace norvane::driver
