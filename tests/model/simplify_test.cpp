// Simplification and rule expansion. What printed results show stands in data files, a row for each
// model; here is what only the API shows: types and lines of nodes, labels, owners, and trees that
// are deep.
#include "shape.h"

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

void expect_rows(const std::string& name,
                 const std::function<std::string(const std::string&)>& run) {
    const std::string path = "model/data/simplify/" + name;
    EXPECT_EQ(test_data(path), test_data_rerun(path, run));
}

TEST(Simplify, RulesAreThoseOfTheTable) {
    expect_rows("rules.txt", [](const std::string& s) { return rules_or_failure(s, true); });
}

TEST(ExpandRules, InstancesAreThoseOfTheTable) {
    expect_rows("expansion.txt", [](const std::string& source) {
        const std::string plain = rules_or_failure(source, false);
        const std::string simplified = rules_or_failure(source, true);
        return plain == simplified ? plain : plain + " ~ " + simplified;
    });
}

// " NAME: LABEL LABEL ..." for each unbounded type below a type, as the exporters find them.
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
    expect_rows("types.txt", project_or_failure);
}

std::string shapes(const Model& model, bool simplify) {
    const ListPtr rules(proj_get_expanded_rules(model.project.get(), model.table.get(), simplify));
    std::string text;
    for (Expr* rule : items<Expr>(rules.get()))
        text += shape(rule) + "\n";
    return text;
}

TEST(Simplify, NodesAreTypedAndOnlyEvaluatedNegationsKeepTheirLine) {
    expect_rows("shapes.txt", [](std::string source) {
        std::replace(source.begin(), source.end(), '^', '\n');
        return shapes(check(source), true);
    });
}

TEST(ExpandRules, RewrittenNodesKeepTheirTypesAndLinesAndPathsHaveNone) {
    const Model model = check("variable r : array 1 of { public n : [0..9];\nrule n + 1 < 2; };");
    EXPECT_EQ(shapes(model, false), "((r[0].n + 1) < 2) | 10:boolean@1 6:range@1 "
                                    "27:range@1/[ 23:range]/@1 23:range@1 23:range@1\n");
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
    std::string order;
    const PolyListNode* rule = rules->first;
    for (const RuleDecl* decl : items<RuleDecl>(decls.get())) {
        const std::string flat = print(static_cast<Expr*>(rule->element));
        order += print(decl->rule).substr(0, 9) + " => " + flat.substr(0, 17) + "\n";
        rule = rule->next;
    }
    EXPECT_EQ(rule, nullptr);
    EXPECT_EQ(order, "forall i  => ((parts[0].size <\n(c = gree => (c = 1)\n"
                     "(size > 1 => (parts[0].size > \n((name =  => ((parts[0].names[\n"
                     "((name =  => ((parts[0].names[\n(size > 1 => (parts[1].size > \n"
                     "((name =  => ((parts[1].names[\n((name =  => ((parts[1].names[\n"
                     "(size > 1 => (one.SOME.size > \n((name =  => ((one.SOME.names[\n"
                     "((name =  => ((one.SOME.names[\n");
}

TEST(ExpandRules, StopAfterTheLastRuleThatWentThrough) {
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

} // namespace
} // namespace norvane::test
