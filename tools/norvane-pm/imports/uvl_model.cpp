// The parser of UVL: words into features, groups and constraints.
#include <algorithm>
#include <array>
#include <charconv>

#include "norvane/base/deep.hpp"

#include "uvl.h"

namespace norvane::driver {
namespace {

// Operators of two operands, from weak to strong; all group from the left.
struct Level {
    std::array<std::string_view, 6> operators;
};
constexpr Level levels[] = {
    {{"<=>"}},    {{"=>"}},    {{"|"}}, {{"&"}}, {{"==", "!=", "<=", ">=", "<", ">"}},
    {{"+", "-"}}, {{"*", "/"}}};
constexpr std::size_t comparisons = 4; // "!" is between these and "&"

class Parser {
  public:
    explicit Parser(std::string_view text) : words_(uvl_words(text)) {}

    UvlModel parse() {
        while (word().kind != UvlToken::end)
            section();
        if (model_.features.empty()) fault("no section 'features'");
        return std::move(model_);
    }

  private:
    const UvlWord& word() const { return words_[at_]; }
    bool is_symbol(std::string_view text) const {
        return word().kind == UvlToken::symbol && word().text == text;
    }
    bool is_word(std::string_view text) const {
        return word().kind == UvlToken::name && !word().is_quoted && word().text == text;
    }
    bool takes(UvlToken kind) {
        if (word().kind != kind) return false;
        ++at_;
        return true;
    }
    bool takes_symbol(std::string_view text) {
        if (!is_symbol(text)) return false;
        ++at_;
        return true;
    }
    bool takes_word(std::string_view text) {
        if (!is_word(text)) return false;
        ++at_;
        return true;
    }
    [[noreturn]] void fault(const std::string& text) const {
        throw ImportFault{word().line, word().column, text};
    }
    [[noreturn]] void expected(const std::string& what) const {
        const char* kind = "";
        switch (word().kind) {
        case UvlToken::line_end: kind = "end of the line"; break;
        case UvlToken::indent: kind = "deeper indentation"; break;
        case UvlToken::dedent: kind = "end of the indented lines"; break;
        case UvlToken::end: kind = "end of the file"; break;
        default: fault("unexpected '" + std::string(word().text) + "', expected " + what);
        }
        fault(std::string("unexpected ") + kind + ", expected " + what);
    }
    void expect(UvlToken kind, const std::string& what) {
        if (!takes(kind)) expected(what);
    }
    void expect_symbol(std::string_view text) {
        if (!takes_symbol(text)) expected("'" + std::string(text) + "'");
    }
    UvlWord take_name(const char* what) {
        if (word().kind != UvlToken::name) expected(what);
        return words_[at_++];
    }
    void end_line() { expect(UvlToken::line_end, "the end of the line"); }
    bool begin_block() {
        end_line();
        return takes(UvlToken::indent);
    }

    void section() {
        if (takes_word("namespace")) {
            take_name("a name");
            while (takes_symbol("."))
                take_name("a name");
            return end_line();
        }
        if (is_word("imports"))
            fault("imports are not carried over: write the features of all files into one");
        if (takes_word("include")) return skip_block();
        if (is_word("features")) return features();
        if (takes_word("constraints")) return constraints();
        expected("'namespace', 'include', 'features' or 'constraints'");
    }
    // The block `include` is skipped: it only lists the language levels that the file uses.
    void skip_block() {
        if (!begin_block()) return;
        for (std::size_t depth = 1; depth > 0; ++at_) {
            depth += word().kind == UvlToken::indent;
            depth -= word().kind == UvlToken::dedent;
        }
    }
    void features() {
        if (!model_.features.empty()) fault("a second section 'features'");
        ++at_;
        if (!begin_block()) expected("a feature, indented");
        feature(uvl_none);
        if (!takes(UvlToken::dedent)) expected("one feature at the root, and not several");
    }
    void constraints() {
        if (!begin_block()) return;
        while (!takes(UvlToken::dedent)) {
            model_.constraints.push_back(expression(0));
            end_line();
        }
    }

