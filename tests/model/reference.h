// Models evaluated directly on the tree that the parser made, to hold the library's flat rules
// against; and flat rules, evaluated in the same way.
#ifndef NORVANE_TESTS_MODEL_REFERENCE_H
#define NORVANE_TESTS_MODEL_REFERENCE_H

#include <map>
#include <stdexcept>

#include "random_model.h"
#include "test.h"

namespace norvane::test {

struct Value {
    double number = 0; // that of an optional is 0 or 1, that of a label its position
    std::string text = {};
    bool operator==(const Value&) const = default;
};

// The values by path, such as "parts[1].size" or "lamp.SOME.watts".
using Product = std::map<std::string, Value>;

class Evaluator {
  public:
    Product product;
    std::map<std::string, Value> names = {{"NONE", {0}}, {"SOME", {1}}}; // and constants, loops
    std::vector<std::string> records = {""}; // prefix of the paths in each record around

    Value value(const Expr* expr) {
        const auto& args = expr->args;
        switch (expr->structure) {
        case EXPR_INT_CONST: return {static_cast<double>(args.intconst.value)};
        case EXPR_FLOAT_CONST: return {args.floatconst.value};
        case EXPR_STRING_CONST: return names.count(args.str) ? names[args.str] : Value{0, args.str};
        case EXPR_IDCONSTRUCTOR: return variable(args.idcon);
        case EXPR_UNARY: {
            const Value arg = value(args.arg);
            if (expr->opr == OPR_ORDER) return arg;
            return {expr->opr == OPR_NOT ? 1 - arg.number : computed(OPR_MINUS, 0, arg.number)};
        }
        case EXPR_BINARY: return binary(expr->opr, args.binargs.leftarg, args.binargs.rightarg);
        case EXPR_ITE: {
            const bool is_true = value(args.ite.logictest).number != 0;
            return value(is_true ? args.ite.trueexpr : args.ite.falseexpr);
        }
        case EXPR_RANGE: return loop(expr);
        default: return case_of(expr);
        }
    }

  private:
    Value variable(const IdCon* idcon) {
        if (is_name(idcon)) return names[idcon->args.id.idname];
        const auto at = product.find(path(idcon));
        return at == product.end() ? Value() : at->second;
    }
    bool is_name(const IdCon* idcon) const {
        return idcon->contype == IDCON_SIMPLE && names.count(idcon->args.id.idname) != 0;
    }

    std::string path(const IdCon* idcon) {
        const std::string text = steps(idcon);
        for (auto record = records.rbegin(); record != records.rend(); ++record)
            if (has(*record + text)) return *record + text;
        throw std::runtime_error("no such variable: " + text);
    }
    std::string steps(const IdCon* idcon) {
        if (idcon->contype == IDCON_COMPOSIT)
            return steps(idcon->args.compositid.hier) + "." + steps(idcon->args.compositid.nested);
        std::string text = idcon->args.id.idname;
        if (idcon->contype == IDCON_ARRAY)
            for (const Expr* index : items<Expr>(idcon->args.array.exprlist))
                text += "[" + std::to_string(static_cast<int>(value(index).number)) + "]";
        return text;
    }
    // Whether there is a variable of the name, be it a whole record or array.
    bool has(const std::string& name) const {
        const auto begins = [&](const std::string& text) {
            const auto at = product.lower_bound(text);
            return at != product.end() && at->first.starts_with(text);
        };
        return product.count(name) != 0 || begins(name + ".") || begins(name + "[");
    }

    static double computed(int opr, double left, double right) {
        if (opr == OPR_DIV) return left / right;
        if (std::trunc(left) != left || std::trunc(right) != right)
            return opr == OPR_PLUS ? left + right : opr == OPR_MINUS ? left - right : left * right;
        const auto a = static_cast<std::int64_t>(left), b = static_cast<std::int64_t>(right);
        const auto result = opr == OPR_PLUS ? a + b : opr == OPR_MINUS ? a - b : a * b;
        return static_cast<int>(static_cast<std::uint32_t>(result));
    }

