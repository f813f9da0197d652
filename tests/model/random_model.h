// Random product models: source that passes the check, of every construct that has a value.
#ifndef NORVANE_TESTS_MODEL_RANDOM_MODEL_H
#define NORVANE_TESTS_MODEL_RANDOM_MODEL_H

#include <algorithm>
#include <deque>
#include <functional>
#include <random>
#include <sstream>
#include <string>
#include <vector>

namespace norvane::test {

// Draws the same numbers everywhere, unlike the distributions of the standard library.
class Random {
  public:
    explicit Random(unsigned seed) : engine_(seed) {}
    int below(int limit) { return static_cast<int>(engine_() % static_cast<unsigned>(limit)); }
    int between(int low, int high) { return low + below(high - low + 1); }
    bool one_in(int times) { return below(times) == 0; }
    template <typename T>
    const T& of(const std::vector<T>& items) {
        return items[static_cast<std::size_t>(below(static_cast<int>(items.size())))];
    }

  private:
    std::mt19937 engine_;
};

class Generator {
  public:
    explicit Generator(unsigned seed) : random_(seed) {}

    // The brackets that the operators do not need are "\1" and "\2".
    std::string model() {
        std::string source = constants();
        source += types();
        source += variables();
        return source + rules(5);
    }

  private:
    // How strongly operators bind, from weak to strong.
    static constexpr int conditional = 0, equivalence = 1, implication = 2, exclusion = 3,
                         disjunction = 4, conjunction = 5, negation = 6, comparison = 7,
                         addition = 8, multiplication = 9, primary = 10;

    struct Expression {
        std::string text;
        int level = primary;
    };

    enum class Kind { boolean, range, labels, integer, real, text, optional, array, record };

    struct Type;
    struct Name {
        std::string name;
        Type* type;
    };

    struct Type {
        Kind kind;
        std::string text;                     // as the source writes it
        int size = 0;                         // the highest value, or the number of elements
        Type* element = nullptr;              // of an array or an optional
        std::vector<std::string> labels = {}; // as the source writes them
        std::vector<Name> fields = {};

        bool is_unbounded() const {
            return kind == Kind::integer || kind == Kind::real || kind == Kind::text;
        }
        // Whether two values can be compared as a whole: optionals and unbounded values cannot.
        bool is_plain() const {
            if (kind == Kind::optional || is_unbounded()) return false;
            if (element) return element->is_plain();
            return std::all_of(fields.begin(), fields.end(),
                               [](const Name& field) { return field.type->is_plain(); });
        }
    };

    // A way to a value: names, dots and, as "#", indices.
    struct Path {
        std::string text;
        std::vector<int> elements; // of the array before each index
        Type* type;
    };

    struct Loop {
        std::string variable;
        int low, high;
    };

    // ---- Declarations

    std::string fresh(const char* stem) { return stem + std::to_string(++last_name_); }

    std::string constants() {
        std::string source = "constant\n";
        for (int count = random_.below(5); count > 0; --count) {
            const int kind = random_.below(3);
            const Expression value = kind == 0   ? number(2, true)
                                     : kind == 1 ? truth(2, true)
                                                 : real_constant();
            const std::string name = fresh("C");
            (kind == 0 ? numbers_ : kind == 1 ? truths_ : reals_).push_back({name});
            source += "  " + name + " : " + value.text + ";\n";
        }
        return source + "  TEXT : \"a text\";\n";
    }

    std::string types() {
        std::string source = "type\n";
        for (int count = random_.below(5); count > 0; --count) {
            Type* named = type(2);
            // Another name for a named type would be the same type.
            if (std::count(named_types_.begin(), named_types_.end(), named) != 0) continue;
            const std::string name = fresh("T");
            source += "  " + name + " : " + named->text + ";\n";
            named->text = name;
            named_types_.push_back(named);
        }
        return source;
    }

    std::string variables() {
        std::string source = "variable\n";
        for (int count = random_.between(2, 6); count > 0; --count) {
            // The last one is public, as a model needs a public value.
            Type* type = count > 1 ? this->type(2) : new_type({Kind::boolean, "boolean", 1});
            const char* access = count > 1 && random_.one_in(4) ? "  private " : "  public ";
            names_.push_back({fresh("v"), type});
            source += access + names_.back().name + " : " + type->text + ";\n";
        }
        return source;
    }

    std::string rules(int most) {
        std::string source = "rule\n";
        for (int count = random_.between(1, most); count > 0; --count)
            source += "  " + truth(random_.between(1, 4), false).text + ";\n";
        return source;
    }

    Type* new_type(const Type& type) { return &types_.emplace_back(type); }

