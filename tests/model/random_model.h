// Random product models, and their rules evaluated directly on the source, without the library:
// each generated expression carries a function that computes its value.
#ifndef NORVANE_TESTS_MODEL_RANDOM_MODEL_H
#define NORVANE_TESTS_MODEL_RANDOM_MODEL_H

#include <algorithm>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <random>
#include <set>
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

// The value of a variable or field; `number` is that of all but unbounded strings.
struct Value {
    double number = 0;
    std::string text;
};

// The values by path, such as "parts[1].size" or "lamp.SOME.watts"; that of an optional is 0 or 1.
using Product = std::map<std::string, Value>;
// The same with the class of each unbounded value in its place.
using FiniteProduct = std::map<std::string, int>;

// In what an expression is evaluated.
struct Context {
    const Product& product;
    std::vector<std::string> records; // prefix of the paths in each record around, outermost first
    std::map<std::string, int> loops; // values of the loop variables
    // Note the values with which unbounded variables are compared, instead of reading products.
    bool collecting = false;
};

struct Expression {
    std::string text;
    int level; // how strongly its operator binds
    std::function<int(Context&)> value;
};

enum class Kind { boolean, range, labels, integer, real, text, optional, array, record };

struct Name {
    std::string name;
    struct Type* type;
    int depth; // the number of records around
};

struct Type {
    Kind kind;
    std::string text;                // the type as the source writes it
    int size = 0;                    // the highest value, or the number of elements or labels
    Type* element = nullptr;         // of an array or an optional
    std::vector<std::string> labels; // as the source writes them
    std::vector<Name> fields;
    std::vector<Expression> rules;
    std::set<double> numbers;    // what the rules compare an unbounded number with
    std::set<std::string> texts; // what the rules compare a string with

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

class Generator {
  public:
    Generator(unsigned seed, std::deque<Type>& types) : random_(seed), types_(types) {}

    bool has_optional = false;
    std::vector<Name> names; // what can be read at this point

    std::string constants() {
        std::string source = "constant\n";
        for (int count = random_.below(5); count > 0; --count) {
            const std::string name = fresh("C");
            const auto define = [&](const Expression& value, std::vector<Expression>& constants) {
                constants.push_back({name, primary, value.value});
                source += "  " + name + " : " + value.text + ";\n";
            };
            switch (random_.below(3)) {
            case 0: define(number(2, true), numbers_); break;
            case 1: define(truth(2, true), truths_); break;
            default: define(real_constant(), reals_);
            }
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
            Type* type = count > 1 ? this->type(2) : new_type(Kind::boolean, "boolean", 1);
            const char* access = count > 1 && random_.one_in(4) ? "  private " : "  public ";
            names.push_back({fresh("v"), type, 0});
            source += access + names.back().name + " : " + type->text + ";\n";
        }
        return source;
    }

    std::string rules(int most, std::vector<Expression>& rules) {
        std::string source = "rule\n";
        for (int count = random_.between(1, most); count > 0; --count) {
            rules.push_back(truth(random_.between(1, 4), false));
            source += "  " + rules.back().text + ";\n";
        }
        return source;
    }

  private:
    // How strongly operators bind, from weak to strong.
    static constexpr int conditional = 0, equivalence = 1, implication = 2, exclusion = 3,
                         disjunction = 4, conjunction = 5, negation = 6, comparison = 7,
                         addition = 8, multiplication = 9, primary = 10;

    using Combine = std::function<std::int64_t(std::int64_t, std::int64_t)>;
    using Read = std::function<Value(Context&)>;

    // A way to a value: names, dots and indices.
    struct Path {
        struct Step {
            std::string text;
            int elements; // to be chosen among by an index, or 0
        };
        std::vector<Step> steps;
        Type* type;
        int depth;
    };

    struct Loop {
        std::string variable;
        int low, high;
    };

    // What a variable can be compared with.
    struct Operand {
        Expression expression;
        std::function<bool(Context&, const Value&)> equals;
    };

    std::string fresh(const char* stem) { return stem + std::to_string(++last_name_); }

    static int wrapped(std::int64_t value) {
        return static_cast<int>(static_cast<std::uint32_t>(value));
    }
    static std::string at_least(int level, const Expression& e) {
        return e.level >= level ? e.text : "(" + e.text + ")";
    }
    static Expression literal(int value, const std::string& text) {
        return {text, primary, [=](Context&) { return value; }};
    }
    static Expression literal(int value) { return literal(value, std::to_string(value)); }
    static Expression turn_of(const std::string& loop) {
        return {loop, primary, [=](Context& in) { return in.loops[loop]; }};
    }
    // The bare name of a constant cannot be compared with an unbounded variable behind it.
    static bool may_stand_first(const Expression& e) {
        return e.text[0] >= '0' && e.text[0] <= '9';
    }

