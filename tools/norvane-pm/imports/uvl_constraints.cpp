#include "uvl_constraints.h"

#include <algorithm>
#include <charconv>
#include <limits>

#include "norvane/base/deep.hpp"

#include "imported_names.h"

namespace norvane::driver {

UvlValueKind kind_of(const UvlAttribute& attribute) {
    if (attribute.value.kind == UvlToken::text) return UvlValueKind::text;
    if (attribute.value.kind == UvlToken::name) return UvlValueKind::truth;
    const bool is_real = attribute.value.text.find('.') != std::string_view::npos;
    return is_real ? UvlValueKind::real : UvlValueKind::integer;
}

std::optional<std::int64_t> integer_of(std::string_view text) {
    std::int64_t number = 0;
    const char* end = text.data() + text.size();
    const auto [after, error] = std::from_chars(text.data(), end, number);
    if (error != std::errc() || after != end || number > std::numeric_limits<std::int32_t>::max())
        return {};
    return number;
}

namespace {

// Of brackets in a constraint. The parser of PM holds 200,000 symbols, three for each of them.
constexpr std::size_t most_depth = 60'000;

// What a number in a rule can be: the library computes in 32 bits.
struct Bounds {
    std::int64_t low;
    std::int64_t high;
};

Bounds checked(std::int64_t low, std::int64_t high) {
    if (low < std::numeric_limits<std::int32_t>::min() ||
        high > std::numeric_limits<std::int32_t>::max())
        throw NotCarriedOver{"its numbers are too large"};
    return {low, high};
}

std::size_t depth_of(std::string_view text) {
    std::size_t depth = 0;
    std::size_t deepest = 0;
    for (const char c : text) {
        depth += c == '(';
        depth -= c == ')' && depth > 0;
        deepest = std::max(deepest, depth);
    }
    return deepest;
}

class ConstraintWriter {
  public:
    ConstraintWriter(const UvlModel& model, const UvlNames& names) : model_(model), names_(names) {}

    void write_truth(UvlIndex index, std::string& text) {
        if (stack_is_low()) return on_fresh_stack([&] { write_truth(index, text); });
        const UvlTerm of = term(index);
        if (of.word.kind == UvlToken::name) {
            if (is_constant(of))
                text += of.word.text;
            else
                text += names_.truths[feature_of(of)];
            return;
        }
        if (is_comparison(of)) return write_comparison(of, text);
        if (is_symbol(of, "!")) return write_negation(of, text);
        if (is_symbol(of, ".")) {
            const UvlNames::Holder& holder = holder_of(of);
            if (kind_of(*holder.attribute) != UvlValueKind::truth)
                throw NotCarriedOver{"it uses a value as a boolean"};
            text += "(" + names_.truths[holder.feature] + " and " + holder.constant + ")";
            return;
        }
        for (const auto& [symbol, word] : {std::pair("<=>", " <-> "), std::pair("=>", " -> "),
                                           std::pair("|", " or "), std::pair("&", " and ")})
            if (is_symbol(of, symbol)) return write_binary(of, word, text);
        throw NotCarriedOver{"it uses a value as a boolean"};
    }

  private:
    const UvlTerm& term(UvlIndex index) const { return model_.terms[index]; }
    static bool is_symbol(const UvlTerm& term, std::string_view text) {
        return term.word.kind == UvlToken::symbol && term.word.text == text;
    }
    static bool is_comparison(const UvlTerm& term) {
        for (const char* opr : {"==", "!=", "<=", ">=", "<", ">"})
            if (is_symbol(term, opr)) return true;
        return false;
    }

    UvlIndex feature_of(const UvlTerm& name) const {
        const auto found = model_.by_name.find(std::string(name.word.text));
        if (found != model_.by_name.end()) return found->second;
        throw ImportFault{name.word.line, name.word.column,
                          "no feature '" + std::string(name.word.text) + "'"};
    }
    // Of "Engine.price".
    const UvlNames::Holder& holder_of(const UvlTerm& dot) const {
        const UvlTerm& name = term(dot.left);
        if (name.word.kind != UvlToken::name)
            throw NotCarriedOver{"it names something in another model"};
        const UvlIndex feature = feature_of(name);
        const UvlWord& attribute = term(dot.right).word;
        const auto known = names_.holders.find(attribute.text);
        if (known != names_.holders.end())
            if (const auto found = std::ranges::lower_bound(known->second, feature, {},
                                                            &UvlNames::Holder::feature);
                found != known->second.end() && found->feature == feature)
                return *found;
        throw ImportFault{attribute.line, attribute.column,
                          "the feature '" + std::string(name.word.text) + "' has no attribute '" +
                              std::string(attribute.text) + "' with one value"};
    }

