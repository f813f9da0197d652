// Circuits as clauses (DIMACS), pseudo-boolean constraints (OPB) and a logic program (clingo).
#include "circuit.h"
#include "escapes.h"
#include "rule_writers.h"

namespace norvane::driver {
namespace {

// Gates as clauses.
class ClauseSink : public CircuitSink {
  public:
    void conjunction(Literal out, Literal a, Literal b) override {
        write({-out, a});
        write({-out, b});
        write({out, -a, -b});
    }
    void parity(Literal out, Literal a, Literal b) override {
        write({-out, a, b});
        write({-out, -a, -b});
        write({out, -a, b});
        write({out, a, -b});
    }
    void choice(Literal out, Literal test, Literal yes, Literal no) override {
        write({-out, -test, yes});
        write({out, -test, -yes});
        write({-out, test, no});
        write({out, test, -no});
    }

  private:
    void write(std::initializer_list<Literal> literals) {
        clause({literals.begin(), literals.size()});
    }
};

class CountingSink : public ClauseSink {
  public:
    explicit CountingSink(bool has_one) : has_one_(has_one) {}
    void clause(std::span<const Literal>) override { ++count; }
    bool has_one_of() const override { return has_one_; }
    void one_of(Literal, Literal) override { ++count; }
    std::size_t count = 0;

  private:
    bool has_one_;
};

class DimacsSink : public ClauseSink {
  public:
    explicit DimacsSink(Writer& out) : out_(out) {}
    void clause(std::span<const Literal> literals) override {
        for (const Literal literal : literals)
            out_ << literal << ' ';
        out_ << "0\n";
    }

  private:
    Writer& out_;
};

class OpbSink : public ClauseSink {
  public:
    explicit OpbSink(Writer& out) : out_(out) {}
    // A literal that is negated counts as 1 - x.
    void clause(std::span<const Literal> literals) override {
        int least = 1;
        for (const Literal literal : literals) {
            least -= literal < 0;
            out_ << (literal < 0 ? "-1 x" : "+1 x") << std::abs(literal) << ' ';
        }
        out_ << ">= " << least << " ;\n";
    }
    bool has_one_of() const override { return true; }
    void one_of(Literal first, Literal last) override {
        for (Literal literal = first; literal <= last; ++literal)
            out_ << "+1 x" << literal << ' ';
        out_ << "= 1 ;\n";
    }

  private:
    Writer& out_;
};

// A gate is decided by rules of its own, so it holds if and only if one of them applies.
class AspSink : public CircuitSink {
  public:
    explicit AspSink(Writer& out) : out_(out) {}
    void conjunction(Literal out, Literal a, Literal b) override { write(out, {a, b}); }
    void parity(Literal out, Literal a, Literal b) override {
        write(out, {a, -b});
        write(out, {-a, b});
    }
    void choice(Literal out, Literal test, Literal yes, Literal no) override {
        write(out, {test, yes});
        write(out, {-test, no});
    }
    void clause(std::span<const Literal> literals) override {
        const char* before = ":- ";
        for (const Literal literal : literals) {
            out_ << before;
            atom(-literal);
            before = ", ";
        }
        out_ << ".\n";
    }
    bool has_one_of() const override { return true; }
    void one_of(Literal first, Literal last) override {
        out_ << ":- not 1 { x(" << first << ".." << last << ") } 1.\n";
    }

  private:
    void write(Literal out, std::initializer_list<Literal> body) {
        atom(out);
        const char* before = " :- ";
        for (const Literal literal : body) {
            out_ << before;
            atom(literal);
            before = ", ";
        }
        out_ << ".\n";
    }
    void atom(Literal literal) {
        out_ << (literal < 0 ? "not x(" : "x(") << std::abs(literal) << ')';
    }

    Writer& out_;
};

// Puts the rules into a circuit; for people, each begins with a comment.
class CircuitWriter : public RuleWriter {
  public:
    CircuitWriter(Circuit& circuit, Writer* out, const char* comment)
        : circuit_(circuit), out_(out), comment_(comment) {}
    void begin() override { circuit_.bound_variables(); }
    void rule(const NumberedRule& rule) override {
        if (out_)
            *out_ << comment_ << rule.number << ": " << comment_text(rule.origin.text) << '\n';
        circuit_.require(rule.expr);
    }

