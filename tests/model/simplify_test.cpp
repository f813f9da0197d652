// Simplification and rule expansion. What printed results show stands in data files, a row for each
// model; here is what only the API shows: types and lines of nodes, labels, owners, and trees that
// are deep.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "norvane/base/items.hpp"
#include "support.h"

namespace norvane::test {
namespace {

std::string joined(const std::string& lines) {
    std::string text = lines;
    for (std::size_t at = 0; (at = text.find('\n', at)) != std::string::npos;)
        text.replace(at, 1, at + 1 == text.size() ? "" : "; ");
    return text;
}

// The flat rules of a model, or the reports that it makes, or what was thrown.
std::string rules_or_failure(const std::string& source, bool simplify) {
    std::string text;
    const std::string failure = thrown([&] {
        const Reports reports;
        const Model model = check(source);
        text = model.table ? joined(flat_rules(model, simplify)) : reports.names();
    });
    return failure.empty() ? text : failure;
}

TEST(Simplify, RulesAreThoseOfTheTable) {
    const std::string name = "simplify/rules.txt";
    EXPECT_EQ(test_data("model/data/" + std::string(name)),
              test_data_rerun("model/data/" + std::string(name), [](const std::string& source) {
                  return rules_or_failure(source, true);
              }));
}

TEST(ExpandRules, InstancesAreThoseOfTheTable) {
    const std::string name = "simplify/expansion.txt";
    EXPECT_EQ(test_data("model/data/" + std::string(name)),
              test_data_rerun("model/data/" + std::string(name), [](const std::string& source) {
                  const std::string plain = rules_or_failure(source, false);
                  const std::string simplified = rules_or_failure(source, true);
                  return plain == simplified ? plain : plain + " ~ " + simplified;
              }));
}

// " NAME: LABEL LABEL ..." for each open type below a type, as the exporters find them.
void append_labels(const TypeCon* type, const std::string& name, std::string& text) {
    const PolyList* labels = nullptr;
    switch (type->contype) {
    case TC_UBOUND_FLOAT: labels = type->values.enum_float.labellist; break;
    case TC_UBOUND_INTEGER: labels = type->values.enum_int.labellist; break;
    case TC_STRING: labels = type->values.enum_string.labellist; break;
    case TC_ARRAY: return append_labels(type->values.array.element, name + "[]", text);
    case TC_PROD:
        for (const VarDecl* field : items<VarDecl>(type->values.prod.fields))
            append_labels(field->typecon, name + "." + field->name, text);
        return;
    default: return;
    }
    text += " " + name + ":";
    for (const char* label : items<char>(labels))
        text += " " + std::string(label);
}

// The simplified project and the labels that were made on the way, or what was thrown.
std::string project_or_failure(const std::string& source) {
    std::string text;
    const std::string failure = thrown([&] {
        const Reports reports;
        const Model model = check(source);
        if (!model.table) {
            text = reports.names();
            return;
        }
        const ProjectPtr simplified(simplify_project(model.project.get(), model.table.get()));
        text = print(simplified.get());
        text.erase(0, text.find("variable"));
        std::replace(text.begin(), text.end(), '\n', ' ');
        const auto both_blank = [](char a, char b) { return a == ' ' && b == ' '; };
        text.erase(std::unique(text.begin(), text.end(), both_blank), text.end());
        for (const TypeDecl* type : items<TypeDecl>(model.project->typedecllist))
            append_labels(type->typecon, type->name, text);
        for (const VarDecl* variable : items<VarDecl>(model.project->vardecllist))
            append_labels(variable->typecon, variable->name, text);
    });
    return failure.empty() ? text : failure;
}

TEST(SimplifyProject, ProjectsAreThoseOfTheTable) {
    const std::string name = "simplify/types.txt";
    EXPECT_EQ(test_data("model/data/" + std::string(name)),
              test_data_rerun("model/data/" + std::string(name), project_or_failure));
}

const char* spelling(unsigned opr) {
    switch (opr) {
    case OPR_AND: return " and ";
    case OPR_OR: return " or ";
    case OPR_NOT: return "not ";
    case OPR_PLUS: return " + ";
    case OPR_MINUS: return " - ";
    case OPR_LT: return " < ";
    case OPR_EQ: return " = ";
    case OPR_UBOUND_EQ: return " == ";
    case OPR_BOOLCONST: return "bool ";
    case OPR_INTCONST: return "int ";
    default: return " ? ";
    }
}

std::string at(unsigned line) {
    return line == UNDEF_LINENO ? "" : "@" + std::to_string(line);
}

std::string shape(const Expr* expr);

std::string shape(const IdCon* idcon) {
    if (idcon->contype == IDCON_COMPOSIT)
        return shape(idcon->args.compositid.hier) + "." + shape(idcon->args.compositid.nested) +
               at(idcon->linenumber);
    std::string text = idcon->args.id.idname;
    if (idcon->contype == IDCON_ARRAY)
        for (const Expr* index : items<Expr>(idcon->args.array.exprlist))
            text += "[" + shape(index) + "]";
    return text + at(idcon->linenumber);
}

std::string content(const Expr* expr) {
    const auto& args = expr->args;
    switch (expr->structure) {
    case EXPR_BINARY:
        return "(" + shape(args.binargs.leftarg) + spelling(expr->opr) +
               shape(args.binargs.rightarg) + ")";
    case EXPR_UNARY: return "(" + (spelling(expr->opr) + shape(args.arg)) + ")";
    case EXPR_IDCONSTRUCTOR: return shape(args.idcon);
    case EXPR_INT_CONST: return spelling(expr->opr) + std::to_string(args.intconst.value);
    case EXPR_STRING_CONST: return "'" + std::string(args.str) + "'";
    case EXPR_FLOAT_CONST: return util_double_to_str(args.floatconst.value);
    case EXPR_ITE:
        return "if " + shape(args.ite.logictest) + " then " + shape(args.ite.trueexpr) + " else " +
               shape(args.ite.falseexpr);
    case EXPR_RANGE: return "loop over " + shape(args.range.lambdaexpr);
    default: return "case of " + shape(args.caseexpr.default_expr);
    }
}

// A tree with what printing does not show: "CONTENT:TYPE", with "@LINE" where there is one, also
// behind identifiers; and operators told apart.
std::string shape(const Expr* expr) {
    return content(expr) + ":" + expr_type_to_string(const_cast<Expr*>(expr)) +
           at(expr->linenumber);
}

std::string shapes(const Model& model, bool simplify) {
    const ListPtr rules(proj_get_expanded_rules(model.project.get(), model.table.get(), simplify));
    std::string text;
    for (const Expr* rule : items<Expr>(rules.get()))
        text += shape(rule) + "\n";
    return text;
}

struct Shape {
    const char* source;
    const char* expected;
};

TEST(Simplify, NodesAreTypedAndOnlyEvaluatedNegationsKeepTheirLine) {
    const Shape table[] = {
        {"constant N : 3; variable public n : [0..9];\nrule -(N + 1) < n;",
         "(int -4:range@1 < n@1:range):boolean"},
        {"variable public n : [0..9];\nrule forall i in [1..2] : (-(i + 1) < n);",
         "((int -2:range < n@1:range):boolean and (int -3:range < n@1:range):boolean):boolean"},
        {"variable public s : array 2 of string;\nrule s[2 - 1] = \"a\";",
         "(s[(int 2:range@1 - int 1:range@1):range@1]@1:string@1 = int 1:range):boolean"},
        {"variable public s : array 2 of string;\nrule exist i in [1..1] : (s[i] = \"a\");",
         "(s[int 1:range]:string = int 1:range):boolean"},
        {"variable public s : string; c : [red];\nrule s <> c;",
         "(not ((s@1:string = int 1:range):boolean and (c@1:enumeration = int "
         "0:range):undefined):undefined):boolean"},
        {"variable public x, y : array 2 of integer;\nrule x[0] = y[1] and y[1] < 3;",
         "((x[int 0:range]:integer == y[int 1:range]:integer):boolean and (y[int 1:range]:integer "
         "< int 1:range):boolean):boolean"},
        {"variable public n : [0..9];\nrule case n of 1 then true | default n < 2 esac;",
         "if (n@1:range = int 1:range):boolean then bool 1:boolean else (n@1:range < int "
         "2:range):boolean:boolean"},
        {"variable public n : [0..9];\nrule (case n of 1 then 2 | default n esac) = 3;",
         "(if (n@1:range = int 1:range):boolean then int 2:range else n@1:range:range = int "
         "3:range):boolean"},
    };
    for (const Shape& row : table) {
        SCOPED_TRACE(row.source);
        EXPECT_EQ(shapes(check(row.source), true), row.expected + std::string("\n"));
    }
}

TEST(Simplify, ExpressionsOfAllTypesCanStandAlone) {
    const Model model = check(
        "constant PI : 3.5; NAME : \"text\"; A : 1.5 + 2.0 * 2.0; B : PI + 1.0; C : -PI; D : -(if "
        "1 < 2 then 1.5 else PI); E : NAME; F : \"PI\"; variable public b : boolean;");
    std::string text;
    for (const ConstantDecl* constant : items<ConstantDecl>(model.project->constantdecllist)) {
        const ExprPtr value(simplify_expr(model.project.get(), model.table.get(), constant->value));
        text += shape(value.get()) + "; ";
    }
    EXPECT_EQ(text, "3.5:float; 'text':string; 5.5:float; (PI@0:float + 1.0:float):float; "
                    "( - PI@0:float):float; -1.5:float; NAME@0:string; PI@0:string; ");
}

TEST(SimplifyTypecon, GivesARecordWhoseEnvironmentIsPushed) {
    const Model model = check("type Part : { public n : [0..3]; f : { b : boolean; }; rule n = 1; "
                              "f.b; }; variable public x : Part;");
    const auto* part = static_cast<TypeDecl*>(plist_hd(model.project->typedecllist));
    PolyHash* environment = nullptr;
    symtbl_lookup_env(model.project->line_info, model.table.get(), part->name, 0, &environment, 0);
    symtbl_push_env(model.table.get(), environment);
    const TypePtr simplified(
        simplify_typecon(model.project.get(), model.table.get(), part->typecon));
    symtbl_pop_env(model.table.get());
    EXPECT_EQ(print(simplified.get()), print(part->typecon));

    TypeCon unknown{};
    unknown.contype = 10;
    EXPECT_EQ(simplify_typecon(model.project.get(), model.table.get(), &unknown), nullptr);
}

TEST(ExpandRules, RewrittenNodesKeepTheirTypesAndLinesAndPathsHaveNone) {
    const Model model = check("variable r : array 2 of { public n : [0..9];\nrule n + 1 < 2; };");
    EXPECT_EQ(shapes(model, false),
              "((r[int 0:range].n@1:range@1 + int 1:range@1):range@1 < int 2:range@1):boolean@1\n"
              "((r[int 1:range].n@1:range@1 + int 1:range@1):range@1 < int 2:range@1):boolean@1\n");
}

constexpr const char* parts_model =
    "type Part : { public size : integer; names : array 2 of { name : string; rule name = \"a\" or "
    "size < 3; }; rule size > 1; }; "
    "variable public parts : array 2 of Part; one : optional Part; c : [red, green]; "
    "rule forall i in [0..1] : (parts[i].size <> 2); c = green;";

TEST(ExpandRules, TellsTheDeclarationOfEachRuleAtTheSamePosition) {
    const Model model = check(parts_model);
    const ListPtr decls(plist_new(nullptr, nullptr, nullptr));
    const ListPtr rules(
        proj_get_expanded_rules_decls(model.project.get(), model.table.get(), true, decls.get()));
    std::string text;
    const PolyListNode* rule = rules->first;
    for (const RuleDecl* decl : items<RuleDecl>(decls.get())) {
        text += print(decl->rule) + " => " + print(static_cast<Expr*>(rule->element)) + "\n";
        rule = rule->next;
    }
    EXPECT_EQ(rule, nullptr);
    EXPECT_EQ(
        text,
        R"(forall i in [0..1] : ((parts[i].size <> 2)) => ((parts[0].size <> 2) and (parts[1].size <> 2))
(c = green) => (c = 1)
(size > 1) => (parts[0].size > 1)
((name = "a") or (size < 3)) => ((parts[0].names[0].name = 1) or (parts[0].size < 3))
((name = "a") or (size < 3)) => ((parts[0].names[1].name = 1) or (parts[0].size < 3))
(size > 1) => (parts[1].size > 1)
((name = "a") or (size < 3)) => ((parts[1].names[0].name = 1) or (parts[1].size < 3))
((name = "a") or (size < 3)) => ((parts[1].names[1].name = 1) or (parts[1].size < 3))
(size > 1) => (one.SOME.size > 1)
((name = "a") or (size < 3)) => ((one.SOME.names[0].name = 1) or (one.SOME.size < 3))
((name = "a") or (size < 3)) => ((one.SOME.names[1].name = 1) or (one.SOME.size < 3))
)");
}

TEST(ExpandRules, StopsBehindTheLastRuleThatWentThrough) {
    const Model model = check("variable r : array 2 of { o : array 2 of { public p : boolean; rule "
                              "p; }; n : { q : optional boolean; rule q = NONE; }; };");
    ListPtr decls(plist_new(nullptr, nullptr, nullptr));
    EXPECT_EQ(thrown([&] {
                  proj_get_expanded_rules_decls(model.project.get(), model.table.get(), false,
                                                decls.get());
              }),
              "1: Could not determine depth of variable");
    EXPECT_EQ(plist_length(decls.get()), 2u);
    while (model.table->local_table->len > 1)
        symtbl_pop_env(model.table.get());
}

TEST(Simplify, LeavesModelAndTableAsTheyWereAndCanBeRepeated) {
    const Model model = check(parts_model);
    const std::string before = print(model.project.get());
    const std::string rules = shapes(model, true);
    const ProjectPtr first(simplify_project(model.project.get(), model.table.get()));
    const ProjectPtr second(simplify_project(model.project.get(), model.table.get()));
    EXPECT_EQ(print(first.get()), print(second.get()));
    EXPECT_EQ(shapes(model, true), rules);
    EXPECT_EQ(print(model.project.get()), before);
    EXPECT_EQ(model.table->local_table->len, 1u);
}

TEST(SimplifyProject, OutlivesItsSourceAndTakesTextsAndLinesAlong) {
    ProjectPtr simplified;
    {
        Model model = check("constant N : 1; variable public n : [0..N];\nrule n = N;");
        model.project->description = str_copy("a description");
        static_cast<RuleDecl*>(plist_hd(model.project->ruledecllist))->comment = str_copy("why");
        simplified.reset(simplify_project(model.project.get(), model.table.get()));
    }
    const auto* variable = static_cast<VarDecl*>(plist_hd(simplified->vardecllist));
    const auto* rule = static_cast<RuleDecl*>(plist_hd(simplified->ruledecllist));
    EXPECT_STREQ(simplified->name, "model.pm");
    EXPECT_STREQ(simplified->description, "a description");
    EXPECT_STREQ(simplified->filename, "model.pm");
    EXPECT_STREQ(rule->comment, "why");
    EXPECT_EQ(at(variable->linenumber) + at(variable->typecon->linenumber) + at(rule->linenumber),
              "@0@0@1");
    EXPECT_EQ(plist_length(simplified->constantdecllist), 0u);
}

// Trees that no source yields.
TEST(Simplify, StopsOnTreesThatTheCheckerWouldHaveRefused) {
    const Model model = check("variable public b : boolean;");
    const auto simplified = [&](Expr* expr) {
        const ExprPtr owner(expr);
        return thrown([&] { simplify_expr(model.project.get(), model.table.get(), expr); });
    };
    const auto number = [](int value) { return expr_new_intconst(OPR_INTCONST, value, 0); };
    const auto loop = [&](int lower, int upper) {
        return expr_new_range(OPR_FORALL, str_copy("i"), number(lower), number(upper), number(1),
                              0);
    };
    EXPECT_EQ(simplified(loop(2, 1)),
              "1: Range begin (2) must be less than range end (1) in expression");
    Expr* unknown = loop(1, 2);
    unknown->opr = OPR_DIV;
    EXPECT_EQ(simplified(unknown), "1: Invalid operator in range expression '9'");
    EXPECT_EQ(simplified(expr_new_idcon(expr_new_simpleid(str_copy("nobody"), 0), 0)),
              "1: symtbl_lookup(in.symboltable, name, 0, &namedata) == STATUS_SUCCESS");
    EXPECT_EQ(thrown([&] { simplify_expr(model.project.get(), model.table.get(), nullptr); }),
              "1: expr");
}

// What is left of a tree that is too deep to be printed whole.
unsigned count_nodes(const Expr* expr) {
    unsigned nodes = 1;
    // All trees here are deep on one side: the left one, or the last one.
    for (;; ++nodes) {
        switch (expr->structure) {
        case EXPR_BINARY: {
            const bool left = expr->args.binargs.leftarg->structure == EXPR_BINARY;
            expr = left ? expr->args.binargs.leftarg : expr->args.binargs.rightarg;
            break;
        }
        case EXPR_UNARY: expr = expr->args.arg; break;
        case EXPR_ITE: expr = expr->args.ite.falseexpr; break;
        default: return nodes;
        }
    }
}

struct Deep {
    const char* name;
    std::string rule;
    unsigned nodes; // on the deep side, simplified
};

void PrintTo(const Deep& deep, std::ostream* stream) {
    *stream << deep.name;
}

class DeepRules : public testing::TestWithParam<Deep> {};

TEST_P(DeepRules, AreSimplifiedAndExpandedOnASmallStack) {
    with_small_stack([] {
        const std::string rules = "rule " + GetParam().rule + "; ";
        const Model model = check("variable public b : array 3 of boolean; n : [0..9]; r : array 2 "
                                  "of { private n : [0..9]; b : array 3 of boolean; " +
                                  rules + "}; " + rules);
        ASSERT_TRUE(model.table);
        const ListPtr plain(proj_get_expanded_rules(model.project.get(), model.table.get(), 0));
        EXPECT_EQ(plist_length(plain.get()), 3u);
        const ListPtr flat(proj_get_expanded_rules(model.project.get(), model.table.get(), 1));
        EXPECT_EQ(plist_length(flat.get()), 3u);
        for (const Expr* rule : items<Expr>(flat.get()))
            EXPECT_EQ(count_nodes(rule), GetParam().nodes);
    });
}

INSTANTIATE_TEST_SUITE_P(
    Chains, DeepRules,
    testing::Values(
        Deep{"Conjunction", "b[0]" + repeated(" and b[1]", 100000), 100001},
        Deep{"Loop", "forall i in [1..100000] : (b[0])", 100000},
        Deep{"Nots", repeated("not ", 190000) + "b[0]", 190001},
        Deep{"Conditionals", repeated("if b[0] then b[1] else ", 30000) + "b[2]", 30001},
        Deep{"Negations", "1 = " + repeated("-", 100000) + "n", 100002},
        Deep{"NegatedSums", "1 = " + repeated("-(1 + ", 40000) + "n" + repeated(")", 40000), 80002},
        Deep{"NegationsInALoop",
             "forall i in [1..2] : (1 = " + repeated("-", 50000) + "(if 1 < 2 then n else n))",
             50003},
        Deep{"Cases",
             repeated("case n of 1 then b[0] | default ", 20000) + "b[1]" +
                 repeated(" esac", 20000),
             20001}),
    [](const auto& test) { return std::string(test.param.name); });

TEST(Simplify, DeepTypesPassOnASmallStack) {
    with_small_stack([] {
        const Model model = check("variable public x : " + repeated("array 1 of ", 60000) +
                                  "boolean; r : " + repeated("{ public f : ", 1000) +
                                  repeated("array 1 of ", 20000) +
                                  "{ public p : boolean; rule p; }" + repeated("; }", 1000) + ";");
        ASSERT_TRUE(model.table);
        const ListPtr rules(proj_get_expanded_rules(model.project.get(), model.table.get(), 1));
        ASSERT_EQ(plist_length(rules.get()), 1u);
        const std::string rule = print(static_cast<Expr*>(plist_hd(rules.get())));
        EXPECT_EQ(rule, "r" + repeated(".f", 1000) + repeated("[0]", 20000) + ".p");
        const ProjectPtr simplified(simplify_project(model.project.get(), model.table.get()));
        EXPECT_EQ(plist_length(simplified->vardecllist), 2u);
    });
}

} // namespace
} // namespace norvane::test