    enum class TermKind { truth, number, text };
    TermKind kind_of_term(UvlIndex index) const {
        const UvlTerm& of = term(index);
        if (of.word.kind == UvlToken::number) return TermKind::number;
        if (of.word.kind == UvlToken::text) return TermKind::text;
        if (of.word.kind == UvlToken::name)
            return is_constant(of) || !has_value(model_.features[feature_of(of)])
                       ? TermKind::truth
                       : TermKind::number;
        if (!is_symbol(of, ".")) {
            for (const char* opr : {"+", "-", "*", "/", "("})
                if (is_symbol(of, opr)) return TermKind::number;
            return TermKind::truth;
        }
        switch (kind_of(*holder_of(of).attribute)) {
        case UvlValueKind::truth: return TermKind::truth;
        case UvlValueKind::text: return TermKind::text;
        default: return TermKind::number;
        }
    }
    bool is_constant(const UvlTerm& of) const {
        return of.word.kind == UvlToken::name && !of.word.is_quoted &&
               (of.word.text == "true" || of.word.text == "false") &&
               !model_.by_name.contains(std::string(of.word.text));
    }

    void write_negation(const UvlTerm& of, std::string& text) {
        bool is_negative = true;
        UvlIndex inside = of.left;
        for (; is_symbol(term(inside), "!"); inside = term(inside).left)
            is_negative = !is_negative;
        text += is_negative ? "(not " : "(";
        write_truth(inside, text);
        text += ')';
    }
    // Writes a chain of "and" or "or" without inner brackets, since the parser of PM limits their
    // nesting.
    void write_binary(const UvlTerm& of, const char* word, std::string& text) {
        text += '(';
        const bool is_chain = is_symbol(of, "&") || is_symbol(of, "|");
        std::vector<UvlIndex> operands = {of.right};
        UvlIndex left = of.left;
        for (; is_chain && is_symbol(term(left), of.word.text); left = term(left).left)
            operands.push_back(term(left).right);
        write_truth(left, text);
        for (auto operand = operands.rbegin(); operand != operands.rend(); ++operand) {
            text += word;
            write_truth(*operand, text);
        }
        text += ')';
    }

    static std::string comparison_word(std::string_view symbol, bool is_turned) {
        if (symbol == "==") return " = ";
        if (symbol == "!=") return " <> ";
        std::string word = " " + std::string(symbol) + " ";
        if (is_turned) word[1] = word[1] == '<' ? '>' : '<';
        return word;
    }
    // The feature whose value a term is.
    std::optional<UvlIndex> valued_feature(UvlIndex index) const {
        const UvlTerm& of = term(index);
        if (of.word.kind != UvlToken::name || is_constant(of)) return {};
        const UvlIndex feature = feature_of(of);
        if (!has_value(model_.features[feature])) return {};
        return feature;
    }

    void write_comparison(const UvlTerm& of, std::string& text) {
        if (const auto left = valued_feature(of.left))
            return write_value_comparison(*left, of, of.right, false, text);
        if (const auto right = valued_feature(of.right))
            return write_value_comparison(*right, of, of.left, true, text);
        const TermKind kind = kind_of_term(of.left);
        if (kind != kind_of_term(of.right)) throw NotCarriedOver{"it compares different kinds"};
        if (kind == TermKind::text) throw NotCarriedOver{"it compares texts of attributes"};
        if (kind == TermKind::truth) {
            if (!is_symbol(of, "==") && !is_symbol(of, "!="))
                throw NotCarriedOver{"it uses a boolean as a number"};
            return write_binary(of, is_symbol(of, "==") ? " <-> " : " xor ", text);
        }
        text += '(';
        write_number(of.left, text);
        text += comparison_word(of.word.text, false);
        write_number(of.right, text);
        text += ')';
    }

    // Such a variable has no bounds, and PM compares it with constants alone.
    void write_value_comparison(UvlIndex feature, const UvlTerm& of, UvlIndex value, bool is_turned,
                                std::string& text) {
        const bool is_negative = is_symbol(term(value), "-") && term(value).right == uvl_none;
        const UvlTerm& constant = is_negative ? term(term(value).left) : term(value);
        const std::string_view type = model_.features[feature].type;
        const UvlToken wanted = type == "String" ? UvlToken::text : UvlToken::number;
        if (constant.word.kind != wanted || (is_negative && wanted == UvlToken::text))
            throw NotCarriedOver{
                "it compares the value of a feature with something that is not a constant"};
        const bool is_order = !is_symbol(of, "==") && !is_symbol(of, "!=");
        const std::string written = type == "String" ? text_constant(constant.word.text, is_order)
                                                     : number_constant(constant.word.text, type);
        text += "(" + names_.truths[feature] + " and " + names_.values[feature] +
                comparison_word(of.word.text, is_turned) + (is_negative ? "-" : "") + written + ")";
    }