  private:
    Circuit& circuit_;
    Writer* out_; // null where nothing is written
    const char* comment_;
};

// Writes " = 1" and the name of that value, unless the variable is a boolean.
void write_truth(const Shape& shape, Writer& out) {
    if (shape.kind == ScalarKind::boolean) return;
    out << " = 1";
    if (shape.kind != ScalarKind::range) out << ' ' << comment_text(value_text(shape, 1));
}

// "3 frame = 2 carbon": a line for each value.
void write_values(const Shape& shape, const std::string& path, const char* comment, Literal literal,
                  Writer& out) {
    for (unsigned value = 0; value <= shape.upper; ++value) {
        out << comment << literal++ << ' ' << path << " = " << value;
        if (!shape.labels.empty()) out << ' ' << comment_text(shape.labels[value]);
        out << '\n';
    }
}

// Which literals stand for which values: "c 3 frame = 2 carbon", "c 8 lights", "c 9 watts bit 0".
void write_map(const Terms& terms, const Circuit& circuit, const char* comment, Writer& out) {
    terms.flat().for_each([&](const FlatVariable& variable) {
        const Shape& shape = variable.shape;
        const std::string path = comment_word(variable.path);
        Literal literal = circuit.first_literal(variable.number);
        switch (Circuit::encoding_of(shape)) {
        case Encoding::truth:
            out << comment << literal << ' ' << path;
            write_truth(shape, out);
            out << '\n';
            break;
        case Encoding::values: write_values(shape, path, comment, literal, out); break;
        case Encoding::bits:
            for (unsigned bit = 0; bit < Circuit::literals_of(shape); ++bit)
                out << comment << literal++ << ' ' << path << " bit " << bit << '\n';
            break;
        }
        return !out.refused();
    });
}

// value(PATH, N) holds for the value of a variable, and bit(PATH, N) for each bit that is set of
// one with many values.
void write_atoms(const Terms& terms, const Circuit& circuit, Writer& out) {
    bool has_bits = false;
    terms.flat().for_each([&](const FlatVariable& variable) {
        const Shape& shape = variable.shape;
        has_bits = has_bits || Circuit::encoding_of(shape) == Encoding::bits;
        const std::string path = asp_string(variable.path);
        const Literal first = circuit.first_literal(variable.number);
        const Literal last = first + static_cast<Literal>(Circuit::literals_of(shape)) - 1;
        out << "{ x(" << first << ".." << last << ") }.";
        if (Circuit::encoding_of(shape) == Encoding::truth)
            out << " value(" << path << ",1) :- x(" << first << "). value(" << path
                << ",0) :- not x(" << first << ").\n";
        else
            out << (Circuit::encoding_of(shape) == Encoding::bits ? " bit(" : " value(") << path
                << ",N-" << first << ") :- x(N), N = " << first << ".." << last << ".\n";
        return !out.refused();
    });
    out << (has_bits ? "#show value/2.\n#show bit/2.\n" : "#show value/2.\n");
}

} // namespace

void write_clauses(const Terms& terms, RuleLanguage language, Writer& out,
                   const std::function<void(RuleWriter&)>& rules) {
    const auto pass = [&](CircuitSink& sink, const char* comment) {
        Circuit circuit(terms, sink);
        if (language == RuleLanguage::asp) write_atoms(terms, circuit, out);
        CircuitWriter writer(circuit, comment ? &out : nullptr, comment);
        rules(writer);
        return circuit.last();
    };
    if (language == RuleLanguage::asp) {
        AspSink sink(out);
        pass(sink, "% ");
        return;
    }
    const bool is_dimacs = language == RuleLanguage::dimacs;
    const char* comment = is_dimacs ? "c " : "* ";
    CountingSink counts(!is_dimacs);
    const Literal last = pass(counts, nullptr);
    // Readers of OPB want the counts first, those of DIMACS after the comments or before them.
    if (!is_dimacs) out << "* #variable= " << last << " #constraint= " << counts.count << '\n';
    write_map(terms, Circuit(terms, counts), comment, out);
    if (is_dimacs) out << "p cnf " << last << ' ' << counts.count << '\n';
    DimacsSink dimacs(out);
    OpbSink opb(out);
    // Not all readers allow comments between clauses.
    pass(is_dimacs ? static_cast<CircuitSink&>(dimacs) : opb, nullptr);
}

} // namespace norvane::driver
