// Models evaluated directly on the tree that the parser made, to hold the library's flat rules
// against; and flat rules, evaluated in the same way.
#ifndef NORVANE_TESTS_MODEL_REFERENCE_H
#define NORVANE_TESTS_MODEL_REFERENCE_H

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <functional>
#include <iterator>
#include <map>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

#include "norvane/base/items.hpp"
#include "random_model.h"
#include "support.h"
#include "walk.h"

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
    // Is told what each variable is compared with. If there is one, no variable has a value.
    std::function<void(const IdCon*, const Value&)> on_comparison;

    // All branches are evaluated, so that all comparisons are told.
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
            const Value test = value(args.ite.logictest), yes = value(args.ite.trueexpr);
            const Value no = value(args.ite.falseexpr);
            return test.number != 0 ? yes : no;
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
        if (!on_comparison) throw std::runtime_error("no such variable: " + text);
        return text;
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
        const Value a = value(left), b = value(right);
        tell(left, b);
        tell(right, a);
        if (opr == OPR_EQ) return {same(left, right) ? 1.0 : 0.0};
        if (opr == OPR_NEQ) return {same(left, right) ? 0.0 : 1.0};
        return {combined(opr, a.number, b.number)};
    }

    void tell(const Expr* expr, const Value& other) const {
        if (on_comparison && expr->structure == EXPR_IDCONSTRUCTOR)
            on_comparison(expr->args.idcon, other);
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
        Value result = value(args.default_expr);
        bool is_found = false;
        const PolyListNode* arm = args.exprlist_evaluation->first;
        for (const Expr* condition : items<Expr>(args.exprlist_condition)) {
            const Value compared = value(condition),
                        chosen = value(static_cast<Expr*>(arm->element));
            if (on_comparison) on_comparison(args.casevar, compared);
            if (!is_found && selector == compared) result = chosen;
            is_found = is_found || selector == compared;
            arm = arm->next;
        }
        return result;
    }
};

// A model whose names are all different.
class Reference {
  public:
    explicit Reference(const std::string& source) : project_(parse(source)) {
        for (const auto* constant : items<ConstantDecl>(project_->constantdecllist))
            evaluator_.names[constant->name] = evaluator_.value(constant->value);
        std::vector<const RuleDecl*> rules;
        for (const RuleDecl* rule : items<RuleDecl>(project_->ruledecllist))
            rules.push_back(rule);
        for (const TypeDecl* type : items<TypeDecl>(project_->typedecllist))
            enter(type->name, type->typecon, rules);
        for (const VarDecl* variable : items<VarDecl>(project_->vardecllist))
            enter(variable->name, variable->typecon, rules);
        evaluator_.on_comparison = [this](const IdCon* idcon, const Value& value) {
            const TypeCon* type = type_of(idcon);
            if (!type) return;
            numbers_[type].insert(value.number);
            texts_[type].insert(value.text);
        };
        for (const RuleDecl* rule : rules)
            evaluator_.value(rule->rule);
        evaluator_.on_comparison = nullptr;
    }

    Product product(Random& random) {
        Product product;
        walk([&](const std::string& path, const TypeCon* type) {
            switch (type->contype) {
            case TC_PROD:
            case TC_ARRAY: return;
            case TC_STRING: {
                std::vector<std::string> texts(texts_[type].begin(), texts_[type].end());
                texts.push_back("another");
                product[path].text = random.of(texts);
                return;
            }
            case TC_UBOUND_INTEGER:
            case TC_UBOUND_FLOAT: {
                std::vector<double> numbers(numbers_[type].begin(), numbers_[type].end());
                numbers.push_back(3);
                const double step = type->contype == TC_UBOUND_FLOAT ? 0.125 : 1;
                product[path] = {random.of(numbers) + step * random.between(-1, 1)};
                return;
            }
            default: {
                const double last =
                    type->contype == TC_INT   ? evaluator_.value(type->values.upper).number
                    : type->contype == TC_SUM ? plist_length(type->values.labels) - 1
                                              : 1;
                product[path] = {static_cast<double>(random.between(0, static_cast<int>(last)))};
            }
            }
        });
        return product;
    }

