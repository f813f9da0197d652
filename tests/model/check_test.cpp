// Checking of expressions and projects. What a model's source can show stands in data files, a row
// for each case; here is what only the API shows.
#include "staticsem_internal.h"
#include "test.h"

namespace norvane::test {
namespace {

// "NAME: title | NAME: title", with "@LINE" for a position; the sources have three lines at most.
std::string brief(const Reports& reports) {
    std::string text;
    for (const Report& report : reports.all())
        text += (text.empty() ? "" : " | ") + report.name + ": " + report.title;
    for (const std::string line : {"0", "1", "2"})
        text = replaced(text, "model.pm (" + line + "): ", "@" + line + " ");
    return text;
}

// "{1 2}": the values of an unbounded type's own set, in the order in which they came.
std::string values(const TypeCon* type) {
    std::string text;
    const auto add = [&](const std::string& value) { text += (text.empty() ? "" : " ") + value; };
    if (type->contype == TC_UBOUND_INTEGER) {
        IntSetIter iter;
        iset_iter_init(&iter, type->values.enum_int.int_set);
        for (int value; iset_iter_next(&iter, &value);)
            add(std::to_string(value));
    } else {
        const bool floats = type->contype == TC_UBOUND_FLOAT;
        PolySetIter iter;
        pset_iter_init(&iter, floats ? type->values.enum_float.float_set
                                     : type->values.enum_string.string_set);
        for (void* value; pset_iter_next(&iter, &value);)
            add(floats ? util_double_to_str(static_cast<PolyValue*>(value)->number)
                       : static_cast<const char*>(value));
    }
    return "{" + text + "}";
}

struct OpenVariable {
    std::string path;
    TypeCon* type;
};

void collect_open(const Model& model, const std::string& path, TypeCon* type,
                  std::vector<OpenVariable>& found) {
    symtbl_lookup_typecon(model.project->line_info, model.table.get(), type, &type, 0);
    switch (type->contype) {
    case TC_UBOUND_INTEGER:
    case TC_UBOUND_FLOAT:
    case TC_STRING: found.push_back({path, type}); break;
    case TC_ARRAY: collect_open(model, path + "[]", type->values.array.element, found); break;
    case TC_OPTIONAL: collect_open(model, path + ".SOME", type->values.base, found); break;
    case TC_PROD:
        for (VarDecl* field : items<VarDecl>(type->values.prod.fields))
            collect_open(model, path + "." + field->name, field->typecon, found);
        break;
    default: break;
    }
}

std::vector<OpenVariable> open_variables(const Model& model) {
    std::vector<OpenVariable> found;
    for (VarDecl* variable : items<VarDecl>(model.project->vardecllist))
        collect_open(model, variable->name, variable->typecon, found);
    return found;
}

// Takes down what a wrong body has left on the table's stack, and tells the depth that it had.
unsigned cleared_depth(SymbolTable* table) {
    const unsigned depth = plist_length(table->local_table);
    while (plist_length(table->local_table) > 1) {
        auto* environment = static_cast<PolyHash*>(plist_hd(table->local_table));
        symtbl_pop_env(table);
        symtbl_delete_symbol_table_env(environment);
    }
    return depth;
}

// The outcome of checking an expression in a checked model, as the rows of the data file have it.
std::string outcome(const Model& model, const std::string& text) {
    const Reports reports;
    ExprPtr expr = expression(text);
    if (!expr) return "does not parse: " + brief(reports);
    const std::string before = print(expr.get());
    check::Checked checked{};
    const std::string failure = thrown([&] {
        checked = check::check_expr({model.project.get(), model.table.get()}, expr.get());
    });
    if (!failure.empty()) return brief(reports) + "throws " + failure;
    std::string result = brief(reports);
    if (checked.ok) {
        EXPECT_EQ(ssem_is_static_expr(model.project.get(), model.table.get(), expr.get()),
                  checked.is_static);
        result += expr_type_to_string(expr.get());
        if (checked.is_static) result += " static";
        if (print(expr.get()) != before) result += ", " + print(expr.get());
        for (const OpenVariable& open : open_variables(model))
            if (values(open.type) != "{}") result += ", " + open.path + values(open.type);
    }
    const unsigned depth = cleared_depth(model.table.get());
    if (depth != 1) result += ", stack " + std::to_string(depth);
    return result;
}

TEST(CheckExpression, TypesReportsAndValuesAreThoseOfTheTable) {
    const std::string path = "model/data/check/expressions.txt", data = test_data(path);
    const std::size_t first = data.find("\n\n");
    const std::string declarations = data.substr(first, data.find("\n--") - first);
    EXPECT_EQ(data, test_data_rerun(path, [&](const std::string& source) {
                  return outcome(check(declarations), source);
              }));
}

// What the check of a project tells, as the rows of the data file have it.
std::string outcome(const std::string& source) {
    const Reports reports;
    Model model;
    const std::string failure = thrown([&] { model = check(source); });
    if (!failure.empty()) return brief(reports) + "throws " + failure;
    if (!model.table) return brief(reports);
    std::string result = "ok" + brief(reports);
    const std::vector<OpenVariable> open = open_variables(model);
    for (const OpenVariable& variable : open) {
        result += ", " + variable.path + values(variable.type);
        for (const OpenVariable& other : open) {
            if (other.type == variable.type) break;
            if (tc_find_set(other.type) != tc_find_set(variable.type)) continue;
            result += " ~ " + other.path;
            break;
        }
    }
    return result;
}

TEST(CheckProject, ReportsAndValuesAreThoseOfTheTable) {
    const std::string path = "model/data/check/projects.txt";
    EXPECT_EQ(test_data(path), test_data_rerun(path, [](const std::string& source) {
                  return outcome(replaced(source, "\\n", "\n"));
              }));
}

// A model of a variable of each unbounded type and of what they may be compared with.
const char* const declarations = "constant N : 3; variable p : boolean; r : [0..5]; i, j : integer;"
                                 "f, g : float; s : string; a : array 5 of boolean;";

Expr* simple(const char* name) {
    return expr_new_idcon(expr_new_simpleid(str_copy(name), UNDEF_LINENO), UNDEF_LINENO);
}

Expr* number(int value) {
    return expr_new_intconst(OPR_INTCONST, value, UNDEF_LINENO);
}

Expr* binary(OprTypes opr, Expr* left, Expr* right) {
    return expr_new_binary(opr, left, right, UNDEF_LINENO);
}

int check_expr(const Model& model, Expr* expr) {
    return ssem_check_expr(model.project.get(), model.table.get(), expr);
}

TEST(CheckExpression, TreesThatNoSourceHasAreCheckedOrRefused) {
    Expr* bad_literal = number(1);
    bad_literal->opr = OPR_NONE;
    Expr* bad_structure = number(1);
    bad_structure->structure = 99;
    const std::pair<Expr*, std::string> cases[] = {
        {bad_literal, "ERR_CONSTANT_EXPR: Invalid constant expression: 1"},
        {bad_structure, "1: Encountered invalid expression structure : 99"},
        {binary(OPR_SHL, number(1), simple("r")), "range"},
        {binary(OPR_SHR, number(1), simple("N")), "range"},
        {binary(OPR_UBOUND_EQ, simple("i"), simple("j")), "boolean"},
        {binary(OPR_UBOUND_EQ, simple("i"), simple("r")),
         "ERR_OP_TYPES_BIN: Operator type mismatch: Left operand is integer type, right operand is "
         "range type in '(i = r)'"},
    };
    const Model model = check(declarations);
    for (const auto& one : cases) {
        Expr* expr = one.first;
        const Reports reports;
        int status = STATUS_SUCCESS;
        std::string result = thrown([&] { status = check_expr(model, expr); });
        if (result.empty())
            result = status != STATUS_SUCCESS ? brief(reports) : expr_type_to_string(expr);
        EXPECT_EQ(result, one.second);
    }
    bad_structure->structure = EXPR_INT_CONST; // to be freed
    for (const auto& one : cases)
        expr_delete(one.first);
}

TEST(CheckExpression, AnIntegerLiteralThatMeetsAFloatBecomesAFloatLiteralForGood) {
    const Model model = check(declarations);
    ExprPtr expr = expression("2 < f and nobody");
    Expr* literal = expr->args.binargs.leftarg->args.binargs.leftarg;
    const unsigned line = literal->linenumber;
    Reports reports;
    EXPECT_NE(check_expr(model, expr.get()), STATUS_SUCCESS);
    EXPECT_EQ(literal->structure, EXPR_FLOAT_CONST);
    EXPECT_EQ(literal->opr, OPR_FLOATCONST);
    EXPECT_EQ(literal->type, ETYPE_ENUM_FLOAT);
    EXPECT_EQ(literal->args.floatconst.value, 2.0);
    EXPECT_EQ(literal->linenumber, line);
}

TEST(CheckExpression, TheShownPartOfALabelStandsAfterTheBraces) {
    const char* rows[][2] = {{"red", "red"},    {"{1}red", "red"}, {"{1}", "{1}"},
                             {"{red", "{red"},  {"", ""},          {"{}{a}b", "{a}b"},
                             {"a{1}b", "a{1}b"}};
    for (const auto& row : rows) {
        std::string label = row[0];
        EXPECT_STREQ(ssem_remove_braces(label.data()), row[1]);
    }
}

// All that a check writes into a model: the printed form, types, noted values and merges.
std::string marks(const Model& model) {
    std::string text = print(model.project.get());
    for (const OpenVariable& open : open_variables(model))
        text += open.path + values(open.type) +
                (tc_find_set(open.type) == open.type ? "" : " merged") + "\n";
    for (RuleDecl* rule : items<RuleDecl>(model.project->ruledecllist))
        text += std::to_string(rule->rule->opr) + " " + expr_type_to_string(rule->rule) + "\n";
    return text;
}

TEST(CheckProject, ASecondCheckChangesNothing) {
    Model model = check(std::string(declarations) +
                        "rule i = j; f = g; f < 1; s = \"x\"; forall k in [0..4] : (a[k] or i = k);"
                        "case f of 2 then p | default true esac;");
    ASSERT_TRUE(model.table);
    const std::string before = marks(model);
    EXPECT_NE(before.find("26 boolean"), std::string::npos);
    EXPECT_NE(before.find("{1.0 2.0}"), std::string::npos);
    model.table.reset(proj_static_sem_check(model.project.get()));
    ASSERT_TRUE(model.table);
    EXPECT_EQ(marks(model), before);
}

TEST(CheckProject, TheTableHoldsEveryDeclaredName) {
    const Model model =
        check("constant N : 3; B : true; F : 1.5; S : \"txt\"; type R : { private x "
              ": [red, green]; }; variable private v : R; o : optional boolean;");
    ASSERT_TRUE(model.table);
    const auto entry = [&](const char* path) {
        ExprPtr expr = expression(path);
        const NameData* data = symtbl_namedata_for_idcon(
            model.project->line_info, model.table.get(), expr->args.idcon, 0, UNDEF_LINENO);
        return data ? *data : NameData{};
    };
    EXPECT_EQ(entry("N").int_value, 3);
    EXPECT_EQ(entry("B").ndtype, ND_BOOL);
    EXPECT_EQ(entry("F").float_value, 1.5);
    EXPECT_STREQ(entry("S").string_value, "txt");
    EXPECT_EQ(entry("red").label_index, 0);
    EXPECT_EQ(entry("R").ndtype, ND_TYPE);
    EXPECT_EQ(phash_size(entry("R").environment), 1u);
    EXPECT_EQ(entry("v").environment, nullptr);
    EXPECT_EQ(entry("v").is_public, 0);
    EXPECT_EQ(entry("o.SOME").typecon, entry("o").typecon->values.base);
    EXPECT_EQ(entry("o.SOME").is_public, 1);
}

// What is done once a node takes moments; what walks the nest again at each node would not end
// within the time of a test.
TEST(CheckDeep, NestedConditionsTakeLinearTimeOnASmallStack) {
    with_small_stack([] {
        const Model model = check(declarations);
        const auto half = [] { return expr_new_floatconst(0.5, UNDEF_LINENO); };
        // Each condition compares floats: it asks whether the conditional in it is static.
        Expr* nested = half();
        for (int i = 0; i < 60'000; ++i)
            nested = expr_new_ite(binary(OPR_LT, binary(OPR_PLUS, nested, half()), half()), half(),
                                  half(), UNDEF_LINENO);
        EXPECT_EQ(check_expr(model, nested), STATUS_SUCCESS);
        expr_delete(nested);
    });
}

// Following the chain anew at each use would take minutes.
TEST(CheckDeep, ALongChainOfTypesThatNameEachOtherTakesMoments) {
    std::string types = "type T0 : { public p : [0..3]; rule p < 3; };";
    std::string variables = "variable";
    std::string rules = "rule ";
    for (int i = 1; i < 20'000; ++i) {
        const std::string n = std::to_string(i);
        types += "T" + n + " : T" + std::to_string(i - 1) + ";";
        variables += " public x" + n + " : T" + n + ";";
        rules += "x" + n + ".p = 1;";
    }
    const Model model = check(types + variables + rules);
    ASSERT_TRUE(model.table);
    const ListPtr flat(proj_get_expanded_rules(model.project.get(), model.table.get(), 1));
    EXPECT_EQ(plist_length(flat.get()), 2 * 19'999U);
}

TEST(CheckDeep, ALoopOfAMillionTurnsTakesMoments) {
    const Model model = check(declarations);
    ExprPtr loop = expression("forall k in [2146483648..2147483647] : (a[k - k] or i > 5)");
    EXPECT_EQ(check_expr(model, loop.get()), STATUS_SUCCESS);
    EXPECT_EQ(values(open_variables(model)[0].type), "{5}");
}

} // namespace
} // namespace norvane::test
