// Checking of expressions and projects. What a model's source can show stands in data files, a row
// for each case; here is what only the API shows.
#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

#include "norvane/base/items.hpp"
#include "staticsem_internal.h"
#include "support.h"

namespace norvane::test {
namespace {

struct Row {
    std::string source;
    std::string expected;
};

// The rows "SOURCE => EXPECTED" of a data file, whose other lines are comments and headings.
std::vector<Row> rows(const std::string& name) {
    std::vector<Row> result;
    std::istringstream lines(test_data("model/data/" + std::string(name)));
    for (std::string line; std::getline(lines, line);) {
        const std::size_t arrow = line.find(" => ");
        if (line.starts_with("#") || arrow == std::string::npos) continue;
        result.push_back({line.substr(0, arrow), line.substr(arrow + 4)});
    }
    return result;
}

std::string replaced(std::string text, const std::string& from, const std::string& to) {
    for (std::size_t at = 0; (at = text.find(from, at)) != std::string::npos; at += to.size())
        text.replace(at, from.size(), to);
    return text;
}

// "NAME: title | NAME: title", with "@LINE" for a position; the sources have three lines at most.
std::string brief(const Reports& reports) {
    std::string text;
    for (const Report& report : reports.all())
        text += (text.empty() ? "" : " | ") + report.name + ": " + report.title;
    for (const std::string line : {"0", "1", "2"})
        text = replaced(text, "model.pm (" + line + "): ", "@" + line + " ");
    return text;
}

// "{1 2}": the values of an open type's own set, in the order in which they came.
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

TEST(CheckExpression, rows) {
    const std::string data = test_data("model/data/check/expressions.txt");
    const std::size_t first = data.find("\n\n");
    const std::string declarations = data.substr(first, data.find("\n--") - first);
    for (const Row& row : rows("check/expressions.txt")) {
        const Model model = check(declarations);
        ASSERT_TRUE(model.table);
        // A case prints on several lines.
        EXPECT_EQ(replaced(outcome(model, row.source), "\n", "_"), row.expected) << row.source;
    }
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

TEST(CheckProject, rows) {
    for (const Row& row : rows("check/projects.txt"))
        EXPECT_EQ(outcome(replaced(row.source, "\\n", "\n")), row.expected) << row.source;
}

// A model of a variable of each open type and of what they may be compared with.
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

TEST(CheckExpression, trees_that_no_source_has) {
    PolyList* conditions = plist_new(nullptr, nullptr, poly_delete_string);
    plist_append(conditions, str_copy("never looked at"));
    Expr* bad_literal = number(1);
    bad_literal->opr = OPR_NONE;
    Expr* bad_structure = number(1);
    bad_structure->structure = 99;
    Expr* bad_name = simple("i");
    bad_name->args.idcon->contype = 99;
    Expr* bad_path = expr_new_idcon(
        expr_new_compositid(expr_new_compositid(expr_new_simpleid(str_copy("a"), 0),
                                                expr_new_simpleid(str_copy("b"), 0), 0),
                            expr_new_simpleid(str_copy("c"), 0), 0),
        0);
    const std::pair<Expr*, std::string> cases[] = {
        {bad_literal, "ERR_CONSTANT_EXPR: Invalid constant expression: 1"},
        {bad_structure, "1: Encountered invalid expression structure : 99"},
        {bad_name, "1: Encountered invalid idcon type : 99"},
        {bad_path, "1: idcon->args.compositid.hier->contype != IDCON_COMPOSIT"},
        {expr_new_case(expr_new_simpleid(str_copy("r"), 0), conditions,
                       plist_new(nullptr, nullptr, nullptr), number(1), 0),
         "1: plist_length(expr->args.caseexpr.exprlist_condition) == "
         "plist_length(expr->args.caseexpr.exprlist_evaluation)"},
        {binary(OPR_SHL, number(1), simple("r")), "range"},
        {binary(OPR_SHR, number(1), simple("N")), "range"},
        {binary(OPR_UBOUND_EQ, simple("i"), simple("j")), "boolean"},
        {binary(OPR_UBOUND_EQ, simple("i"), simple("r")),
         "ERR_OP_TYPES_BIN: Operator type mismatch: Left operand is integer type, right operand is "
         "range type in '(i = r)'"},
        {expr_new_unary(OPR_FORALL, simple("p"), 0),
         "ERR_OP_TYPES_UN: @0 Operator type mismatch: Operand is of type 'boolean' in "
         "expression '(forall p)'"},
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
    // Records whose tag is out of order cannot be freed.
    bad_structure->structure = EXPR_INT_CONST;
    bad_name->args.idcon->contype = IDCON_SIMPLE;
    for (const auto& one : cases)
        expr_delete(one.first);
}

TEST(CheckExpression, an_integer_literal_that_meets_a_float_becomes_a_float_literal_for_good) {
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

TEST(CheckExpression, the_shown_part_of_a_label) {
    const char* rows[][2] = {{"red", "red"},    {"{1}red", "red"}, {"{1}", "{1}"},
                             {"{red", "{red"},  {"", ""},          {"{}{a}b", "{a}b"},
                             {"a{1}b", "a{1}b"}};
    for (const auto& row : rows) {
        std::string label = row[0];
        EXPECT_STREQ(ssem_remove_braces(label.data()), row[1]);
    }
}

// All that a check writes into a model: the printed form, types, open values and merges.
std::string marks(const Model& model) {
    std::string text = print(model.project.get());
    for (const OpenVariable& open : open_variables(model))
        text += open.path + values(open.type) +
                (tc_find_set(open.type) == open.type ? "" : " merged") + "\n";
    for (RuleDecl* rule : items<RuleDecl>(model.project->ruledecllist))
        text += std::to_string(rule->rule->opr) + " " + expr_type_to_string(rule->rule) + "\n";
    return text;
}

TEST(CheckProject, a_second_check_changes_nothing) {
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

TEST(CheckProject, a_failed_check_may_be_followed_by_another) {
    Reports reports;
    Model model = check("variable i, j : integer; rule i = j; i < 1; nobody;");
    EXPECT_FALSE(model.table);
    EXPECT_EQ(reports.names(), "ERR_ID_UNDECLARED");
    Project* project = model.project.get();
    plist_delete_nth(project->ruledecllist, 2);
    model.table.reset(proj_static_sem_check(project));
    ASSERT_TRUE(model.table);
    EXPECT_EQ(values(open_variables(model)[0].type), "{}");
    EXPECT_EQ(values(open_variables(model)[1].type), "{1}");
}

TEST(CheckProject, faults_that_no_source_has) {
    Reports reports;
    ProjectPtr unnamed = parse("variable x : nobody;");
    auto* variable = static_cast<VarDecl*>(plist_hd(unnamed->vardecllist));
    *variable->name = '\0';
    EXPECT_EQ(ssem_check_project(unnamed.get()), nullptr);

    ProjectPtr unlabelled = parse("variable x : [red];");
    variable = static_cast<VarDecl*>(plist_hd(unlabelled->vardecllist));
    plist_empty(variable->typecon->values.labels);
    EXPECT_EQ(ssem_check_project(unlabelled.get()), nullptr);
    EXPECT_EQ(brief(reports), "ERR_EMPTY_VAR_NAME: @0 The empty variable name is not allowed | "
                              "ERR_NO_LABELS: @0 Enumeration type contains no labels");

    ProjectPtr untyped = parse("variable x : boolean;");
    variable = static_cast<VarDecl*>(plist_hd(untyped->vardecllist));
    variable->typecon->contype = 99;
    EXPECT_EQ(thrown([&] { ssem_check_project(untyped.get()); }),
              "1: Invalid type constructor '99'");
    variable->typecon->contype = TC_BOOL;
}

TEST(CheckProject, the_table_holds_every_declared_name) {
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
    EXPECT_EQ(entry("green").label_index, 1);
    EXPECT_EQ(entry("green").typecon, entry("v.x").typecon);
    EXPECT_EQ(entry("R").ndtype, ND_TYPE);
    EXPECT_EQ(phash_size(entry("R").environment), 1u);
    EXPECT_EQ(entry("v").environment, nullptr);
    EXPECT_EQ(entry("v").is_public, 0);
    EXPECT_EQ(entry("v.x").is_public, 0);
    EXPECT_EQ(entry("o").is_public, 1);
    EXPECT_EQ(entry("o.SOME").typecon, entry("o").typecon->values.base);
    EXPECT_EQ(entry("o.SOME").is_public, 1);
}

// The events of all jobs and the names of all reports, in their order; jobs count from the first.
std::string events(const std::string& source) {
    static std::string log;
    static int first_job;
    log.clear();
    first_job = 0;
    const MsgProgressSink progress = [](const MsgProgress* event, void*) {
        if (first_job == 0) first_job = event->job;
        const std::string job = std::to_string(event->job - first_job);
        log += event->started
                   ? "start " + job + " " + std::to_string(event->kind) + " " + event->text + "\n"
                   : "stop " + job + " " + std::to_string(event->status) + "\n";
    };
    const MsgErrorSink error = [](ErrorType, ErrorInfo* report, void*) {
        log += std::string(report->name) + "\n";
        err_delete(report);
    };
    ProjectPtr project = parse(source);
    std::free(project->name);
    project->name = str_copy("bike");
    msg_set_progress_sink(progress, nullptr);
    msg_set_error_sink(error, nullptr);
    const TablePtr table(ssem_check_project(project.get()));
    msg_set_progress_sink(nullptr, nullptr);
    msg_set_error_sink(nullptr, nullptr);
    return log;
}

TEST(CheckProject, progress_is_told_and_closed_on_every_way_out) {
    const std::string start = "start 0 0 Static semantically checking project 'bike'\n";
    const std::string rules = "start 1 1 Checking rules\n";
    EXPECT_EQ(events("rule true;"), start + "stop 0 -1\nERR_NO_VARS\n");
    EXPECT_EQ(events("variable x : nobody;"), start + "ERR_TYPE_UNDEF\nstop 0 -1\n");
    EXPECT_EQ(events("variable x : boolean;"), start + rules + "stop 1 0\nstop 0 0\n");
    EXPECT_EQ(events("variable x : boolean; rule 1;"),
              start + rules + "ERR_RULE_NOT_BOOLEAN\nstop 1 -1\nstop 0 -1\n");
}

// A left-deep chain of `count` operators.
ExprPtr chain(OprTypes opr, int count, Expr* (*leaf)()) {
    Expr* expr = leaf();
    for (int i = 0; i < count; ++i)
        expr = binary(opr, expr, leaf());
    return ExprPtr(expr);
}

// What is done once a node takes moments here; what walks the chain again at each node would not
// end within the time of a test.
TEST(CheckDeep, chains_and_nests_of_any_length_in_a_small_stack) {
    with_small_stack([] {
        const Model model = check(declarations);
        const auto half = [] { return expr_new_floatconst(0.5, UNDEF_LINENO); };
        const auto variable = [] { return simple("p"); };
        const ExprPtr sum = chain(OPR_PLUS, 1'000'000, half);
        EXPECT_EQ(check_expr(model, sum.get()), STATUS_SUCCESS);
        EXPECT_EQ(sum->type, ETYPE_ENUM_FLOAT);
        const ExprPtr conjunction = chain(OPR_AND, 1'000'000, variable);
        const RuleDecl rule{0, nullptr, nullptr, conjunction.get()};
        EXPECT_TRUE(check::check_rule({model.project.get(), model.table.get()}, &rule));

        Expr* negations = simple("p");
        for (int i = 0; i < 190'000; ++i)
            negations = expr_new_unary(OPR_NOT, negations, UNDEF_LINENO);
        EXPECT_EQ(check_expr(model, negations), STATUS_SUCCESS);
        expr_delete(negations);

        // Each condition compares floats: it asks whether the conditional in it is static.
        Expr* nested = half();
        for (int i = 0; i < 60'000; ++i)
            nested = expr_new_ite(binary(OPR_LT, binary(OPR_PLUS, nested, half()), half()), half(),
                                  half(), UNDEF_LINENO);
        EXPECT_EQ(check_expr(model, nested), STATUS_SUCCESS);
        expr_delete(nested);
    });
}

TEST(CheckDeep, types_of_any_depth_in_a_small_stack) {
    with_small_stack([] {
        ProjectPtr project = parse("variable x, y : boolean; rule x = y;");
        for (VarDecl* variable : items<VarDecl>(project->vardecllist)) {
            for (int i = 0; i < 60'000; ++i) {
                variable->typecon = tc_new_array_tc(number(1), variable->typecon, UNDEF_LINENO);
                variable->typecon = tc_new_optional_tc(variable->typecon, UNDEF_LINENO);
            }
        }
        const TablePtr table(ssem_check_project(project.get()));
        EXPECT_TRUE(table);
    });
}

TEST(CheckDeep, a_loop_of_a_million_turns) {
    const Model model = check(declarations);
    ExprPtr loop = expression("forall k in [2146483648..2147483647] : (a[k - k] or i > 5)");
    EXPECT_EQ(check_expr(model, loop.get()), STATUS_SUCCESS);
    EXPECT_EQ(values(open_variables(model)[0].type), "{5}");
}

} // namespace
} // namespace norvane::test