    Type* type(int nesting) {
        switch (nesting > 0 ? random_.below(15) : random_.below(8)) {
        case 0:
        case 1: return new_type({Kind::boolean, "boolean", 1});
        case 2: {
            const int size = random_.below(8);
            return new_type({Kind::range, "[0.." + std::to_string(size) + "]", size});
        }
        case 3: return new_type({Kind::integer, "integer"});
        case 4: return new_type({Kind::real, "float"});
        case 5: return new_type({Kind::text, "string"});
        case 6: return enumeration();
        case 8:
        case 9: return record(nesting - 1);
        case 10:
        case 11: {
            const int size = random_.between(1, 3);
            Type* element = type(nesting - 1);
            return new_type({Kind::array, "array " + std::to_string(size) + " of " + element->text,
                             size, element});
        }
        case 12: {
            Type* element = type(nesting - 1);
            if (element->is_unbounded()) return element;
            return new_type({Kind::optional, "optional " + element->text, 1, element});
        }
        default:
            if (named_types_.empty()) return new_type({Kind::boolean, "boolean", 1});
            return random_.of(named_types_);
        }
    }

    Type* enumeration() {
        Type* type = new_type({Kind::labels, "[", random_.below(4)});
        for (int i = 0; i <= type->size; ++i) {
            std::string label = fresh("l");
            if (!random_.one_in(5))
                labels_.push_back({"order(" + label + ")"});
            else
                label = (random_.one_in(2) ? "\"{h}" : "\"") + label + " x\"";
            type->labels.push_back(label);
            type->text += (i == 0 ? "" : ", ") + label;
        }
        type->text += "]";
        return type;
    }

    // The rules of a record see its fields and those of the records around that stand before it.
    Type* record(int nesting) {
        Type* type = new_type({Kind::record, "{"});
        const std::size_t outer_names = names_.size();
        for (int count = random_.between(1, 3); count > 0; --count) {
            Type* of_field = this->type(nesting);
            const Name field = {fresh("f"), of_field};
            const char* access = random_.one_in(4) ? " private " : " ";
            type->text += access + field.name + " : " + of_field->text + ";";
            type->fields.push_back(field);
            names_.push_back(field);
        }
        if (random_.one_in(2)) type->text += " " + rules(2);
        type->text += " }";
        names_.resize(outer_names);
        return type;
    }

    // ---- Expressions, `nesting` operators deep at most; the static ones read no variables.

    struct Operand {
        int level; // of what may stand there without brackets
        Expression expression;
    };

    // The pattern with the operands in the places of "#".
    static Expression form(int level, const std::string& pattern,
                           const std::vector<Operand>& operands) {
        std::string text;
        auto operand = operands.begin();
        for (const char c : pattern) {
            if (c != '#') {
                text += c;
                continue;
            }
            const auto& [needed, inner] = *operand++;
            const bool needs_brackets = inner.level < needed;
            const std::string open = needs_brackets ? "(" : inner.level < primary ? "\1" : "";
            const std::string close = needs_brackets ? ")" : inner.level < primary ? "\2" : "";
            text += open + inner.text + close;
        }
        return {text, level};
    }

    struct Operator {
        std::string word;
        int level;
    };

    static Expression binary(const Operator& opr, const Expression& left, const Expression& right) {
        // Implication and equivalence group from the right, comparisons not at all.
        const bool from_right = opr.level == implication || opr.level == equivalence;
        const bool alone = opr.level == comparison;
        return form(opr.level, "# " + opr.word + " #",
                    {{opr.level + (from_right || alone), left}, {opr.level + !from_right, right}});
    }

    Expression compared(const Expression& left, const Expression& right) {
        static const std::vector<std::string> words = {"<", "<=", ">", ">=", "=", "<>"};
        return binary({random_.of(words), comparison}, left, right);
    }

    static Expression literal(int value) { return {std::to_string(value)}; }

    Expression either(bool of_numbers, int nesting, bool is_static) {
        return of_numbers ? number(nesting, is_static) : truth(nesting, is_static);
    }

    Expression conditional_of(bool of_numbers, int nesting, bool is_static) {
        const Expression test = truth(nesting, is_static);
        const Expression yes = either(of_numbers, nesting, is_static);
        if (!of_numbers && random_.one_in(3))
            return form(conditional, "if # then #", {{1, test}, {1, yes}});
        return form(conditional, "if # then # else #",
                    {{1, test}, {1, yes}, {0, either(of_numbers, nesting, is_static)}});
    }

    Expression loop(const std::string& word, bool of_numbers, int nesting, bool is_static) {
        const int low = random_.below(3), high = low + random_.below(3);
        const std::string name = fresh("i");
        loops_.push_back({name, low, high});
        const Expression body = either(of_numbers, nesting, is_static);
        loops_.pop_back();
        return {word + " " + name + " in [" + std::to_string(low) + ".." + std::to_string(high) +
                "] : (" + body.text + ")"};
    }

