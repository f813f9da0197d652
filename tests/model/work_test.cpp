// What the mark of the library's work tells a host after a stop, and that its watch can end a run
// that would take hours.
#include "test.h"

namespace norvane::test {
namespace {

// "rule 2 of 10 turns": the kind and line of the declaration that the mark names, and its loop.
std::string marked() {
    std::string text;
    const void* subject = work_mark.subject;
    const auto line = [](unsigned linenumber) { return std::to_string(linenumber & 0xffff); };
    if (work_mark.kind == WORK_CONSTANT)
        text = "constant " + line(static_cast<const ConstantDecl*>(subject)->linenumber);
    if (work_mark.kind == WORK_TYPE)
        text = "type " + line(static_cast<const TypeDecl*>(subject)->linenumber);
    if (work_mark.kind == WORK_VARIABLE)
        text = "variable " + line(static_cast<const VarDecl*>(subject)->linenumber);
    if (work_mark.kind == WORK_RULE)
        text = "rule " + line(static_cast<const RuleDecl*>(subject)->linenumber);
    if (work_mark.turns != 0) text += " of " + std::to_string(work_mark.turns) + " turns";
    return text;
}

struct Work {
    std::string step;
    Project* project;
    SymbolTable* table;
};

void run(void* user) {
    auto* work = static_cast<Work*>(user);
    if (work->step == "check") work->table = ssem_check_project(work->project);
    if (work->step == "simplify") proj_delete(simplify_project(work->project, work->table));
    if (work->step == "expand")
        plist_delete(proj_get_expanded_rules(work->project, work->table, 1));
}

// Runs a step, and returns the kind of its throw and the mark; "" without a throw. Before a step
// after the check, the upper bound of the first rule is raised if that rule is a loop.
std::string stopped(const std::string& source, const std::string& step) {
    const Reports reports;
    const ProjectPtr project = parse(source);
    Work work{step, project.get(), nullptr};
    TablePtr table;
    if (step != "check") {
        table.reset(ssem_check_project(project.get()));
        work.table = table.get();
        if (!table) return "refused";
        const PolyList* rules = project->ruledecllist;
        auto* first = static_cast<RuleDecl*>(plist_hd(rules));
        if (first && first->rule->structure == EXPR_RANGE)
            first->rule->args.range.rangeend->args.intconst.value = 2'000'000'000;
    }
    work_set_watch([](const WorkMark*, void*) { except_throw(EXCEPT_STOPPED, __LINE__, __FILE__); },
                   nullptr);
    work_begin();
    const std::string failure = thrown([&work] { run(&work); });
    work_set_watch(nullptr, nullptr);
    std::string text = failure.empty() ? "" : failure.substr(0, failure.find(':')) + " " + marked();
    work_begin();
    return text;
}

TEST(Work, AStopNamesTheInnermostDeclaration) {
    const std::string equations = "variable public i, j : integer;\nrule i = 3 or j = 3;\n";
    const std::string record =
        "type T : {\n n : [0..3];\n m : integer;\n rule n = 1;\n N < m;\n};\n"
        "variable public t : T;";
    const std::string rows[][3] = {
        {"variable public f : float;\nrule f = 1.0;\n-f < 1.0;", "check", "1 rule 2"},
        {"constant N : 2;\n" + record, "check", "1 rule 5"},
        {equations + "exist k in [0..1] : (order(i) = order(j));", "simplify", "1 rule 2"},
        {equations + "exist k in [0..1] : (order(i) = order(j));", "expand", "1 rule 2"},
        {"constant N : 1;\nC : sum i in [0..2000000000] : (i);\nvariable public x : boolean;",
         "check", "4 constant 1 of 2000000001 turns"},
        {"variable public x : boolean;\nr : {\n rule forall i in [0..2000000000] : (x);\n};",
         "check", "4 rule 2 of 2000000001 turns"},
        {"variable public x : boolean;\nrule forall i in [0..1] : (x);", "simplify",
         "4 rule 1 of 2000000001 turns"},
        {"variable public x : boolean;\nrule forall i in [0..1] : (x);", "expand",
         "4 rule 1 of 2000000001 turns"},
        {"variable public x : boolean;\nr : array 1000000000 of array 2 of {\n y : boolean;\n rule "
         "y;"
         "\n};",
         "expand", "4 variable 4 of 1000000000 turns"},
    };
    for (const auto& row : rows)
        EXPECT_EQ(stopped(row[0], row[1]), row[2]) << row[0];
}

} // namespace
} // namespace norvane::test
