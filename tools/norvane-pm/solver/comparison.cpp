#include "comparison.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <limits>
#include <unordered_map>

namespace norvane::driver {
namespace {

// No path begins like this.
constexpr const char* of_one = "1 ";
constexpr const char* of_other = "2 ";

struct Interval {
    double low = -std::numeric_limits<double>::infinity();
    double high = std::numeric_limits<double>::infinity();
    bool has_low = true;
    bool has_high = true;
};

// Parses the name of a class: "40", "[41;109]" or "]2.5;inf[".
Interval interval_of(const char* text) {
    const char* end = text + std::strlen(text);
    Interval of;
    if (*text != '[' && *text != ']') {
        std::from_chars(text, end, of.low);
        of.high = of.low;
        return of;
    }
    of.has_low = *text == '[';
    of.has_high = end[-1] == ']';
    const char* middle = std::strchr(text, ';');
    if (middle) {
        std::from_chars(text + 1, middle, of.low);
        std::from_chars(middle + 1, end - 1, of.high);
    }
    return of;
}

bool intersect(const Interval& a, const Interval& b) {
    const double low = std::max(a.low, b.low);
    const double high = std::min(a.high, b.high);
    if (low != high) return low < high;
    const auto holds = [low](const Interval& of) {
        return (of.low < low || of.has_low) && (of.high > low || of.has_high);
    };
    return holds(a) && holds(b);
}

bool has_label(const Shape& shape, const char* label) {
    return std::ranges::any_of(
        shape.labels, [label](const char* other) { return std::strcmp(label, other) == 0; });
}

// Whether a value of one model can be the value of the other one.
bool can_be_same(const Shape& a, unsigned value, const Shape& b, unsigned other) {
    const char* label = a.labels[value];
    const char* other_label = b.labels[other];
    switch (a.kind) {
    case ScalarKind::integer:
    case ScalarKind::real: return intersect(interval_of(label), interval_of(other_label));
    case ScalarKind::text: // the first one stands for all texts that no rule mentions
        if (value == 0) return other == 0 || !has_label(a, other_label);
        if (other == 0) return !has_label(b, label);
        [[fallthrough]];
    default: return std::strcmp(label, other_label) == 0;
    }
}

bool same_values(const Shape& a, const Shape& b) {
    return a.upper == b.upper &&
           std::ranges::equal(a.labels, b.labels, [](const char* left, const char* right) {
               return std::strcmp(left, right) == 0;
           });
}

class ComparisonWriter {
  public:
    ComparisonWriter(const ComparedModel& one, const ComparedModel& other, Writer& out)
        : one_(one), other_(other), out_(out) {}

    // "one has this product, and the other does not": it does not satisfy the other's rules, or has
    // a value that the other does not know.
    void write() {
        out_ << "(set-option :produce-models true)\n(set-logic QF_BV)\n";
        SmtlibTerms(one_.terms, out_, of_one).declarations();
        SmtlibTerms(other_.terms, out_, of_other).declarations();
        out_ << "(declare-const |3 unknown| Bool)\n"; // to the other model
        rules(one_, of_one, "(assert ", ")\n");
        std::unordered_map<std::string, const Shape*> shapes;
        other_.terms.flat().for_each([&shapes](const FlatVariable& variable) {
            shapes.emplace(variable.path, &variable.shape);
            return true;
        });
        one_.terms.flat().for_each([&](const FlatVariable& variable) {
            out_ << "(assert (or |3 unknown| ";
            same(variable, *shapes.at(variable.path));
            out_ << "))\n";
            return true;
        });
        out_ << "(assert (=> |3 unknown| (or false false";
        one_.terms.flat().for_each([&](const FlatVariable& variable) {
            unknown(variable, *shapes.at(variable.path));
            return true;
        });
        out_ << ")))\n(assert (or false |3 unknown|";
        rules(other_, of_other, " (not ", ")");
        out_ << "))\n";
    }