    Expression case_of(bool of_numbers, int nesting) {
        const std::vector<Path> found = paths([](const Type& type) {
            return type.kind != Kind::real && type.kind != Kind::array && type.kind != Kind::record;
        });
        if (found.empty()) return either(of_numbers, 0, false);
        const Path& path = random_.of(found);
        std::string pattern = "case " + variable(path).text + " of ";
        std::vector<Operand> parts;
        for (int count = random_.between(1, 3); count > 0; --count) {
            pattern += "# then # | ";
            parts.push_back({1, operand(path.type, 0)});
            parts.push_back({1, either(of_numbers, nesting, false)});
        }
        parts.push_back({0, either(of_numbers, nesting, false)});
        return form(primary, pattern + "default # esac", parts);
    }

    Expression number(int nesting, bool is_static) {
        const int less = nesting - 1;
        const auto both = [&](const Operator& opr) {
            // A negative number before a product would read back as a negated product.
            const bool is_product = opr.level == multiplication;
            const Expression left =
                is_product ? operand_number(is_static) : number(less, is_static);
            return binary(opr, left, number(less, is_static));
        };
        switch (nesting > 0 ? random_.below(13) : 12) {
        case 0:
        case 1: return both({"+", addition});
        case 2:
        case 3: return both({"-", addition});
        case 4: return both({"*", multiplication});
        case 5: return form(addition, "-#", {{multiplication, number(less, is_static)}});
        case 6: return conditional_of(true, less, is_static);
        case 7: return loop("sum", true, less, is_static);
        case 8: return loop("product", true, less, is_static);
        case 9: return is_static ? operand_number(true) : case_of(true, less);
        default: return operand_number(is_static);
        }
    }

    Expression operand_number(bool is_static) {
        const std::vector<Path> found = paths(
            [](const Type& type) { return type.kind == Kind::range || type.kind == Kind::labels; });
        if (!is_static && !found.empty() && random_.one_in(2)) {
            const Path& path = random_.of(found);
            const Expression read = variable(path);
            return path.type->kind == Kind::labels ? Expression{"order(" + read.text + ")"} : read;
        }
        if (!loops_.empty() && random_.one_in(2)) return {random_.of(loops_).variable};
        if (!numbers_.empty() && random_.one_in(3)) return random_.of(numbers_);
        if (!labels_.empty() && random_.one_in(6)) return random_.of(labels_);
        return literal(random_.below(10));
    }

    Expression truth(int nesting, bool is_static) {
        const int less = nesting - 1;
        const auto both = [&](const Operator& opr) {
            const Expression left = truth(less, is_static);
            return binary(opr, left, truth(less, is_static));
        };
        switch (nesting > 0 ? random_.below(20) : 19) {
        case 0: return both({"and", conjunction});
        case 1: return both({"or", disjunction});
        case 2: return both({"xor", exclusion});
        case 3: return both({"->", implication});
        case 4: return both({"<->", equivalence});
        case 5: return form(negation, "not #", {{negation, truth(less, is_static)}});
        case 6: return conditional_of(false, less, is_static);
        case 7: return loop("forall", false, less, is_static);
        case 8: return loop("exist", false, less, is_static);
        case 9: return is_static ? operand_truth(nesting, true) : case_of(false, less);
        case 10:
        case 11:
        case 12: {
            const Expression left = number(less, is_static);
            return compared(left, number(less, is_static));
        }
        default: return operand_truth(nesting, is_static);
        }
    }

    Expression operand_truth(int nesting, bool is_static) {
        const std::vector<Path> found = paths([](const Type&) { return true; });
        if (!is_static && !found.empty() && !random_.one_in(8)) {
            const Path& path = random_.of(found);
            if (path.type->kind == Kind::boolean && random_.one_in(2)) return variable(path);
            if (path.type->is_plain() && random_.one_in(2)) {
                const auto same = paths([&](const Type& other) { return &other == path.type; });
                return same_or_not(variable(path), variable(random_.of(same)));
            }
            if (path.type->kind != Kind::array && path.type->kind != Kind::record)
                return comparison_of(path, std::min(nesting, 1));
        }
        if (!truths_.empty() && random_.one_in(2)) return random_.of(truths_);
        return {random_.one_in(2) ? "true" : "false"};
    }

    Expression real_constant() {
        std::string half = std::to_string(random_.below(20));
        half += random_.one_in(2) ? ".5" : ".0";
        switch (random_.below(4)) {
        case 0: return {"-" + half, addition};
        case 1: return {half + " / 2.0", multiplication};
        case 2: return {half + " * 3.0 - 0.5", addition};
        default: return {half};
        }
    }

    // The bare name of a constant cannot be compared with an unbounded variable after it.
    static bool may_stand_first(const Expression& e) {
        return e.text[0] >= '0' && e.text[0] <= '9';
    }