    // ---- Expressions, `nesting` operators deep at most; the static ones read no variables.

    Expression binary(const char* opr, int level, const Expression& left, const Expression& right,
                      const Combine& combine) {
        // Implication and equivalence group from the right, comparisons not at all.
        const bool from_right = level == implication || level == equivalence;
        const int left_level = from_right || level == comparison ? level + 1 : level;
        const int right_level = from_right ? level : level + 1;
        return {at_least(left_level, left) + " " + opr + " " + at_least(right_level, right), level,
                [=](Context& in) {
                    const int l = left.value(in);
                    return wrapped(combine(l, right.value(in)));
                }};
    }

    Expression compared(const Expression& left, const Expression& right) {
        switch (random_.below(6)) {
        case 0: return binary("<", comparison, left, right, std::less<>());
        case 1: return binary("<=", comparison, left, right, std::less_equal<>());
        case 2: return binary(">", comparison, left, right, std::greater<>());
        case 3: return binary(">=", comparison, left, right, std::greater_equal<>());
        case 4: return binary("=", comparison, left, right, std::equal_to<>());
        default: return binary("<>", comparison, left, right, std::not_equal_to<>());
        }
    }

    Expression either(bool of_numbers, int nesting, bool is_static) {
        return of_numbers ? number(nesting, is_static) : truth(nesting, is_static);
    }

    // All branches are evaluated, so that what they compare is collected.
    Expression conditional_of(bool of_numbers, int nesting, bool is_static) {
        const Expression test = truth(nesting, is_static);
        const Expression yes = either(of_numbers, nesting, is_static);
        const bool has_else = of_numbers || !random_.one_in(3);
        const Expression no = has_else ? either(of_numbers, nesting, is_static) : literal(1);
        return {"if " + at_least(1, test) + " then " + at_least(1, yes) +
                    (has_else ? " else " + no.text : ""),
                conditional, [=](Context& in) {
                    const int chosen = test.value(in), a = yes.value(in), b = no.value(in);
                    return chosen != 0 ? a : b;
                }};
    }

    Expression loop(const std::string& word, int first, bool of_numbers, int nesting,
                    bool is_static, const Combine& combine) {
        const int low = random_.below(3), high = low + random_.below(3);
        const std::string name = fresh("i");
        loops_.push_back({name, low, high});
        const Expression body = either(of_numbers, nesting, is_static);
        loops_.pop_back();
        const std::string range = "[" + std::to_string(low) + ".." + std::to_string(high) + "]";
        return {word + " " + name + " in " + range + " : (" + body.text + ")", primary,
                [=](Context& in) {
                    int result = first;
                    for (in.loops[name] = low; in.loops[name] <= high; ++in.loops[name])
                        result = wrapped(combine(result, body.value(in)));
                    return result;
                }};
    }

    Expression case_of(bool of_numbers, int nesting) {
        const std::vector<Path> found = paths([](const Type& type) {
            return type.kind != Kind::real && type.kind != Kind::array && type.kind != Kind::record;
        });
        if (found.empty()) return either(of_numbers, 0, false);
        const Path& path = random_.of(found);
        const auto [text, read] = variable(path);
        std::string source = "case " + text + " of ";
        std::vector<std::pair<Operand, Expression>> arms;
        for (int count = random_.between(1, 3); count > 0; --count) {
            const Operand selected = operand(path.type, 0);
            arms.emplace_back(selected, either(of_numbers, nesting, false));
            source += at_least(1, selected.expression) + " then " +
                      at_least(1, arms.back().second) + " | ";
        }
        const Expression otherwise = either(of_numbers, nesting, false);
        return {source + "default " + otherwise.text + " esac", primary,
                [arms, otherwise, read = read](Context& in) {
                    const Value selector = read(in);
                    int result = otherwise.value(in);
                    for (auto arm = arms.rbegin(); arm != arms.rend(); ++arm) {
                        const int value = arm->second.value(in);
                        if (arm->first.equals(in, selector)) result = value;
                    }
                    return result;
                }};
    }

