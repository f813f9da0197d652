#include "uvl.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>
#include <map>
#include <optional>

#include "norvane/base/deep.hpp"

#include "imported_names.h"
#include "written_model.h"

namespace norvane::driver {
namespace {

// Why a constraint has no form in PM.
struct NotCarriedOver {
    std::string why;
};

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

enum class AttributeKind { integer, real, truth, text };

AttributeKind kind_of(const UvlAttribute& attribute) {
    if (attribute.value.kind == UvlToken::text) return AttributeKind::text;
    if (attribute.value.kind == UvlToken::name) return AttributeKind::truth;
    const bool is_real = attribute.value.text.find('.') != std::string_view::npos;
    return is_real ? AttributeKind::real : AttributeKind::integer;
}

std::optional<std::int64_t> integer_of(std::string_view text) {
    std::int64_t number = 0;
    const char* end = text.data() + text.size();
    const auto [after, error] = std::from_chars(text.data(), end, number);
    if (error != std::errc() || after != end || number > std::numeric_limits<std::int32_t>::max())
        return {};
    return number;
}

// Of an attribute with this name: a feature, and the constant that holds its value.
struct Holder {
    UvlIndex feature;
    const UvlAttribute* attribute;
    std::string constant;
};

class UvlWriter {
  public:
    UvlWriter(UvlModel& model, Writer& out) : model_(model), out_(out) {}

    void write() {
        for (UvlFeature& feature : model_.features)
            names_of_.push_back(names_.make(feature.name.text));
        find_truths();
        constants();
        variables();
        out_ << "\nrule\n  " << truth_of_[0] << ";\n";
        for (UvlIndex feature = 0; feature < model_.features.size(); ++feature)
            for (const UvlGroup& of : model_.features[feature].groups)
                group(feature, of);
        for (const UvlIndex constraint : model_.constraints)
            this->constraint(constraint);
    }
    const ImportedNames& names() const { return names_; }

  private:
    // The variable whose labels are the features of an alternative.
    struct Choice {
        std::string name;
        std::string none; // the label for a product without any of them; empty where all have one
    };

    static bool is_alternative(const UvlGroup& group) {
        const bool is_one =
            group.kind == UvlGroupKind::cardinality && group.least == 1 && group.most == 1;
        return (group.kind == UvlGroupKind::alternative || is_one) && group.features.size() > 1;
    }
    static bool has_all(const UvlGroup& group) {
        switch (group.kind) {
        case UvlGroupKind::mandatory: return true;
        case UvlGroupKind::optional: return false;
        case UvlGroupKind::any:
        case UvlGroupKind::alternative: return group.features.size() == 1;
        case UvlGroupKind::cardinality: return group.least == group.features.size();
        }
        return false;
    }

    // How rules say that a feature is in the product: by a boolean, or as the value of a choice.
    void find_truths() {
        truth_of_ = names_of_;
        std::vector<bool> is_always(model_.features.size());
        is_always[0] = true;
        for (UvlIndex feature = 0; feature < model_.features.size(); ++feature) {
            for (const UvlGroup& group : model_.features[feature].groups) {
                if (has_all(group))
                    for (const UvlIndex child : group.features)
                        is_always[child] = is_always[feature];
                if (!is_alternative(group)) continue;
                Choice choice{names_.make_new(names_of_[feature] + "_choice"), ""};
                if (!is_always[feature]) choice.none = names_.make_label("none", choice.name);
                for (const UvlIndex child : group.features)
                    truth_of_[child] = "(" + choice.name + " = " + names_of_[child] + ")";
                choices_.emplace(&group, std::move(choice));
            }
        }
    }

    // Declarations. ------------------------------------------------------------------------------

    void constants() {
        const char* before = "constant\n  ";
        for (UvlIndex feature = 0; feature < model_.features.size(); ++feature)
            for (const UvlAttribute& attribute : model_.features[feature].attributes) {
                const std::string value = constant_value(attribute);
                if (value.empty()) {
                    model_.leave_out(attribute.name.line,
                                     "the value of '" + std::string(attribute.name.text) + "'");
                    continue;
                }
                Holder holder{
                    feature, &attribute,
                    names_.make_new(names_of_[feature] + "_" + std::string(attribute.name.text))};
                out_ << before << holder.constant << " : " << value << ";\n";
                before = "  ";
                holders_[attribute.name.text].push_back(std::move(holder));
            }
    }
    // Empty where PM has none.
    static std::string constant_value(const UvlAttribute& attribute) {
        std::string text(attribute.value.text);
        const std::string sign = attribute.is_negative ? "-" : "";
        switch (kind_of(attribute)) {
        case AttributeKind::text: return is_quotable(text) || text.empty() ? '"' + text + '"' : "";
        case AttributeKind::integer: return integer_of(text) ? sign + text : "";
        case AttributeKind::real: return text.size() < 18 ? sign + text : "";
        case AttributeKind::truth: return text;
        }
        return "";
    }