    // Features. ----------------------------------------------------------------------------------

    UvlIndex feature(UvlIndex parent) {
        if (stack_is_low()) return on_fresh_stack([&] { return feature(parent); });
        const auto number = static_cast<UvlIndex>(model_.features.size());
        {
            UvlFeature& made = model_.features.emplace_back();
            made.parent = parent;
            made.name = take_name("the name of a feature");
            if (word().kind == UvlToken::name && !is_word("cardinality")) {
                made.type = made.name.text;
                made.name = take_name("the name of a feature");
            }
        }
        const UvlFeature& made = model_.features[number];
        check_name(number);
        check_type(made);
        if (takes_word("cardinality")) feature_cardinality(made.name);
        if (is_symbol("{")) attributes(number);
        if (takes_word("cardinality")) feature_cardinality(model_.features[number].name);
        if (begin_block()) {
            while (!takes(UvlToken::dedent))
                group(number);
        }
        model_.features[number].end = static_cast<UvlIndex>(model_.features.size());
        return number;
    }
    void check_name(UvlIndex number) {
        const UvlWord& name = model_.features[number].name;
        const auto [known, is_new] = model_.by_name.try_emplace(std::string(name.text), number);
        if (is_new) return;
        throw ImportFault{name.line, name.column,
                          "a second feature '" + std::string(name.text) + "', after that of line " +
                              std::to_string(model_.features[known->second].name.line)};
    }
    void check_type(const UvlFeature& feature) const {
        const std::string_view type = feature.type;
        if (type.empty() || type == "Boolean" || type == "Integer" || type == "Real" ||
            type == "String")
            return;
        throw ImportFault{feature.name.line, feature.name.column,
                          "no type '" + std::string(type) +
                              "': expected Boolean, Integer, Real or String"};
    }
    void feature_cardinality(const UvlWord& name) {
        std::uint64_t least = 0;
        std::uint64_t most = 0;
        const unsigned line = word().line;
        bounds(least, most);
        if (least != 1 || most != 1)
            model_.leave_out(line, "the cardinality of '" + std::string(name.text) +
                                       "', which is in a product once or not at all");
    }
    // "[2]", "[1..3]", "[1..*]"
    void bounds(std::uint64_t& least, std::uint64_t& most) {
        expect_symbol("[");
        most = least = bound();
        if (takes_symbol("..")) most = takes_symbol("*") ? UINT64_MAX : bound();
        if (most < least) fault("the upper bound is below the lower one");
        expect_symbol("]");
    }
    std::uint64_t bound() {
        std::uint64_t number = 0;
        const std::string_view text = word().text;
        const char* end = text.data() + text.size();
        const auto [after, error] = std::from_chars(text.data(), end, number);
        if (word().kind != UvlToken::number || error != std::errc() || after != end)
            expected("a number");
        ++at_;
        return number;
    }

    void group(UvlIndex parent) {
        UvlGroup made;
        made.line = word().line;
        if (is_symbol("[")) {
            made.kind = UvlGroupKind::cardinality;
            bounds(made.least, made.most);
        } else if (takes_word("mandatory")) {
            made.kind = UvlGroupKind::mandatory;
        } else if (takes_word("optional")) {
            made.kind = UvlGroupKind::optional;
        } else if (takes_word("or")) {
            made.kind = UvlGroupKind::any;
        } else if (takes_word("alternative")) {
            made.kind = UvlGroupKind::alternative;
        } else {
            expected("'mandatory', 'optional', 'or', 'alternative' or a cardinality");
        }
        if (!begin_block()) expected("a feature, indented");
        while (!takes(UvlToken::dedent))
            made.features.push_back(feature(parent));
        model_.features[parent].groups.push_back(std::move(made));
    }