    Expression number(int nesting, bool is_static) {
        const int less = nesting - 1;
        const auto both = [&](const char* opr, int level, const Combine& combine) {
            // A negative number before a product would read back as a negated product.
            const bool is_product = level == multiplication;
            const Expression left =
                is_product ? operand_number(is_static) : number(less, is_static);
            return binary(opr, level, left, number(less, is_static), combine);
        };
        switch (nesting > 0 ? random_.below(13) : 12) {
        case 0:
        case 1: return both("+", addition, std::plus<>());
        case 2:
        case 3: return both("-", addition, std::minus<>());
        case 4: return both("*", multiplication, std::multiplies<>());
        case 5: {
            const Expression arg = number(less, is_static);
            return {"-" + at_least(multiplication, arg), addition,
                    [=](Context& in) { return wrapped(-std::int64_t{arg.value(in)}); }};
        }
        case 6: return conditional_of(true, less, is_static);
        case 7: return loop("sum", 0, true, less, is_static, std::plus<>());
        case 8: return loop("product", 1, true, less, is_static, std::multiplies<>());
        case 9: return is_static ? operand_number(true) : case_of(true, less);
        default: return operand_number(is_static);
        }
    }

    Expression operand_number(bool is_static) {
        const std::vector<Path> found = paths(
            [](const Type& type) { return type.kind == Kind::range || type.kind == Kind::labels; });
        if (!is_static && !found.empty() && random_.one_in(2)) {
            const Path& path = random_.of(found);
            Expression read = whole(path);
            if (path.type->kind == Kind::labels) read.text = "order(" + read.text + ")";
            return read;
        }
        if (!loops_.empty() && random_.one_in(2)) return turn_of(random_.of(loops_).variable);
        if (!numbers_.empty() && random_.one_in(3)) return random_.of(numbers_);
        if (!labels_.empty() && random_.one_in(6)) return random_.of(labels_);
        return literal(random_.below(10));
    }

    Expression truth(int nesting, bool is_static) {
        const int less = nesting - 1;
        const auto both = [&](const char* opr, int level, const Combine& combine) {
            const Expression left = truth(less, is_static);
            return binary(opr, level, left, truth(less, is_static), combine);
        };
        switch (nesting > 0 ? random_.below(20) : 19) {
        case 0: return both("and", conjunction, std::bit_and<>());
        case 1: return both("or", disjunction, std::bit_or<>());
        case 2: return both("xor", exclusion, std::bit_xor<>());
        case 3: return both("->", implication, std::less_equal<>());
        case 4: return both("<->", equivalence, std::equal_to<>());
        case 5: {
            const Expression arg = truth(less, is_static);
            return {"not " + at_least(negation, arg), negation,
                    [=](Context& in) { return 1 - arg.value(in); }};
        }
        case 6: return conditional_of(false, less, is_static);
        case 7: return loop("forall", 1, false, less, is_static, std::bit_and<>());
        case 8: return loop("exist", 0, false, less, is_static, std::bit_or<>());
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
            if (path.type->kind == Kind::boolean && random_.one_in(2)) return whole(path);
            if (path.type->is_plain() && random_.one_in(2)) return comparison_of_wholes(path);
            if (path.type->kind != Kind::array && path.type->kind != Kind::record)
                return comparison_of(path, std::min(nesting, 1));
        }
        if (!truths_.empty() && random_.one_in(2)) return random_.of(truths_);
        const bool value = random_.one_in(2);
        return literal(value, value ? "true" : "false");
    }

    // Floats are numbers of quarters; as values of expressions they are counted in quarters.
    Expression real_constant() {
        const int quarters = random_.below(80);
        const std::string half = std::to_string(quarters / 4) + (quarters / 2 % 2 ? ".5" : ".0");
        const int value = quarters / 2 * 2;
        switch (random_.below(4)) {
        case 0: return {"-" + half, addition, [=](Context&) { return -value; }};
        case 1: return {half + " / 2.0", multiplication, [=](Context&) { return value / 2; }};
        case 2: return {half + " * 3.0 - 0.5", addition, [=](Context&) { return value * 3 - 2; }};
        default: return literal(value, half);
        }
    }

    Expression same_or_not(Expression left, Expression right,
                           const std::function<bool(Context&)>& is_same) {
        const bool same = !random_.one_in(3);
        if (may_stand_first(right) && random_.one_in(3)) std::swap(left, right);
        return {at_least(addition, left) + (same ? " = " : " <> ") + at_least(addition, right),
                comparison, [=](Context& in) { return is_same(in) == same; }};
    }

