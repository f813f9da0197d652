// Reads clauses in DIMACS, with names and values from comments, and writes them as PM.
#include <algorithm>
#include <charconv>
#include <cstdint>
#include <cstring>
#include <optional>
#include <span>

#include "import.h"
#include "imported_names.h"
#include "written_model.h"

namespace norvane::driver {
namespace {

// More than any file of clauses has, and few enough that a table of them fits into memory.
constexpr unsigned most_variables = 100'000'000;
// A variable with more values is written in bits.
constexpr std::size_t most_values = 64;

// "3 frame = 2 carbon": a comment that tells what a literal stands for.
struct Meaning {
    unsigned variable;
    unsigned line;
    std::string_view path;
    std::string_view text; // what follows the path
};

struct Clauses {
    unsigned variables = 0;
    std::vector<int> literals; // each clause ends with 0
    std::vector<Meaning> meanings;
    std::vector<LeftOut> left_out;
};

bool is_blank(char c) {
    return c == ' ' || c == '\t' || c == '\r' || c == '\v' || c == '\f';
}

std::string_view take_word(std::string_view& line) {
    std::size_t begin = 0;
    while (begin < line.size() && is_blank(line[begin]))
        ++begin;
    std::size_t end = begin;
    while (end < line.size() && !is_blank(line[end]))
        ++end;
    const std::string_view word = line.substr(begin, end - begin);
    line.remove_prefix(end);
    return word;
}

template <typename Number>
std::optional<Number> number_of(std::string_view word) {
    Number number = 0;
    const auto [after, error] = std::from_chars(word.data(), word.data() + word.size(), number);
    if (error != std::errc() || after != word.data() + word.size()) return {};
    return number;
}

class Reader {
  public:
    explicit Reader(std::string_view text) : rest_(text) {}

    Clauses read() {
        while (!rest_.empty() && !is_at_end_) {
            const std::size_t end = std::min(rest_.find('\n'), rest_.size());
            line_ = rest_.substr(0, end);
            rest_.remove_prefix(std::min(end + 1, rest_.size()));
            ++number_;
            read_line();
        }
        if (!has_header_) fault("no line 'p cnf VARIABLES CLAUSES' before the end of the file");
        if (!read_.literals.empty() && read_.literals.back() != 0)
            fault("the last clause does not end with 0");
        if (count_ != wanted_)
            read_.left_out.push_back({header_, "the file has " + std::to_string(count_) +
                                                   " clauses and not " + std::to_string(wanted_) +
                                                   ", as this line says"});
        return std::move(read_);
    }

  private:
    // At a word of the line; at its end for none.
    [[noreturn]] void fault(const std::string& text, std::string_view word = {}) const {
        const char* at = word.data() ? word.data() : line_.data() + line_.size();
        throw ImportFault{std::max(number_, 1U), static_cast<unsigned>(at - line_.data()) + 1,
                          text};
    }

    void read_line() {
        std::string_view rest = line_;
        if (!line_.empty() && line_[0] == 'c') return read_comment();
        const std::string_view first = take_word(rest);
        if (first == "p") return read_header(first, rest);
        if (first == "%") { // how some collections end their files
            is_at_end_ = true;
            return;
        }
        for (std::string_view word = first; !word.empty(); word = take_word(rest))
            read_literal(word);
    }

    void read_comment() {
        if (line_.size() < 2 || !is_blank(line_[1])) return;
        std::string_view rest = line_.substr(2);
        std::string_view first = take_word(rest);
        if (first.ends_with('$')) first.remove_suffix(1); // marks names that a tool has made
        const auto variable = number_of<unsigned>(first);
        if (!variable || *variable == 0) return;
        const std::string_view path = take_word(rest);
        while (!rest.empty() && is_blank(rest.front()))
            rest.remove_prefix(1);
        while (!rest.empty() && is_blank(rest.back()))
            rest.remove_suffix(1);
        // Comments of people may begin with a number, too.
        if (path.empty() || !(rest.empty() || rest.starts_with("= ") || rest.starts_with("bit ")))
            return;
        read_.meanings.push_back({*variable, number_, path, rest});
    }