    Expression same_or_not(Expression left, Expression right) {
        if (may_stand_first(right) && random_.one_in(3)) std::swap(left, right);
        return binary({random_.one_in(3) ? "<>" : "=", comparison}, left, right);
    }

    // A variable and what it can be equal to; or the order of an unbounded one and a number.
    Expression comparison_of(const Path& path, int nesting) {
        const Kind kind = path.type->kind;
        const Expression read = variable(path);
        if (kind != Kind::real && (kind != Kind::integer || random_.one_in(2)))
            return same_or_not(read, operand(path.type, nesting));
        Expression limit = kind == Kind::integer ? number(nesting, true) : real_constant();
        // The bare name of a constant cannot be set equal to an unbounded float.
        if (kind == Kind::real && !reals_.empty() && random_.one_in(2))
            limit = {random_.of(reals_).text + " + 0.5", addition};
        if (may_stand_first(limit) && random_.one_in(3)) return compared(limit, read);
        return compared(read, limit);
    }

    // What a variable of the type can be equal to.
    Expression operand(const Type* type, int nesting) {
        static const std::vector<std::string> texts = {"\"a\"", "\"b b\"", "\"c\"", "\"\""};
        switch (type->kind) {
        case Kind::boolean: return truth(nesting, false);
        case Kind::range: return number(nesting, false);
        case Kind::integer: return number(nesting, true);
        case Kind::optional: return {random_.one_in(2) ? "SOME" : "NONE"};
        case Kind::labels: {
            const std::string& label = random_.of(type->labels);
            return {random_.one_in(4) && label[0] != '"' ? '"' + label + '"' : label};
        }
        default: return {random_.of(texts)};
        }
    }

    // ---- Variables

    Expression index(int elements, bool may_use_loops) {
        const int chosen = random_.below(elements);
        std::vector<Expression> choices = {literal(chosen)};
        const auto add_minus = [&](const Expression& left, const Expression& right) {
            choices.push_back(binary({"-", addition}, left, right));
        };
        add_minus(literal(chosen + 1), literal(1));
        for (const Loop& loop : loops_) {
            if (!may_use_loops || loop.high - loop.low >= elements) continue;
            if (loop.high < elements) choices.push_back({loop.variable});
            add_minus({loop.variable}, literal(loop.low));
            add_minus(literal(loop.high), {loop.variable});
        }
        return random_.of(choices);
    }

    std::vector<Path> paths(const std::function<bool(const Type&)>& wanted) const {
        std::vector<Path> all;
        for (const Name& name : names_)
            all.push_back({name.name, {}, name.type});
        std::vector<Path> found;
        for (std::size_t i = 0; i < all.size(); ++i) {
            const Path path = all[i];
            const Type& type = *path.type;
            if (type.kind == Kind::array) {
                all.push_back({path.text + "[#]", path.elements, type.element});
                all.back().elements.push_back(type.size);
            }
            if (type.kind == Kind::optional)
                all.push_back({path.text + ".SOME", path.elements, type.element});
            for (const Name& field : type.fields)
                all.push_back({path.text + "." + field.name, path.elements, field.type});
            if (wanted(type)) found.push_back(path);
        }
        return found;
    }

    Expression variable(const Path& path) {
        // In a loop, an element of an array of strings is the same one in every turn.
        std::vector<Operand> indices;
        for (const int elements : path.elements)
            indices.push_back({0, index(elements, path.type->kind != Kind::text)});
        return form(primary, path.text, indices);
    }

    Random random_;
    std::deque<Type> types_;
    int last_name_ = 0;
    std::vector<Name> names_; // what can be read at this point
    std::vector<Type*> named_types_;
    std::vector<Expression> labels_;                   // as order(label)
    std::vector<Expression> numbers_, truths_, reals_; // constants
    std::vector<Loop> loops_;
};

// The text with one to three small faults: words dropped, doubled, swapped or replaced.
inline std::string with_faults(const std::string& source, Random& random) {
    std::vector<std::string> words;
    std::istringstream stream(source);
    for (std::string word; stream >> word;)
        words.push_back(word);
    for (int count = random.between(1, 3); count > 0 && !words.empty(); --count) {
        const auto size = static_cast<int>(words.size());
        const auto at = words.begin() + random.below(size);
        const std::string other = random.of(words);
        switch (random.below(4)) {
        case 0: words.erase(at); break;
        case 1: words.insert(at, other); break;
        case 2: *at = other; break;
        default: std::iter_swap(at, words.begin() + random.below(size));
        }
    }
    std::string text;
    for (const std::string& word : words)
        text += word + (word.ends_with(';') ? "\n" : " ");
    return text;
}

} // namespace norvane::test

#endif
