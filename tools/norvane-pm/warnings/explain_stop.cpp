// A failure of the library tells what it was about to do, and the mark of its work which
// declaration it was working on. So each row of the table below says for one failure which
// expressions can cause it, and the first such expression of the declaration is the one to name:
// those before it have passed.
#include "explain_stop.h"

#include <cstring>
#include <unordered_set>

#include "norvane/base/deep.hpp"

#include "finder.h"

namespace norvane::driver {
namespace {

bool is_equality(const Expr* expr) {
    return expr->structure == EXPR_BINARY &&
           (expr->opr == OPR_EQ || expr->opr == OPR_NEQ || expr->opr == OPR_UBOUND_EQ);
}

bool has_operand(const Expr* expr, unsigned char type) {
    return expr->args.binargs.leftarg->type == type || expr->args.binargs.rightarg->type == type;
}

bool has_operand_of(const Expr* expr, ExprStructure structure) {
    return expr->args.binargs.leftarg->structure == structure ||
           expr->args.binargs.rightarg->structure == structure;
}

// The forms. A constant is known by its name alone, since the table of names may be gone.

struct Forms {
    std::unordered_set<std::string_view> constants;

    bool is_constant(const Expr* expr) const {
        return is_name(expr) && expr->args.idcon->contype == IDCON_SIMPLE &&
               constants.contains(expr->args.idcon->args.id.idname);
    }
    bool spells_constant(const Expr* expr) const {
        return expr->structure == EXPR_STRING_CONST && constants.contains(expr->args.str);
    }
    bool has_constant(const Expr* expr) const {
        return is_constant(expr->args.binargs.leftarg) || is_constant(expr->args.binargs.rightarg);
    }
};

bool whole_equality(const Forms&, const Expr* expr) {
    if (expr->structure == EXPR_CASE) return true;
    return is_equality(expr) && (has_operand(expr, ETYPE_PROD) || has_operand(expr, ETYPE_ARRAY) ||
                                 has_operand(expr, ETYPE_OPTIONAL));
}

bool joined_constant(const Forms& forms, const Expr* expr) {
    return expr->structure == EXPR_BINARY && expr->opr == OPR_UBOUND_EQ && forms.has_constant(expr);
}

bool constant_with_labels(const Forms& forms, const Expr* expr) {
    return is_equality(expr) && has_operand(expr, ETYPE_SUM) && has_operand(expr, ETYPE_STRING) &&
           forms.has_constant(expr);
}

bool spelled_constant(const Forms& forms, const Expr* expr) {
    if (expr->structure == EXPR_UNARY) return forms.spells_constant(expr->args.arg);
    if (expr->structure == EXPR_CASE) {
        for (const Expr* condition : items<Expr>(expr->args.caseexpr.exprlist_condition))
            if (forms.spells_constant(condition)) return true;
        return false;
    }
    return is_equality(expr) && has_operand(expr, ETYPE_SUM) &&
           (forms.spells_constant(expr->args.binargs.leftarg) ||
            forms.spells_constant(expr->args.binargs.rightarg));
}

bool any_case(const Forms&, const Expr* expr) {
    return expr->structure == EXPR_CASE;
}

bool text_equality(const Forms&, const Expr* expr) {
    return is_equality(expr) && expr->args.binargs.leftarg->type == ETYPE_STRING &&
           expr->args.binargs.rightarg->type == ETYPE_STRING;
}

bool constant_first(const Forms& forms, const Expr* expr) {
    return is_comparison(expr) && forms.is_constant(expr->args.binargs.leftarg) &&
           expr->args.binargs.rightarg->type == ETYPE_ENUM_INTEGER;
}

bool spelled_order(const Forms&, const Expr* expr) {
    return expr->structure == EXPR_UNARY && expr->opr == OPR_ORDER &&
           expr->args.arg->structure == EXPR_STRING_CONST;
}

bool any_order(const Forms&, const Expr* expr) {
    return expr->structure == EXPR_UNARY && expr->opr == OPR_ORDER;
}

bool is_unbounded_choice(const Expr* expr) {
    return (expr->structure == EXPR_CASE || expr->structure == EXPR_ITE) &&
           is_unbounded(expr->type);
}

bool unbounded_choice(const Forms&, const Expr* expr) {
    return is_comparison(expr) && (is_unbounded_choice(expr->args.binargs.leftarg) ||
                                   is_unbounded_choice(expr->args.binargs.rightarg));
}

bool known_float_choice(const Forms&, const Expr* expr) {
    return expr->structure == EXPR_CASE &&
           (expr->type == ETYPE_ENUM_FLOAT || expr->type == ETYPE_STRING ||
            expr->args.caseexpr.default_expr->type == ETYPE_ENUM_FLOAT);
}

bool text_case(const Forms&, const Expr* expr) {
    if (expr->structure != EXPR_CASE) return false;
    for (const Expr* condition : items<Expr>(expr->args.caseexpr.exprlist_condition))
        if (condition->type == ETYPE_STRING) return true;
    return false;
}

bool any_loop(const Forms&, const Expr* expr) {
    return expr->structure == EXPR_RANGE;
}

bool spelled_variable(const Forms&, const Expr* expr) {
    return is_equality(expr) && has_operand_of(expr, EXPR_STRING_CONST);
}

bool any_comparison(const Forms&, const Expr* expr) {
    return is_comparison(expr);
}

bool nothing(const Forms&, const Expr*) {
    return false;
}

struct Row {
    const char* thrown; // what the text of the failure begins with, or contains after a "*"
    bool (*is_form)(const Forms& forms, const Expr* expr);
    // Whether the row counts for a declaration that has no expression of the form.
    bool is_general;
    const char* form;
    const char* instead;
};

constexpr char integer_expected[] = "expr->type == ETYPE_INT || expr->type == ETYPE_BOOL";
constexpr char no_such_name[] = "Invalid name data type";

constexpr Row rows[] = {
    {"Method should not be called with", whole_equality, true,
     "an equation of records, arrays or optionals with an integer, float or string in them",
     "compare their parts one by one, each with a value"},
    {no_such_name, joined_constant, false,
     "an equation of an unbounded variable and the name of a constant",
     "write the value of the constant, or not (x <> CONSTANT)"},
    {no_such_name, constant_with_labels, false,
     "a comparison of a constant text and an enumeration", "compare the enumeration with a label"},
    {no_such_name, spelled_constant, false,
     "a text that stands for a label, but is the name of a constant",
     "write the label, or rename the constant"},
    {no_such_name, any_case, true, "a case over a name that is not a variable",
     "write if ... then ... else ..."},
    {integer_expected, text_equality, false,
     "a comparison of two known texts where a value is needed before the product is known",
     "write true or false, or a boolean constant"},
    {integer_expected, constant_first, false,
     "a constant before the integer variable that it is compared with",
     "write the variable first: x > CONSTANT"},
    {integer_expected, spelled_order, false, "order() of a label that is written as a text",
     "write the label without quotes"},
    {integer_expected, known_float_choice, false, "a case of floats where a value is needed",
     "write if ... then ... else ..."},
    {integer_expected, text_case, false, "a case over a constant text",
     "write if ... then ... else ..."},
    {integer_expected, unbounded_choice, false,
     "a comparison of a case or an if of unbounded values", "compare the values in the branches"},
    {"Comparison with to non static int values", unbounded_choice, true,
     "a comparison of a case or an if of unbounded values", "compare the values in the branches"},
    {"variable->structure == EXPR_IDCONSTRUCTOR", unbounded_choice, true,
     "a comparison of a case or an if of unbounded values", "compare the values in the branches"},
    {"left->structure == EXPR_IDCONSTRUCTOR", unbounded_choice, true,
     "a comparison of a case of texts", "compare the texts in the branches"},
    {"right->structure == EXPR_IDCONSTRUCTOR", unbounded_choice, true,
     "a comparison of a case of texts", "compare the texts in the branches"},
    {"Encountered invalid expression structure", text_equality, true,
     "a calculation with texts where a value is needed before the product is known",
     "write the value, or a constant of its type"},
    {"left_expr->type == right_expr->type", any_order, true, "order() of a boolean constant",
     "use the constant itself"},
    {"variable.inserted()", any_loop, true,
     "a loop whose variable has the name of a type that is declared later",
     "rename the variable or the type"},
    {"Could not insert symbol", any_loop, true,
     "a loop whose variable has the name of a type that is declared later",
     "rename the variable or the type"},
    {"typecon->p == typecon", nothing, true,
     "the finite form of an unbounded variable that a rule sets equal to another",
     "use one variable for both, or ranges as their types; norvane-pm rules takes the model"},
    {"*is used as a constant, but is not declared as such", nothing, true,
     "a constant that a field of its name hides", "rename the field or the constant"},
    {"Could not determine depth of variable", any_loop, true,
     "a rule of a record with a loop, SOME or NONE in it as it is written",
     "leave out --no-simplify"},
    {"*symtbl_typecon_for_idcon(in.project->line_info, in.symboltable, casevar", any_case, true,
     "a case over a name that is not a variable", "write if ... then ... else ..."},
    {"*symtbl_typecon_for_idcon(in.project->line_info, in.symboltable, idcon", any_comparison, true,
     "a comparison of a field that has the name of a type", "rename the field or the type"},
    {"typecon->contype ==", spelled_variable, false, "a text that names a variable in a loop",
     "write the name without quotes"},
    {"typecon->contype ==", any_comparison, true,
     "a comparison of a field whose name means another thing too",
     "rename the field or the other one"},
    {"*ihash_peek", any_comparison, true,
     "a comparison of a field whose name means another thing too",
     "rename the field or the other one"},
    {"is_static(in, constant)", any_order, true,
     "a comparison of order() of an unbounded variable in a loop",
     "compare the variable itself with a value"},
    {"left_static || right_static", any_order, true,
     "a comparison of order() of an unbounded variable in a loop",
     "compare the variable itself with a value"},
    {"*is neither a variable nor a type", nothing, true,
     "a field whose name means another thing too", "rename the field or the other one"},
    {"Could not find environment for", nothing, true, "a field whose name means another thing too",
     "rename the field or the other one"},
    {"*is not declared as an array", nothing, true, "a field whose name means another thing too",
     "rename the field or the other one"},
    {"Could not find array type constructor", nothing, true,
     "a field whose name means another thing too", "rename the field or the other one"},
    {"result", any_case, true, "a case without arms", "write its default alone"},
};

bool is_thrown(const Row& row, std::string_view thrown) {
    const std::string_view text = row.thrown;
    if (text == "result") return thrown == text;
    return text[0] == '*' ? thrown.find(text.substr(1)) != thrown.npos : thrown.starts_with(text);
}

// Finds the first expression of a declaration, in the order of the check, that has an unsupported
// form.
class Search {
  public:
    Search(const Forms& forms, const Row& row) : forms_(forms), row_(row) {}