  private:
    void rules(const ComparedModel& model, const char* prefix, const char* before,
               const char* after) {
        SmtlibTerms terms(model.terms, out_, prefix);
        for (const FlatRule rule : model.rules) {
            out_ << before;
            terms.truth(rule.expr);
            out_ << after;
        }
    }

    void same(const FlatVariable& variable, const Shape& other) {
        const Shape& shape = variable.shape;
        const std::string name = of_one + variable.path;
        const std::string other_name = of_other + variable.path;
        if (shape.labels.empty() || same_values(shape, other)) {
            const unsigned bits =
                std::max(SmtlibTerms::bits_of(shape), SmtlibTerms::bits_of(other));
            out_ << "(= ";
            widened(name, shape, bits);
            out_ << ' ';
            widened(other_name, other, bits);
            out_ << ')';
            return;
        }
        out_ << "(or false false";
        for_each_same(shape, other, [&](unsigned value, unsigned of_the_other) {
            out_ << " (and ";
            SmtlibTerms::has_value(out_, name, shape, value);
            out_ << ' ';
            SmtlibTerms::has_value(out_, other_name, other, of_the_other);
            out_ << ')';
        });
        out_ << ')';
    }

    void unknown(const FlatVariable& variable, const Shape& other) {
        const Shape& shape = variable.shape;
        const std::string name = of_one + variable.path;
        if (same_values(shape, other)) return;
        if (shape.labels.empty()) {
            if (shape.upper <= other.upper) return;
            out_ << " (bvugt ";
            SmtlibTerms::name(out_, name);
            out_ << " (_ bv" << other.upper << ' ' << SmtlibTerms::bits_of(shape) << "))";
            return;
        }
        std::vector<bool> is_known(shape.labels.size());
        for_each_same(shape, other, [&](unsigned value, unsigned) { is_known[value] = true; });
        for (unsigned value = 0; value <= shape.upper; ++value) {
            if (is_known[value]) continue;
            out_ << ' ';
            SmtlibTerms::has_value(out_, name, shape, value);
        }
    }

    void widened(const std::string& name, const Shape& shape, unsigned bits) {
        const unsigned more = bits - SmtlibTerms::bits_of(shape);
        if (more > 0) out_ << "((_ zero_extend " << more << ") ";
        SmtlibTerms::name(out_, name);
        if (more > 0) out_ << ')';
    }

    template <typename Visit>
    static void for_each_same(const Shape& shape, const Shape& other, Visit visit) {
        for (unsigned value = 0; value <= shape.upper; ++value)
            for (unsigned of_the_other = 0; of_the_other <= other.upper; ++of_the_other)
                if (can_be_same(shape, value, other, of_the_other)) visit(value, of_the_other);
    }

    const ComparedModel& one_;
    const ComparedModel& other_;
    Writer& out_;
};

} // namespace

bool have_same_variables(const FlatModel& a, const FlatModel& b) {
    if (a.size() != b.size()) return false;
    std::unordered_map<std::string, ScalarKind> kinds;
    a.for_each([&kinds](const FlatVariable& variable) {
        kinds.emplace(variable.path, variable.shape.kind);
        return true;
    });
    bool are_same = true;
    b.for_each([&](const FlatVariable& variable) {
        const auto at = kinds.find(variable.path);
        are_same = at != kinds.end() && at->second == variable.shape.kind;
        return are_same;
    });
    return are_same;
}

Verdict has_more_products(const ComparedModel& one, const ComparedModel& other,
                          SolverProcess& solver, Product* product) {
    {
        Writer out([&solver](std::string_view text) { solver.send(text); });
        ComparisonWriter(one, other, out).write();
    }
    const Verdict verdict = ask(solver);
    if (verdict == Verdict::yes) *product = read_product(solver, one.terms.flat(), of_one);
    return verdict;
}

} // namespace norvane::driver