    // The same with the class of each unbounded value in its place.
    Product finite(Product product) {
        walk([&](const std::string& path, const TypeCon* type) {
            if (type->contype == TC_STRING) {
                const auto& texts = texts_[type];
                const auto known = texts.find(product[path].text);
                const auto place = 1 + std::distance(texts.begin(), known);
                product[path] = {known == texts.end() ? 0.0 : static_cast<double>(place)};
            } else if (type->contype == TC_UBOUND_INTEGER || type->contype == TC_UBOUND_FLOAT) {
                product[path].number = class_of(type, product[path].number);
            }
        });
        return product;
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
        walk([&](const std::string& path, const TypeCon* type) {
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
    using Visit = std::function<void(const std::string& path, const TypeCon* type)>;

    void walk(const Visit& visit) {
        for (const VarDecl* variable : items<VarDecl>(project_->vardecllist))
            walk(variable->name, variable->typecon, visit);
    }
    void walk(const std::string& path, const TypeCon* named, const Visit& visit) {
        const TypeCon* type = resolved(named);
        visit(path, type);
        const auto& values = type->values;
        if (type->contype == TC_ARRAY)
            for (int i = 0; i < evaluator_.value(values.array.size).number; ++i)
                walk(path + "[" + std::to_string(i) + "]", values.array.element, visit);
        if (type->contype == TC_OPTIONAL) walk(path + ".SOME", values.base, visit);
        if (type->contype == TC_PROD)
            for (const VarDecl* field : items<VarDecl>(values.prod.fields))
                walk(path + "." + field->name, field->typecon, visit);
    }

    const TypeCon* resolved(const TypeCon* type) const {
        while (type->contype == TC_NAMED)
            type = types_.at(type->values.name);
        return type;
    }

    // Notes what is declared under a name and inside of it.
    void enter(const std::string& name, const TypeCon* type, std::vector<const RuleDecl*>& rules) {
        if (!name.empty()) types_[name] = type;
        if (type->contype == TC_SUM)
            for (double position = 0; const char* label : items<char>(type->values.labels))
                evaluator_.names[label] = {position++};
        if (type->contype == TC_PROD) {
            for (const VarDecl* field : items<VarDecl>(type->values.prod.fields))
                types_[field->name] = field->typecon;
            for (const RuleDecl* rule : items<RuleDecl>(type->values.prod.rules))
                rules.push_back(rule);
        }
        model::for_each_child(
            type, [&](const TypeCon* inner) { enter("", inner, rules); }, "type");
    }

    // The type at the end of a path, or null if it is none of a variable.
    const TypeCon* type_of(const IdCon* path) const {
        const TypeCon* type = nullptr;
        for (;; path = path->args.compositid.nested) {
            const bool has_more = path->contype == IDCON_COMPOSIT;
            const IdCon* step = has_more ? path->args.compositid.hier : path;
            const auto at = types_.find(step->args.id.idname);
            if (at == types_.end() && !type) return nullptr;
            type = resolved(at == types_.end() ? type->values.base : at->second); // "SOME"
            if (step->contype == IDCON_ARRAY)
                for (unsigned i = 0; i < plist_length(step->args.array.exprlist); ++i)
                    type = resolved(type->values.array.element);
            if (!has_more) return type;
        }
    }

    // The class of a number: one below the values, each value, and each gap that holds a number.
    int class_of(const TypeCon* type, double value) {
        int position = 0;
        const double* previous = nullptr;
        for (const double& limit : numbers_[type]) {
            if (value < limit) return position;
            const bool is_dense = type->contype == TC_UBOUND_FLOAT;
            if (!previous || is_dense || limit - *previous > 1) ++position;
            if (value == limit) return position;
            ++position;
            previous = &limit;
        }
        return position;
    }

    ProjectPtr project_;
    Evaluator evaluator_;
    std::map<std::string, const TypeCon*> types_; // of types, variables and fields
    // What the rules compare unbounded variables with.
    std::map<const TypeCon*, std::set<double>> numbers_;
    std::map<const TypeCon*, std::set<std::string>> texts_;
};

} // namespace norvane::test

#endif
