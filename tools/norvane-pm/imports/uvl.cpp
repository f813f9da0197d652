#include "uvl.h"

#include <algorithm>
#include <optional>

#include "imported_names.h"
#include "uvl_constraints.h"
#include "written_model.h"

namespace norvane::driver {
namespace {

class UvlWriter {
  public:
    UvlWriter(UvlModel& model, Writer& out) : model_(model), out_(out) {}

    void write() {
        for (UvlFeature& feature : model_.features)
            names_of_.push_back(names_.make(feature.name.text));
        find_truths();
        constants();
        variables();
        out_ << "\nrule\n  " << in_pm_.truths[0] << ";\n";
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
        in_pm_.truths = names_of_;
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
                    in_pm_.truths[child] = "(" + choice.name + " = " + names_of_[child] + ")";
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
                UvlNames::Holder holder{
                    feature, &attribute,
                    names_.make_new(names_of_[feature] + "_" + std::string(attribute.name.text))};
                out_ << before << holder.constant << " : " << value << ";\n";
                before = "  ";
                in_pm_.holders[attribute.name.text].push_back(std::move(holder));
            }
    }
    // Empty where PM has none.
    static std::string constant_value(const UvlAttribute& attribute) {
        std::string text(attribute.value.text);
        const std::string sign = attribute.is_negative ? "-" : "";
        switch (kind_of(attribute)) {
        case UvlValueKind::text: return is_quotable(text) || text.empty() ? '"' + text + '"' : "";
        case UvlValueKind::integer: return integer_of(text) ? sign + text : "";
        case UvlValueKind::real: return text.size() < 18 ? sign + text : "";
        case UvlValueKind::truth: return text;
        }
        return "";
    }

    void variables() {
        out_ << "variable\n";
        for (UvlIndex feature = 0; feature < model_.features.size(); ++feature) {
            const UvlFeature& of = model_.features[feature];
            if (in_pm_.truths[feature] == names_of_[feature])
                out_ << "  " << names_of_[feature] << " : boolean;\n";
            declare_value(feature, of.type);
            for (const UvlGroup& group : of.groups)
                if (is_alternative(group)) declare_choice(group);
        }
    }
    void declare_value(UvlIndex feature, std::string_view type) {
        std::string& name = in_pm_.values.emplace_back();
        for (const auto& [known, own] :
             {std::pair("Integer", "integer"), std::pair("Real", "float"),
              std::pair("String", "string")}) {
            if (type != known) continue;
            name = names_.make_new(names_of_[feature] + "_value");
            out_ << "  " << name << " : " << own << ";\n";
        }
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
        const std::string& whole = in_pm_.truths[parent];
        if (is_alternative(group)) {
            const Choice& choice = choices_.at(&group);
            if (!choice.none.empty())
                out_ << "  " << whole << " <-> " << choice.name << " <> " << choice.none << ";\n";
            return;
        }
        if (has_all(group) || (group.kind == UvlGroupKind::optional)) {
            const char* opr = has_all(group) ? " <-> " : " -> ";
            for (const UvlIndex child : group.features)
                out_ << "  " << in_pm_.truths[child] << opr << whole << ";\n";
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
            out_ << "  " << in_pm_.truths[child] << " -> " << whole << ";\n";
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
            out_ << (i > 0 ? between : "") << before << in_pm_.truths[group.features[i]] << after;
    }

    // Constraints. -------------------------------------------------------------------------------

    void constraint(UvlIndex index) {
        try {
            const std::string text = pm_constraint(model_, in_pm_, index);
            out_ << "  " << text << ";\n";
        } catch (const NotCarriedOver& reason) {
            model_.leave_out(first_line(index), "the constraint, since " + reason.why);
        }
    }
    unsigned first_line(UvlIndex index) const {
        while (model_.terms[index].left != uvl_none)
            index = model_.terms[index].left;
        return model_.terms[index].word.line;
    }

    UvlModel& model_;
    Writer& out_;
    ImportedNames names_;
    std::vector<std::string> names_of_; // by feature
    UvlNames in_pm_;
    std::unordered_map<const UvlGroup*, Choice> choices_;
};

} // namespace

Imported import_uvl(std::string_view text) {
    UvlModel model = uvl_model(text);
    return imported_by<UvlWriter>(model);
}

} // namespace norvane::driver