    static std::string text_constant(std::string_view text, bool is_order) {
        if (is_order || !(is_quotable(text) || text.empty()))
            throw NotCarriedOver{"PM cannot compare with this text"};
        return '"' + std::string(text) + '"';
    }
    static std::string number_constant(std::string_view text, std::string_view type) {
        const bool is_real = type == "Real";
        if (!is_real && !integer_of(text))
            throw NotCarriedOver{"it compares an integer with another kind of value"};
        const bool needs_point = is_real && text.find('.') == std::string_view::npos;
        return std::string(text) + (needs_point ? ".0" : "");
    }

    Bounds write_number(UvlIndex index, std::string& text) {
        if (stack_is_low()) return on_fresh_stack([&] { return write_number(index, text); });
        const UvlTerm of = term(index);
        if (of.word.kind == UvlToken::number) {
            const auto number = integer_of(of.word.text);
            if (!number) throw NotCarriedOver{"PM computes only with 32-bit integers"};
            text += of.word.text;
            return {*number, *number};
        }
        if (is_symbol(of, ".")) return write_share(holder_of(of), text);
        if (is_symbol(of, "(")) return write_call(of, text);
        if (is_symbol(of, "-") && of.right == uvl_none) {
            text += "(0 - ";
            const Bounds inside = write_number(of.left, text);
            text += ')';
            return checked(-inside.high, -inside.low);
        }
        if (!is_symbol(of, "+") && !is_symbol(of, "-") && !is_symbol(of, "*"))
            throw NotCarriedOver{is_symbol(of, "/")
                                     ? "PM has no division"
                                     : "it computes with something that is not a number"};
        text += '(';
        if (is_symbol(of, "+")) return write_sum(of, text);
        const Bounds a = write_number(of.left, text);
        text += " " + std::string(of.word.text) + " ";
        const Bounds b = write_number(of.right, text);
        text += ')';
        if (is_symbol(of, "-")) return checked(a.low - b.high, a.high - b.low);
        const auto [low, high] =
            std::minmax({a.low * b.low, a.low * b.high, a.high * b.low, a.high * b.high});
        return checked(low, high);
    }

    // Up to the bracket at its end; a long one has no brackets within either.
    Bounds write_sum(const UvlTerm& of, std::string& text) {
        std::vector<UvlIndex> operands = {of.right};
        UvlIndex left = of.left;
        for (; is_symbol(term(left), "+"); left = term(left).left)
            operands.push_back(term(left).right);
        Bounds bounds = write_number(left, text);
        for (auto operand = operands.rbegin(); operand != operands.rend(); ++operand) {
            text += " + ";
            const Bounds next = write_number(*operand, text);
            bounds = checked(bounds.low + next.low, bounds.high + next.high);
        }
        text += ')';
        return bounds;
    }

    // A feature that is not in the product counts 0.
    Bounds write_share(const UvlNames::Holder& holder, std::string& text) const {
        if (kind_of(*holder.attribute) != UvlValueKind::integer)
            throw NotCarriedOver{"PM computes only with 32-bit integers"};
        text += "(if " + names_.truths[holder.feature] + " then " + holder.constant + " else 0)";
        const std::int64_t value = integer_of(holder.attribute->value.text).value_or(0);
        return holder.attribute->is_negative ? Bounds{-value, 0} : Bounds{0, value};
    }

    Bounds write_call(const UvlTerm& of, std::string& text) const {
        const UvlWord& function = term(of.left).word;
        if (function.text != "sum")
            throw NotCarriedOver{"PM has no function '" + std::string(function.text) + "'"};
        UvlIndex first = 0;
        auto end = static_cast<UvlIndex>(model_.features.size());
        const UvlTerm* attribute = &term(of.right);
        if (is_symbol(*attribute, "(")) { // of a feature and those below
            first = feature_of(term(attribute->left));
            end = model_.features[first].end;
            attribute = &term(attribute->right);
        }
        const auto holders = names_.holders.find(attribute->word.text);
        if (attribute->word.kind != UvlToken::name || holders == names_.holders.end())
            throw ImportFault{attribute->word.line, attribute->word.column,
                              "no feature has an attribute '" + std::string(attribute->word.text) +
                                  "' with one value"};
        Bounds bounds{0, 0};
        text += "(0";
        for (const UvlNames::Holder& holder : holders->second) {
            if (holder.feature < first || holder.feature >= end) continue;
            text += " + ";
            const Bounds share = write_share(holder, text);
            bounds = checked(bounds.low + share.low, bounds.high + share.high);
        }
        text += ')';
        return bounds;
    }

    const UvlModel& model_;
    const UvlNames& names_;
};

} // namespace

std::string pm_constraint(const UvlModel& model, const UvlNames& names, UvlIndex constraint) {
    std::string text;
    ConstraintWriter(model, names).write_truth(constraint, text);
    if (depth_of(text) > most_depth) throw NotCarriedOver{"it is nested too deeply"};
    return text;
}

} // namespace norvane::driver