    static double combined(int opr, double left, double right) {
        switch (opr) {
        case OPR_AND: return std::min(left, right);
        case OPR_OR: return std::max(left, right);
        case OPR_XOR: return left != right;
        case OPR_BIIMPLIES: return left == right;
        case OPR_LT: return left < right;
        case OPR_IMPLIES:
        case OPR_LE: return left <= right;
        case OPR_GT: return left > right;
        case OPR_GE: return left >= right;
        case OPR_PLUS:
        case OPR_MINUS:
        case OPR_TIMES:
        case OPR_DIV: return computed(opr, left, right);
        default: throw std::runtime_error("operator " + std::to_string(opr));
        }
    }

    Value binary(int opr, const Expr* left, const Expr* right) {
        if (opr == OPR_EQ || opr == OPR_NEQ)
            return {same(left, right) == (opr == OPR_EQ) ? 1. : 0.};
        const double number = value(left).number;
        return {combined(opr, number, value(right).number)};
    }

    bool is_whole(const Expr* expr) {
        return expr->structure == EXPR_IDCONSTRUCTOR && !is_name(expr->args.idcon) &&
               product.count(path(expr->args.idcon)) == 0;
    }

    bool same(const Expr* left, const Expr* right) {
        if (!is_whole(left) || !is_whole(right)) return value(left) == value(right);
        const std::string from = path(left->args.idcon), to = path(right->args.idcon);
        for (auto at = product.lower_bound(from);
             at != product.end() && at->first.starts_with(from); ++at) {
            const std::string rest = at->first.substr(from.size());
            const bool is_inside = rest[0] == '.' || rest[0] == '[';
            if (is_inside && at->second != product.at(to + rest)) return false;
        }
        return true;
    }

    Value loop(const Expr* expr) {
        static const std::map<int, std::pair<OprTypes, double>> steps = {
            {OPR_FORALL, {OPR_AND, 1}},
            {OPR_EXIST, {OPR_OR, 0}},
            {OPR_SUM, {OPR_PLUS, 0}},
            {OPR_PROD, {OPR_TIMES, 1}}};
        const auto& range = expr->args.range;
        auto [opr, result] = steps.at(expr->opr);
        const double last = value(range.rangeend).number;
        for (double turn = value(range.rangebegin).number; turn <= last; ++turn) {
            names[range.lambdavar] = {turn};
            result = combined(opr, result, value(range.lambdaexpr).number);
        }
        return {result};
    }

    Value case_of(const Expr* expr) {
        const auto& args = expr->args.caseexpr;
        const Value selector = variable(args.casevar);
        const PolyListNode* arm = args.exprlist_evaluation->first;
        for (const Expr* condition : items<Expr>(args.exprlist_condition)) {
            if (selector == value(condition)) return value(static_cast<Expr*>(arm->element));
            arm = arm->next;
        }
        return value(args.default_expr);
    }
};

// A product, and the same with the class of each unbounded value in its place.
struct Products {
    Product source, finite;
};

// A model whose names are all different.
class Reference {
  public:
    explicit Reference(const std::string& source) : project_(parse(source)), model_(check(source)) {
        for (const auto* constant : items<ConstantDecl>(project_->constantdecllist))
            evaluator_.names[constant->name] = evaluator_.value(constant->value);
        const Visit nothing = [](const std::string&, TypeCon*) {};
        for (const TypeDecl* type : items<TypeDecl>(project_->typedecllist)) {
            types_[type->name] = type->typecon;
            walk("", type->typecon, nothing); // for the labels
        }
    }

    Products products(Random& random) {
        Products products;
        for (const Choice& choice : choices()) {
            const int number = random.between(0, static_cast<int>(choice.values.size()) - 1);
            products.finite[choice.path] = {static_cast<double>(number)};
            products.source[choice.path] = choice.values[static_cast<std::size_t>(number)];
        }
        return products;
    }

    // Calls visit with one product for each finite one, unless there are more than `most`; returns
    // how many there are.
    double for_each_product(double most, const std::function<void(const Product&)>& visit) {
        const std::vector<Choice> all = choices();
        double count = 1;
        Product product;
        for (const Choice& choice : all) {
            count *= static_cast<double>(choice.values.size());
            product[choice.path] = choice.values[0];
        }
        if (count > most) return count;
        std::vector<std::size_t> chosen(all.size());
        for (std::size_t at = 0; at < all.size();) {
            visit(product);
            for (at = 0; at < all.size(); ++at) {
                const bool is_last = ++chosen[at] == all[at].values.size();
                if (is_last) chosen[at] = 0;
                product[all[at].path] = all[at].values[chosen[at]];
                if (!is_last) break;
            }
        }
        return count;
    }