    // A variable and what it can be equal to; or the order of an unbounded one and a number.
    Expression comparison_of(const Path& path, int nesting) {
        Type* type = path.type;
        const auto [text, read] = variable(path);
        const Expression name = {text, primary, nullptr};
        if (type->kind == Kind::real || (type->kind == Kind::integer && random_.one_in(2))) {
            const double unit = type->kind == Kind::real ? 4 : 1;
            Expression limit = unit == 1 ? number(nesting, true) : real_constant();
            if (unit == 4 && !reals_.empty() && random_.one_in(2)) {
                // The bare name of a constant cannot be set equal to an unbounded float.
                limit = random_.of(reals_);
                limit = {limit.text + " + 0.5", addition,
                         [v = limit.value](Context& in) { return v(in) + 2; }};
            }
            // Only the order of the two counts.
            const auto order = [=, read = read](Context& in) {
                const double right = limit.value(in) / unit;
                if (in.collecting) type->numbers.insert(right);
                const double left = read(in).number;
                return (left > right) - (left < right);
            };
            const Expression left = {text, primary, order};
            const Expression right = {limit.text, limit.level, [](Context&) { return 0; }};
            if (may_stand_first(limit) && random_.one_in(3)) return compared(right, left);
            return compared(left, right);
        }
        const Operand other = operand(type, nesting);
        return same_or_not(
            name, other.expression,
            [read = read, equals = other.equals](Context& in) { return equals(in, read(in)); });
    }

    Operand operand(Type* type, int nesting) {
        const auto computed = [type](const Expression& other) {
            return Operand{other, [=](Context& in, const Value& value) {
                               const int number = other.value(in);
                               if (in.collecting && type->is_unbounded())
                                   type->numbers.insert(number);
                               return value.number == number;
                           }};
        };
        const int chosen = random_.below(std::max(type->size, 2));
        switch (type->kind) {
        case Kind::boolean: return computed(truth(nesting, false));
        case Kind::range: return computed(number(nesting, false));
        case Kind::integer: return computed(number(nesting, true));
        case Kind::optional: return computed(literal(chosen, chosen == 1 ? "SOME" : "NONE"));
        case Kind::labels: {
            const int at = chosen % type->size;
            const std::string& label = type->labels[static_cast<std::size_t>(at)];
            const bool quotes = random_.one_in(4) && label[0] != '"';
            return computed(literal(at, quotes ? '"' + label + '"' : label));
        }
        default: {
            const std::string text = random_.of(std::vector<std::string>{"a", "b b", "c", ""});
            return {literal(0, '"' + text + '"'), [=](Context& in, const Value& value) {
                        if (in.collecting) type->texts.insert(text);
                        return value.text == text;
                    }};
        }
        }
    }

    // Two values of one type.
    Expression comparison_of_wholes(const Path& path) {
        const Type* type = path.type;
        const auto [left, left_place] = place(path);
        const auto [right, right_place] =
            place(random_.of(paths([&](const Type& other) { return &other == type; })));
        return same_or_not({left, primary, nullptr}, {right, primary, nullptr},
                           [left = left_place, right = right_place, type](Context& in) {
                               return in.collecting ||
                                      is_same(*type, in.product, left(in), right(in));
                           });
    }

    static bool is_same(const Type& type, const Product& product, const std::string& left,
                        const std::string& right) {
        const auto same_at = [&](const Type& part, const std::string& rest) {
            return is_same(part, product, left + rest, right + rest);
        };
        bool same = true;
        for (int i = 0; type.kind == Kind::array && i < type.size; ++i)
            same = same && same_at(*type.element, "[" + std::to_string(i) + "]");
        for (const Name& field : type.fields)
            same = same && same_at(*field.type, "." + field.name);
        if (type.element || !type.fields.empty()) return same;
        return product.at(left).number == product.at(right).number;
    }

    // ---- Variables

    Expression index(int elements, bool may_use_loops) {
        const int chosen = random_.below(elements);
        std::vector<Expression> choices = {literal(chosen)};
        const auto add_minus = [&](const Expression& left, const Expression& right) {
            choices.push_back(binary("-", addition, left, right, std::minus<>()));
        };
        add_minus(literal(chosen + 1), literal(1));
        for (const Loop& loop : loops_) {
            if (!may_use_loops || loop.high - loop.low >= elements) continue;
            const Expression turn = turn_of(loop.variable);
            if (loop.high < elements) choices.push_back(turn);
            add_minus(turn, literal(loop.low));
            add_minus(literal(loop.high), turn);
        }
        return random_.of(choices);
    }