    void variables() {
        out_ << "variable\n";
        for (UvlIndex feature = 0; feature < model_.features.size(); ++feature) {
            const UvlFeature& of = model_.features[feature];
            if (truth_of_[feature] == names_of_[feature])
                out_ << "  " << names_of_[feature] << " : boolean;\n";
            declare_value(feature, of.type);
            for (const UvlGroup& group : of.groups)
                if (is_alternative(group)) declare_choice(group);
        }
    }
    void declare_value(UvlIndex feature, std::string_view type) {
        std::string& name = values_.emplace_back();
        for (const auto& [known, own] :
             {std::pair("Integer", "integer"), std::pair("Real", "float"),
              std::pair("String", "string")}) {
            if (type != known) continue;
            name = names_.make_new(names_of_[feature] + "_value");
            out_ << "  " << name << " : " << own << ";\n";
        }
    }
    static bool has_value(const UvlFeature& feature) {
        return !feature.type.empty() && feature.type != "Boolean";
    }
    void declare_choice(const UvlGroup& group) {
        const Choice& choice = choices_.at(&group);
        out_ << "  " << choice.name << " : [" << choice.none;
        for (const UvlIndex child : group.features)
            out_ << (child == group.features[0] && choice.none.empty() ? "" : ", ")
                 << names_of_[child];
        out_ << "];\n";
    }

    // The tree. ----------------------------------------------------------------------------------

    void group(UvlIndex parent, const UvlGroup& group) {
        const std::string& whole = truth_of_[parent];
        if (is_alternative(group)) {
            const Choice& choice = choices_.at(&group);
            if (!choice.none.empty())
                out_ << "  " << whole << " <-> " << choice.name << " <> " << choice.none << ";\n";
            return;
        }
        if (has_all(group) || (group.kind == UvlGroupKind::optional)) {
            const char* opr = has_all(group) ? " <-> " : " -> ";
            for (const UvlIndex child : group.features)
                out_ << "  " << truth_of_[child] << opr << whole << ";\n";
            return;
        }
        if (group.kind == UvlGroupKind::any) {
            out_ << "  " << whole << " <-> ";
            list(group, " or ", "", "");
            out_ << ";\n";
            return;
        }
        // The group of an alternative that has one feature has them all, and was left above.
        for (const UvlIndex child : group.features)
            out_ << "  " << truth_of_[child] << " -> " << whole << ";\n";
        if (group.least > group.features.size()) {
            out_ << "  not " << whole << ";\n";
            return;
        }
        if (group.least > 0) count(whole, group, " >= ", group.least);
        if (group.most < group.features.size()) count(whole, group, " <= ", group.most);
    }
    void count(const std::string& whole, const UvlGroup& group, const char* opr,
               std::uint64_t number) {
        out_ << "  " << whole << " -> ";
        list(group, " + ", "(if ", " then 1 else 0)");
        out_ << opr << number << ";\n";
    }
    void list(const UvlGroup& group, const char* between, const char* before, const char* after) {
        for (std::size_t i = 0; i < group.features.size(); ++i)
            out_ << (i > 0 ? between : "") << before << truth_of_[group.features[i]] << after;
    }

    // Constraints. -------------------------------------------------------------------------------

    const UvlTerm& term(UvlIndex index) const { return model_.terms[index]; }
    static bool is_symbol(const UvlTerm& term, std::string_view text) {
        return term.word.kind == UvlToken::symbol && term.word.text == text;
    }
    static bool is_comparison(const UvlTerm& term) {
        for (const char* opr : {"==", "!=", "<=", ">=", "<", ">"})
            if (is_symbol(term, opr)) return true;
        return false;
    }