    const Expr* in(const Expr* expr);
    const Expr* in(const TypeCon* typecon);
    // The whole expression in which one was found.
    const Expr* root() const { return root_; }

  private:
    const Expr* in(const IdCon* idcon);
    const Expr* in(const PolyList* exprs);
    const Expr* below(const Expr* expr);

    const Forms& forms_;
    const Row& row_;
    const Expr* root_ = nullptr;
    unsigned depth_ = 0; // of the walk in an expression
};

const Expr* Search::in(const PolyList* exprs) {
    for (const Expr* expr : items<Expr>(exprs))
        if (const Expr* found = in(expr)) return found;
    return nullptr;
}

const Expr* Search::in(const IdCon* idcon) {
    for (const IdCon* rest = idcon; rest;) {
        const IdCon* step = head_of(rest);
        if (step->contype == IDCON_ARRAY)
            if (const Expr* found = in(step->args.array.exprlist)) return found;
        rest = rest->contype == IDCON_COMPOSIT ? rest->args.compositid.nested : nullptr;
    }
    return nullptr;
}

template <typename... Nodes>
const Expr* first_of(Search& search, const Nodes*... nodes) {
    const Expr* found = nullptr;
    static_cast<void>(((found = search.in(nodes)) || ...));
    return found;
}

const Expr* Search::below(const Expr* expr) {
    const auto& args = expr->args;
    switch (structure_of(expr)) {
    case EXPR_BINARY: return first_of(*this, args.binargs.leftarg, args.binargs.rightarg);
    case EXPR_UNARY: return in(args.arg);
    case EXPR_IDCONSTRUCTOR: return in(args.idcon);
    case EXPR_ITE:
        return first_of(*this, args.ite.logictest, args.ite.trueexpr, args.ite.falseexpr);
    case EXPR_RANGE:
        return first_of(*this, args.range.rangebegin, args.range.rangeend, args.range.lambdaexpr);
    case EXPR_CASE: {
        if (const Expr* found = in(args.caseexpr.default_expr)) return found;
        if (const Expr* found = in(args.caseexpr.casevar)) return found;
        if (const Expr* found = in(args.caseexpr.exprlist_condition)) return found;
        return in(args.caseexpr.exprlist_evaluation);
    }
    case EXPR_INT_CONST:
    case EXPR_STRING_CONST:
    case EXPR_FLOAT_CONST: break;
    }
    return nullptr;
}

const Expr* Search::in(const Expr* expr) {
    if (stack_is_low()) return on_fresh_stack([&] { return in(expr); });
    if (depth_ == 0) root_ = expr;
    ++depth_;
    const Expr* found = below(expr);
    --depth_;
    return found || !row_.is_form(forms_, expr) ? found : expr;
}

// The rules of records have marks of their own.
const Expr* Search::in(const TypeCon* typecon) {
    if (stack_is_low()) return on_fresh_stack([&] { return in(typecon); });
    switch (kind_of(typecon)) {
    case TC_INT: return in(typecon->values.upper);
    case TC_ARRAY:
        return first_of(*this, typecon->values.array.size, typecon->values.array.element);
    case TC_OPTIONAL: return in(typecon->values.base);
    case TC_BOOL:
    case TC_UBOUND_FLOAT:
    case TC_UBOUND_INTEGER:
    case TC_STRING:
    case TC_PROD:
    case TC_SUM:
    case TC_NAMED: break;
    }
    return nullptr;
}

// What the library was working on, and the form in it.
struct Culprit {
    Node node;
    std::string what;
};

template <typename Declaration, typename Whole>
Culprit search_in(Search& search, const WorkMark& mark, Whole Declaration::*whole,
                  std::string what) {
    const auto* declaration = static_cast<const Declaration*>(mark.subject);
    const Expr* expr = search.in(declaration->*whole);
    const bool has_line = expr && expr->linenumber != UNDEF_LINENO;
    return {
        {has_line ? expr->linenumber : declaration->linenumber, declaration, search.root(), expr},
        std::move(what)};
}

template <typename Declaration>
std::string name_of(const WorkMark& mark) {
    return "'" + std::string(static_cast<const Declaration*>(mark.subject)->name) + "'";
}

Culprit search_for(const Forms& forms, const Row& row, const WorkMark& mark) {
    Search search(forms, row);
    switch (mark.kind) {
    case WORK_RULE: return search_in(search, mark, &RuleDecl::rule, "in this rule");
    case WORK_VARIABLE:
        return search_in(search, mark, &VarDecl::typecon,
                         "in the type of " + name_of<VarDecl>(mark));
    case WORK_TYPE:
        return search_in(search, mark, &TypeDecl::typecon,
                         "in the type " + name_of<TypeDecl>(mark));
    case WORK_CONSTANT:
        return search_in(search, mark, &ConstantDecl::value,
                         "in the constant " + name_of<ConstantDecl>(mark));
    case WORK_FUNCTION:
    case WORK_NOTHING: break;
    }
    return {};
}

} // namespace

std::optional<Stop> explain_stop(const Project* project, std::string_view thrown,
                                 const WorkMark& mark) {
    Forms forms;
    for (const ConstantDecl* constant : items<ConstantDecl>(project->constantdecllist))
        forms.constants.insert(constant->name);
    for (const Row& row : rows) {
        if (!is_thrown(row, thrown)) continue;
        Culprit culprit;
        in_frame([&] { culprit = search_for(forms, row, mark); });
        if (!culprit.node.part && !row.is_general) continue;
        if (culprit.what.empty()) return {};
        return Stop{{Severity::error,
                     row_of(Warning::unsupported).name,
                     culprit.what + ": " + row.form + " is not supported",
                     line_of(project, culprit.node.linenumber),
                     {},
                     row.instead,
                     {}},
                    culprit.node};
    }
    return {};
}

} // namespace norvane::driver