    std::vector<Path> paths(const std::function<bool(const Type&)>& wanted) const {
        std::vector<Path> all;
        for (const Name& name : names)
            all.push_back({{{name.name, 0}}, name.type, name.depth});
        std::vector<Path> found;
        for (std::size_t i = 0; i < all.size(); ++i) {
            const Path path = all[i];
            const Type& type = *path.type;
            const auto add_longer = [&](const std::string& text, int elements, Type* part) {
                all.push_back({path.steps, part, path.depth});
                all.back().steps.push_back({text, elements});
            };
            if (type.kind == Kind::array) add_longer("", type.size, type.element);
            if (type.kind == Kind::optional) add_longer(".SOME", 0, type.element);
            for (const Name& field : type.fields)
                add_longer("." + field.name, 0, field.type);
            if (wanted(type)) found.push_back(path);
        }
        return found;
    }

    // The text of a path, and where it leads to in a product.
    std::pair<std::string, std::function<std::string(Context&)>> place(const Path& path) {
        std::string text;
        std::vector<std::pair<std::string, Expression>> parts;
        for (const Path::Step& step : path.steps) {
            // In a loop, an element of an array of strings is the same one in every turn.
            const bool may_use_loops = path.type->kind != Kind::text;
            const bool is_word = step.elements == 0;
            parts.emplace_back(step.text,
                               is_word ? literal(0) : index(step.elements, may_use_loops));
            text += is_word ? step.text : "[" + parts.back().second.text + "]";
        }
        const auto records_up = static_cast<std::size_t>(depth_ - path.depth);
        return {text, [=](Context& in) {
                    std::string result = in.records[in.records.size() - 1 - records_up];
                    for (const auto& [word, at] : parts)
                        result += word.empty() ? "[" + std::to_string(at.value(in)) + "]" : word;
                    return result;
                }};
    }

    std::pair<std::string, Read> variable(const Path& path) {
        const auto [text, where] = place(path);
        return {text, [where = where](Context& in) {
                    return in.collecting ? Value{} : in.product.at(where(in));
                }};
    }

    Expression whole(const Path& path) {
        const auto [text, read] = variable(path);
        return {text, primary,
                [read = read](Context& in) { return static_cast<int>(read(in).number); }};
    }

    // ---- Types

    Type* new_type(Kind kind, const std::string& text, int size = 0, Type* element = nullptr) {
        return &types_.emplace_back(Type{kind, text, size, element, {}, {}, {}, {}, {}});
    }

    Type* type(int nesting) {
        switch (nesting > 0 ? random_.below(15) : random_.below(8)) {
        case 0:
        case 1: return new_type(Kind::boolean, "boolean", 1);
        case 2: {
            const int size = random_.below(8);
            return new_type(Kind::range, "[0.." + std::to_string(size) + "]", size);
        }
        case 3: return new_type(Kind::integer, "integer");
        case 4: return new_type(Kind::real, "float");
        case 5: return new_type(Kind::text, "string");
        case 6: return enumeration();
        case 8:
        case 9: return record(nesting - 1);
        case 10:
        case 11: {
            const int size = random_.between(1, 3);
            Type* element = type(nesting - 1);
            const std::string text = "array " + std::to_string(size) + " of " + element->text;
            return new_type(Kind::array, text, size, element);
        }
        case 12: {
            Type* element = type(nesting - 1);
            if (element->is_unbounded()) return element;
            has_optional = true;
            return new_type(Kind::optional, "optional " + element->text, 1, element);
        }
        default:
            if (named_types_.empty()) return new_type(Kind::boolean, "boolean", 1);
            return random_.of(named_types_);
        }
    }