    void constraint(UvlIndex index) {
        std::string text;
        try {
            write_truth(index, text);
            if (depth_of(text) > most_depth) throw NotCarriedOver{"it is nested too deeply"};
        } catch (const NotCarriedOver& reason) {
            return model_.leave_out(first_line(index), "the constraint, since " + reason.why);
        }
        out_ << "  " << text << ";\n";
    }
    static std::size_t depth_of(std::string_view text) {
        std::size_t depth = 0;
        std::size_t deepest = 0;
        for (const char c : text) {
            depth += c == '(';
            depth -= c == ')' && depth > 0;
            deepest = std::max(deepest, depth);
        }
        return deepest;
    }
    unsigned first_line(UvlIndex index) const {
        while (term(index).left != uvl_none)
            index = term(index).left;
        return term(index).word.line;
    }

    UvlIndex feature_of(const UvlTerm& name) const {
        const auto found = model_.by_name.find(std::string(name.word.text));
        if (found != model_.by_name.end()) return found->second;
        throw ImportFault{name.word.line, name.word.column,
                          "no feature '" + std::string(name.word.text) + "'"};
    }
    // Of "Engine.price".
    const Holder& holder_of(const UvlTerm& dot) const {
        const UvlTerm& name = term(dot.left);
        if (name.word.kind != UvlToken::name)
            throw NotCarriedOver{"it names something in another model"};
        const UvlIndex feature = feature_of(name);
        const UvlWord& attribute = term(dot.right).word;
        const auto known = holders_.find(attribute.text);
        if (known != holders_.end())
            if (const auto found =
                    std::ranges::lower_bound(known->second, feature, {}, &Holder::feature);
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
        case AttributeKind::truth: return TermKind::truth;
        case AttributeKind::text: return TermKind::text;
        default: return TermKind::number;
        }
    }
    bool is_constant(const UvlTerm& of) const {
        return of.word.kind == UvlToken::name && !of.word.is_quoted &&
               (of.word.text == "true" || of.word.text == "false") &&
               !model_.by_name.contains(std::string(of.word.text));
    }

    void write_truth(UvlIndex index, std::string& text) {
        if (stack_is_low()) return on_fresh_stack([&] { write_truth(index, text); });
        const UvlTerm of = term(index);
        if (of.word.kind == UvlToken::name) {
            if (is_constant(of))
                text += of.word.text;
            else
                text += truth_of_[feature_of(of)];
            return;
        }
        if (is_comparison(of)) return write_comparison(of, text);
        if (is_symbol(of, "!")) return write_negation(of, text);
        if (is_symbol(of, ".")) {
            const Holder& holder = holder_of(of);
            if (kind_of(*holder.attribute) != AttributeKind::truth)
                throw NotCarriedOver{"it uses a value as a boolean"};
            text += "(" + truth_of_[holder.feature] + " and " + holder.constant + ")";
            return;
        }
        for (const auto& [symbol, word] : {std::pair("<=>", " <-> "), std::pair("=>", " -> "),
                                           std::pair("|", " or "), std::pair("&", " and ")})
            if (is_symbol(of, symbol)) return write_binary(of, word, text);
        throw NotCarriedOver{"it uses a value as a boolean"};
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
        text += "(" + truth_of_[feature] + " and " + values_[feature] +
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
    Bounds write_share(const Holder& holder, std::string& text) const {
        if (kind_of(*holder.attribute) != AttributeKind::integer)
            throw NotCarriedOver{"PM computes only with 32-bit integers"};
        text += "(if " + truth_of_[holder.feature] + " then " + holder.constant + " else 0)";
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
        const auto holders = holders_.find(attribute->word.text);
        if (attribute->word.kind != UvlToken::name || holders == holders_.end())
            throw ImportFault{attribute->word.line, attribute->word.column,
                              "no feature has an attribute '" + std::string(attribute->word.text) +
                                  "' with one value"};
        Bounds bounds{0, 0};
        text += "(0";
        for (const Holder& holder : holders->second) {
            if (holder.feature < first || holder.feature >= end) continue;
            text += " + ";
            const Bounds share = write_share(holder, text);
            bounds = checked(bounds.low + share.low, bounds.high + share.high);
        }
        text += ')';
        return bounds;
    }

    UvlModel& model_;
    Writer& out_;
    ImportedNames names_;
    std::vector<std::string> names_of_; // by feature
    std::vector<std::string> truth_of_;
    std::vector<std::string> values_;
    std::unordered_map<const UvlGroup*, Choice> choices_;
    std::map<std::string_view, std::vector<Holder>> holders_; // by the name of their attribute
};

} // namespace

Imported import_uvl(std::string_view text) {
    UvlModel model = uvl_model(text);
    return imported_by<UvlWriter>(model);
}

} // namespace norvane::driver