    void read_header(std::string_view first, std::string_view rest) {
        if (has_header_) fault("a second line 'p'", first);
        const std::string_view kind = take_word(rest);
        if (kind != "cnf") fault("expected 'cnf': other kinds of files are not read", kind);
        const std::string_view variables = take_word(rest);
        const auto count = number_of<unsigned>(variables);
        if (!count || *count > most_variables)
            fault("expected the number of variables, at most " + std::to_string(most_variables),
                  variables);
        const std::string_view clauses = take_word(rest);
        const auto wanted = number_of<std::size_t>(clauses);
        if (!wanted) fault("expected the number of clauses", clauses);
        if (const std::string_view more = take_word(rest); !more.empty())
            fault("nothing may follow the number of clauses", more);
        has_header_ = true;
        header_ = number_;
        read_.variables = *count;
        wanted_ = *wanted;
    }

    void read_literal(std::string_view word) {
        if (!has_header_) fault("expected the line 'p cnf VARIABLES CLAUSES'", word);
        const auto literal = number_of<int>(word);
        if (!literal) fault("expected a literal", word);
        const std::int64_t variable = std::abs(std::int64_t{*literal});
        if (variable > read_.variables)
            fault("the literal is beyond the " + std::to_string(read_.variables) +
                      " variables that line " + std::to_string(header_) + " announces",
                  word);
        read_.literals.push_back(*literal);
        count_ += *literal == 0;
    }

    std::string_view rest_;
    std::string_view line_;
    unsigned number_ = 0;
    unsigned header_ = 0;
    bool has_header_ = false;
    bool is_at_end_ = false;
    std::size_t wanted_ = 0;
    std::size_t count_ = 0;
    Clauses read_;
};

// Without the percent signs that stand for bytes in comments.
std::string unescaped(std::string_view text) {
    std::string plain;
    for (std::size_t i = 0; i < text.size(); ++i) {
        unsigned char byte = 0;
        const char* digits = text.data() + i + 1;
        if (text[i] == '%' && i + 2 < text.size() &&
            std::from_chars(digits, digits + 2, byte, 16).ptr == digits + 2) {
            plain += static_cast<char>(byte);
            i += 2;
        } else {
            plain += text[i];
        }
    }
    return plain;
}

class Model {
  public:
    Model(Clauses& clauses, Writer& out) : clauses_(clauses), out_(out) {}

    void write() {
        spelled_.resize(clauses_.variables + std::size_t{1});
        find_meanings();
        out_ << "variable\n";
        if (clauses_.variables == 0) out_ << "  public nothing : [0..0];\n";
        for (unsigned variable = 1; variable <= clauses_.variables;)
            variable += declare(variable);
        out_ << "\nrule\n";
        write_clauses();
    }
    const ImportedNames& names() const { return names_; }

  private:
    static constexpr std::uint32_t none = UINT32_MAX;

    void find_meanings() {
        meaning_of_.assign(clauses_.variables + std::size_t{1}, none);
        for (std::size_t i = 0; i < clauses_.meanings.size(); ++i) {
            const Meaning& meaning = clauses_.meanings[i];
            if (meaning.variable > clauses_.variables) continue;
            std::uint32_t& known = meaning_of_[meaning.variable];
            if (known == none)
                known = static_cast<std::uint32_t>(i);
            else
                clauses_.left_out.push_back(
                    {meaning.line,
                     "variable " + std::to_string(meaning.variable) + " has a name already"});
        }
        has_names_ = std::ranges::any_of(meaning_of_, [](std::uint32_t i) { return i != none; });
        find_values();
    }
    const Meaning* meaning(unsigned variable) const {
        const bool is_known = variable < meaning_of_.size() && meaning_of_[variable] != none;
        return is_known ? &clauses_.meanings[meaning_of_[variable]] : nullptr;
    }

