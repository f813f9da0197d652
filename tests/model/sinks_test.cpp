// What a host may do in its error sink, and what the library is like afterwards.
#include <gtest/gtest.h>

#include <functional>
#include <stdexcept>

#include "norvane/base/except.h"
#include "support.h"

namespace norvane::test {
namespace {

// One call of each kind, which makes a report.
struct Operation {
    const char* name;
    std::function<void()> run;
};

class Sinks : public ::testing::Test {
  protected:
    std::string file(const char* content) { return folder_.write("in", content); }

    void load_model() {
        const std::string path = file("variable public x : [1..;\n");
        const ListPtr none(plist_new(nullptr, nullptr, nullptr));
        ProjectPtr(proj_import_from_pmfile(const_cast<char*>(path.c_str()), none.get()));
    }
    void check_calculation() {
        const Model model = check("variable public x : boolean;");
        const CalcPtr calc(calc_import_from_string("namespace N { integer f() = 0.5; }"));
        calc_check_functions(calc.get(), model.table.get());
    }

    TemporaryFolder folder_;
    const std::vector<Operation> operations_ = {
        {"model", [this] { load_model(); }},
        {"check", [] { check("rule 1 + \"text\" = 2;"); }},
        {"model XML", [this] { ProjectPtr(proj_import_from_xmlfile(file("<other/>").c_str())); }},
        {"calculation", [] { CalcPtr(calc_import_from_string("function ;")); }},
        {"calculation check", [this] { check_calculation(); }},
        {"calculation XML",
         [this] { CalcPtr(calc_import_from_xmlfile(file("<calcs><calc/></calcs>").c_str())); }},
        {"presentation", [this] { pres_import(file("<other/>").c_str()); }},
        {"variable order",
         [this] {
             ListPtr(
                 var_order_import(file("<var_order><var>a</var><var>a</var></var_order>").c_str()));
         }},
        {"workspace", [this] { zeb_workspace_load(file("<other/>").c_str()); }},
    };
};

void throw_from_sink(ErrorType, ErrorInfo* error, void*) {
    const std::runtime_error thrown(error->name);
    err_delete(error);
    throw thrown;
}

TEST_F(Sinks, MayThrowCppExceptions) {
    for (const Operation& operation : operations_) {
        Reports before;
        operation.run();
        const std::string names = before.names();
        ASSERT_NE(names, "") << operation.name;
        msg_set_error_sink(throw_from_sink, nullptr);
        const std::string first = names.substr(0, names.find(' '));
        EXPECT_EQ(unwound(operation.run), first) << operation.name;
        EXPECT_EQ(__exception_last, nullptr) << operation.name;
        ExceptionState state;
        EXPECT_EQ(except_catch([](void*) { NORVANE_FAIL("caught"); }, nullptr, &state), 1);
        EXPECT_EXIT(except_fail(7, "host.cpp", "no frame"), testing::KilledBySignal(SIGABRT),
                    "^host.cpp:7: no frame\n$")
            << operation.name;
        Reports after;
        operation.run();
        EXPECT_EQ(after.names(), names) << operation.name;
    }
}

} // namespace
} // namespace norvane::test