    // The values of all rules on a product, those of a record once for each instance, in the order
    // of the flat rules.
    std::vector<double> evaluate(const Product& product) {
        std::vector<double> values;
        const auto add = [&](const PolyList* rules) {
            for (const RuleDecl* rule : items<RuleDecl>(rules))
                values.push_back(evaluator_.value(rule->rule).number);
        };
        auto& records = evaluator_.records;
        evaluator_.product = product;
        records = {""};
        add(project_->ruledecllist);
        walk(project_.get(), [&](const std::string& path, TypeCon* type) {
            if (type->contype != TC_PROD) return;
            // The records around are those whose paths this one begins with.
            while (!path.starts_with(records.back()))
                records.pop_back();
            records.push_back(path + ".");
            add(type->values.prod.rules);
        });
        return values;
    }

  private:
    using Visit = std::function<void(const std::string& path, TypeCon* type)>;

    // The values of a variable by their numbers, one for each class of an unbounded type.
    struct Choice {
        std::string path;
        std::vector<Value> values;
    };

    std::vector<Choice> choices() {
        std::vector<Choice> all;
        walk(model_.project.get(), [&](const std::string& path, TypeCon* type) {
            const auto& values = type->values;
            int last = 1;
            const PolyList* labels = nullptr;
            switch (type->contype) {
            case TC_PROD:
            case TC_ARRAY: return;
            case TC_STRING:
                tc_create_string_hash(type);
                labels = values.enum_string.labellist;
                break;
            case TC_UBOUND_INTEGER:
                tc_create_integer_intervals(type);
                labels = values.enum_int.labellist;
                break;
            case TC_UBOUND_FLOAT:
                tc_create_float_intervals(type);
                labels = values.enum_float.labellist;
                break;
            case TC_INT: last = static_cast<int>(evaluator_.value(values.upper).number); break;
            case TC_SUM: last = static_cast<int>(plist_length(values.labels)) - 1; break;
            default: break;
            }
            Choice& choice = all.emplace_back(Choice{path, {}});
            if (labels)
                for (const char* label : items<char>(labels))
                    choice.values.push_back(one_of(type, label));
            else
                for (int number = 0; number <= last; ++number)
                    choice.values.push_back({static_cast<double>(number)});
        });
        return all;
    }

    void walk(const Project* project, const Visit& visit) {
        for (const TypeDecl* type : items<TypeDecl>(project->typedecllist))
            types_[type->name] = type->typecon;
        for (const VarDecl* variable : items<VarDecl>(project->vardecllist))
            walk(variable->name, variable->typecon, visit);
    }
    void walk(const std::string& path, TypeCon* type, const Visit& visit) {
        const auto& values = type->values;
        if (type->contype == TC_NAMED) return walk(path, types_.at(values.name), visit);
        visit(path, type);
        if (type->contype == TC_SUM)
            for (double position = 0; const char* label : items<char>(values.labels))
                evaluator_.names[label] = {position++};
        if (type->contype == TC_ARRAY)
            for (int i = 0; i < evaluator_.value(values.array.size).number; ++i)
                walk(path + "[" + std::to_string(i) + "]", values.array.element, visit);
        if (type->contype == TC_OPTIONAL) walk(path + ".SOME", values.base, visit);
        if (type->contype == TC_PROD)
            for (const VarDecl* field : items<VarDecl>(values.prod.fields))
                walk(path + "." + field->name, field->typecon, visit);
    }

    // A value that a label stands for: "one", "]-inf;3]" or "]0.5;2.5[".
    static Value one_of(const TypeCon* type, const std::string& label) {
        if (type->contype == TC_STRING) return {0, label};
        const std::size_t middle = label.find(';');
        if (middle == label.npos) return {std::stod(label)};
        const double low = std::stod(label.substr(1)), high = std::stod(label.substr(middle + 1));
        const bool has_low = !std::isinf(low), has_high = !std::isinf(high);
        const double step = type->contype == TC_UBOUND_FLOAT ? 0.125 : 0;
        return {has_low && has_high ? (step != 0 ? (low + high) / 2 : low)
                : has_low           ? low + step
                : has_high          ? high - step
                                    : 0};
    }

    ProjectPtr project_;
    Model model_;
    Evaluator evaluator_;
    std::map<std::string, TypeCon*> types_;
};

} // namespace norvane::test

#endif