    // Finds variables with several values: their literals are consecutive, and one clause requires
    // one of them. Without the clause the comments only look like values.
    void find_values() {
        std::vector<unsigned> count(clauses_.variables + std::size_t{1});
        for (unsigned first = 1; first < count.size(); ++first)
            count[first] = named_values_from(first);
        values_from_.resize(count.size());
        for_each_clause([this, &count](std::span<const int> clause) {
            if (clause.size() < 3 || clause[0] <= 0) return;
            const auto first = static_cast<unsigned>(clause[0]);
            if (count[first] != clause.size()) return;
            for (std::size_t i = 1; i < clause.size(); ++i)
                if (clause[i] != clause[i - 1] + 1) return;
            values_from_[first] = count[first];
        });
    }
    // How many values are named by the comments of literals from here on.
    unsigned named_values_from(unsigned first) const {
        const Meaning* of = meaning(first);
        if (!of || !of->text.starts_with("= 0")) return 0;
        unsigned count = 0;
        for (; count < most_values; ++count) {
            const Meaning* next = meaning(first + count);
            if (!next || next->path != of->path || value_of(*next) != count) break;
        }
        return count;
    }

    template <typename Visit>
    void for_each_clause(Visit visit) const {
        const int* begin = clauses_.literals.data();
        const int* const end = begin + clauses_.literals.size();
        while (begin != end) {
            const int* const zero = std::find(begin, end, 0);
            visit(std::span(begin, zero));
            begin = zero + 1;
        }
    }

    static std::optional<unsigned> value_of(const Meaning& meaning) {
        std::string_view text = meaning.text;
        if (take_word(text) != "=") return {};
        return number_of<unsigned>(take_word(text));
    }
    static std::string label_of(const Meaning& meaning) {
        std::string_view text = meaning.text;
        take_word(text);
        take_word(text);
        return unescaped(text.substr(std::min<std::size_t>(1, text.size())));
    }

    // Declares the variable that begins with a literal; returns how many literals it has.
    unsigned declare(unsigned literal) {
        const unsigned values = values_from_[literal];
        if (values > 0) {
            declare_values(literal, values);
            return values;
        }
        const Meaning* of = meaning(literal);
        std::string& name = spelled_[literal];
        if (of)
            name = names_.make(name_of(*of));
        else
            name = names_.make_new("v" + std::to_string(literal));
        // What has no name where others have one serves to write a rule.
        out_ << (of || !has_names_ ? "  public  " : "  private ") << name << " : boolean;\n";
        return 1;
    }
    static std::string name_of(const Meaning& of) {
        std::string name = unescaped(of.path);
        // A truth is the second of two values.
        if (of.text.empty() || value_of(of) == 1U) return name;
        return name.append(" ").append(unescaped(of.text));
    }
    void declare_values(unsigned first, unsigned count) {
        const std::string name = names_.make(unescaped(meaning(first)->path));
        const bool has_labels = !label_of(*meaning(first)).empty();
        out_ << "  public  " << name << " : [";
        if (!has_labels) out_ << "0.." << count - 1;
        for (unsigned value = 0; value < count; ++value) {
            const std::string text = label_of(*meaning(first + value));
            const std::string label =
                has_labels ? names_.make_label(text, name) : std::to_string(value);
            if (has_labels) out_ << (value > 0 ? ", " : "") << label;
            spelled_[first + value].append(name).append(" = ").append(label);
        }
        out_ << "];\n";
    }

    void write_clauses() {
        for_each_clause([this](std::span<const int> clause) {
            out_ << "  ";
            if (clause.empty()) out_ << "false";
            for (const int& literal : clause) {
                if (&literal != clause.data()) out_ << " or ";
                if (literal < 0) out_ << "not ";
                out_ << spelled_[static_cast<std::size_t>(std::abs(literal))];
            }
            out_ << ";\n";
        });
    }

    Clauses& clauses_;
    Writer& out_;
    ImportedNames names_;
    std::vector<std::uint32_t> meaning_of_; // by variable: where it is among the meanings
    std::vector<unsigned> values_from_;     // by literal: of the variable that begins with it; or 0
    bool has_names_ = false;
    std::vector<std::string> spelled_; // the literals
};

} // namespace

Imported import_dimacs(std::string_view text) {
    Clauses clauses = Reader(text).read();
    return imported_by<Model>(clauses);
}

} // namespace norvane::driver