    void attributes(UvlIndex feature) {
        expect_symbol("{");
        if (takes_symbol("}")) return;
        do
            attribute(feature);
        while (takes_symbol(","));
        expect_symbol("}");
    }
    void attribute(UvlIndex feature) {
        if (takes_word("constraint")) {
            model_.constraints.push_back(expression(0));
            return;
        }
        if (takes_word("constraints")) return attribute_constraints();
        UvlAttribute made;
        made.name = take_name("the name of an attribute");
        made.value.text = "true";
        made.value.kind = UvlToken::name;
        const bool is_end = is_symbol(",") || is_symbol("}");
        made.is_negative = !is_end && takes_symbol("-");
        if (is_symbol("[") || is_symbol("{")) {
            model_.leave_out(made.name.line, "the attribute '" + std::string(made.name.text) +
                                                 "', which has several values");
            return skip_brackets();
        }
        if (!is_end) {
            const bool is_value = word().kind == UvlToken::number ||
                                  word().kind == UvlToken::text || is_word("true") ||
                                  is_word("false");
            if (!is_value) expected("a value: a number, 'a text', true or false");
            made.value = words_[at_++];
        }
        model_.features[feature].attributes.push_back(made);
    }
    void attribute_constraints() {
        expect_symbol("[");
        if (takes_symbol("]")) return;
        do
            model_.constraints.push_back(expression(0));
        while (takes_symbol(","));
        expect_symbol("]");
    }
    void skip_brackets() {
        std::size_t depth = 0;
        do {
            if (word().kind == UvlToken::end) expected("the end of the brackets");
            depth += is_symbol("[") || is_symbol("{");
            depth -= is_symbol("]") || is_symbol("}");
            ++at_;
        } while (depth > 0);
    }

    // Constraints. -------------------------------------------------------------------------------

    UvlIndex add(const UvlWord& of, UvlIndex left = uvl_none, UvlIndex right = uvl_none) {
        model_.terms.push_back({of, left, right});
        return static_cast<UvlIndex>(model_.terms.size() - 1);
    }
    bool is_operator(const Level& level) const {
        return word().kind == UvlToken::symbol &&
               std::ranges::find(level.operators, word().text) != level.operators.end();
    }

    UvlIndex expression(std::size_t level) {
        if (stack_is_low()) return on_fresh_stack([&] { return expression(level); });
        if (level == std::size(levels)) return operand();
        if (level == comparisons && is_symbol("!")) {
            const UvlWord of = words_[at_++];
            return add(of, expression(comparisons));
        }
        UvlIndex left = expression(level + 1);
        while (is_operator(levels[level])) {
            const UvlWord of = words_[at_++];
            left = add(of, left, expression(level + 1));
        }
        return left;
    }
    UvlIndex operand() {
        if (takes_symbol("(")) {
            const UvlIndex inside = expression(0);
            expect_symbol(")");
            return inside;
        }
        const UvlWord of = word();
        if (takes_symbol("-")) return add(of, expression(std::size(levels)));
        if (is_symbol("!")) return expression(comparisons);
        if (takes(UvlToken::number) || takes(UvlToken::text)) return add(of);
        take_name("a feature, a number or an expression in brackets");
        if (is_symbol("(") && !of.is_quoted) return call(of);
        UvlIndex reference = add(of);
        while (is_symbol(".")) {
            const UvlWord dot = words_[at_++];
            const UvlIndex part = add(take_name("the name of an attribute"));
            reference = add(dot, reference, part);
        }
        return reference;
    }
    // "sum(price)", or "sum(Engine, price)"
    UvlIndex call(const UvlWord& function) {
        const UvlWord open = words_[at_++];
        UvlIndex arguments = expression(0);
        if (takes_symbol(",")) {
            const UvlIndex second = expression(0);
            arguments = add(open, arguments, second);
        }
        expect_symbol(")");
        return add(open, add(function), arguments);
    }

    std::vector<UvlWord> words_;
    std::size_t at_ = 0;
    UvlModel model_;
};

} // namespace

UvlModel uvl_model(std::string_view text) {
    return Parser(text).parse();
}

} // namespace norvane::driver