    Type* enumeration() {
        Type* type = new_type(Kind::labels, "[", random_.between(1, 4));
        for (int i = 0; i < type->size; ++i) {
            std::string label = fresh("l");
            if (!random_.one_in(5))
                labels_.push_back(literal(i, "order(" + label + ")"));
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
        Type* type = new_type(Kind::record, "{");
        const std::size_t outer_names = names.size();
        ++depth_;
        for (int count = random_.between(1, 3); count > 0; --count) {
            Type* of_field = this->type(nesting);
            const Name field = {fresh("f"), of_field, depth_};
            const char* access = random_.one_in(4) ? " private " : " ";
            type->text += access + field.name + " : " + of_field->text + ";";
            type->fields.push_back(field);
            names.push_back(field);
        }
        if (random_.one_in(2)) type->text += " " + rules(2, type->rules);
        type->text += " }";
        --depth_;
        names.resize(outer_names);
        return type;
    }

    Random random_;
    std::deque<Type>& types_;
    int last_name_ = 0;
    int depth_ = 0; // the number of records around
    std::vector<Type*> named_types_;
    std::vector<Expression> labels_;                   // as order(label)
    std::vector<Expression> numbers_, truths_, reals_; // constants
    std::vector<Loop> loops_;
};

class RandomModel {
  public:
    explicit RandomModel(unsigned seed) {
        Generator generator(seed, types_);
        source_ = generator.constants();
        source_ += generator.types();
        source_ += generator.variables();
        source_ += generator.rules(5, rules_);
        variables_ = generator.names;
        has_optional_ = generator.has_optional;
        const Product none;
        Context context = {none, std::vector<std::string>(10), {}, true};
        for (const Expression& rule : rules_)
            rule.value(context);
        for (const Type& type : types_)
            for (const Expression& rule : type.rules)
                rule.value(context);
    }
    RandomModel(const RandomModel&) = delete; // expressions point to types
    RandomModel& operator=(const RandomModel&) = delete;

    const std::string& source() const { return source_; }
    bool has_optional() const { return has_optional_; }

    Product product(Random& random) const {
        Product product;
        walk([&](const std::string& path, const Type& type) {
            if (type.kind == Kind::array || type.kind == Kind::record) return;
            Value& value = product[path];
            std::vector<std::string> texts(type.texts.begin(), type.texts.end());
            std::vector<double> numbers(type.numbers.begin(), type.numbers.end());
            texts.push_back("another");
            numbers.push_back(3);
            value.text = random.of(texts);
            const double step = type.kind == Kind::real ? 0.125 : 1;
            value.number = type.is_unbounded()
                               ? random.of(numbers) + step * random.between(-1, 1)
                               : random.below(type.size + (type.kind == Kind::labels ? 0 : 1));
        });
        return product;
    }

    FiniteProduct finite(const Product& product) const {
        FiniteProduct finite;
        walk([&](const std::string& path, const Type& type) {
            const auto at = product.find(path);
            if (at == product.end()) return;
            const auto& [number, text] = at->second;
            const auto known = type.texts.find(text);
            if (type.kind != Kind::text)
                finite[path] =
                    type.is_unbounded() ? class_of(type, number) : static_cast<int>(number);
            else if (known == type.texts.end())
                finite[path] = 0;
            else
                finite[path] = 1 + static_cast<int>(std::distance(type.texts.begin(), known));
        });
        return finite;
    }

    // The values of all rules on a product, those of a record once for each instance, in the order
    // of the flat rules.
    std::vector<int> evaluate(const Product& product) const {
        std::vector<int> values;
        Context context = {product, {""}, {}, false};
        for (const Expression& rule : rules_)
            values.push_back(rule.value(context));
        walk([&](const std::string& path, const Type& type) {
            if (type.kind != Kind::record) return;
            // The records around are those whose paths this one begins with.
            while (!path.starts_with(context.records.back()))
                context.records.pop_back();
            context.records.push_back(path + ".");
            for (const Expression& rule : type.rules)
                values.push_back(rule.value(context));
        });
        return values;
    }

  private:
    using Visit = std::function<void(const std::string& path, const Type& type)>;

    void walk(const Visit& visit) const {
        for (const Name& variable : variables_)
            walk(variable.name, *variable.type, visit);
    }
    static void walk(const std::string& path, const Type& type, const Visit& visit) {
        visit(path, type);
        for (int i = 0; type.kind == Kind::array && i < type.size; ++i)
            walk(path + "[" + std::to_string(i) + "]", *type.element, visit);
        if (type.kind == Kind::optional) walk(path + ".SOME", *type.element, visit);
        for (const Name& field : type.fields)
            walk(path + "." + field.name, *field.type, visit);
    }

    // The class of a number: one below the values, each value, and each gap that holds a number.
    static int class_of(const Type& type, double value) {
        int position = 0;
        const double* previous = nullptr;
        for (const double& limit : type.numbers) {
            if (value < limit) return position;
            if (!previous || type.kind == Kind::real || limit - *previous > 1) ++position;
            if (value == limit) return position;
            ++position;
            previous = &limit;
        }
        return position;
    }

    std::string source_;
    bool has_optional_ = false;
    std::deque<Type> types_;
    std::vector<Name> variables_;
    std::vector<Expression> rules_; // those outside of records
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
