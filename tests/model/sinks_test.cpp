// What a host may do in its error sink, and what the library is like afterwards.
#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <stdexcept>
#include <thread>

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
    std::string file(const char* content) { return directory_.write("in", content); }

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

    TemporaryDirectory directory_;
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

std::ptrdiff_t open_descriptors() {
    const std::filesystem::directory_iterator all("/proc/self/fd");
    return std::distance(begin(all), end(all));
}

TEST_F(Sinks, MayThrowCppExceptions) {
    const std::ptrdiff_t descriptors = open_descriptors();
    for (const Operation& operation : operations_) {
        Reports before;
        operation.run();
        const std::string names = before.names();
        ASSERT_NE(names, "") << operation.name;
        msg_set_error_sink(throw_from_sink, nullptr);
        const std::string first = names.substr(0, names.find(' '));
        EXPECT_EQ(unwound(operation.run), first) << operation.name;
        EXPECT_EQ(__exception_last, nullptr) << operation.name;
        EXPECT_EQ(open_descriptors(), descriptors) << operation.name;
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

// What a second call throws while the first is in its sink.
struct SecondCall {
    bool in_other_thread;
    const Operation* operation;
    std::string thrown_text;
    bool is_running;
};

void call_from_sink(ErrorType, ErrorInfo* error, void* user) {
    err_delete(error);
    auto* second = static_cast<SecondCall*>(user);
    if (second->is_running) return;
    second->is_running = true;
    const auto call = [&] { second->thrown_text = thrown(second->operation->run); };
    if (second->in_other_thread)
        std::thread(call).join();
    else
        call();
    second->is_running = false;
}

TEST_F(Sinks, OtherThreadsAreRefusedWhileACallIsRunning) {
    for (const Operation& first : operations_)
        for (const Operation& second : operations_) {
            SecondCall call = {true, &second, "", false};
            msg_set_error_sink(call_from_sink, &call);
            EXPECT_EQ(thrown(first.run), "") << first.name;
            EXPECT_TRUE(call.thrown_text.ends_with(": another thread is using the library"))
                << second.name << " in " << first.name << ": " << call.thrown_text;
            EXPECT_EQ(__exception_last, nullptr);
        }
    msg_set_error_sink(nullptr, nullptr);
    const Reports reports;
    std::thread(operations_[0].run).join(); // and are served when it has ended
    EXPECT_NE(reports.names(), "");
}

TEST_F(Sinks, AThreadWithoutAFrameAborts) {
    const auto load_in_other_thread = [](ErrorType, ErrorInfo*, void* user) {
        std::thread(static_cast<const Operation*>(user)->run).join();
    };
    for (const Operation& operation : operations_) {
        msg_set_error_sink(load_in_other_thread, const_cast<Operation*>(&operation));
        EXPECT_EXIT(thrown(operation.run), testing::KilledBySignal(SIGABRT),
                    ": another thread is using the library\n$")
            << operation.name;
    }
    msg_set_error_sink(nullptr, nullptr);
}

TEST_F(Sinks, ALoadWithinALoadOfTheSameKindIsRefused) {
    for (const Operation& first : operations_) {
        const bool is_load =
            std::string(first.name) == "model" || std::string(first.name) == "calculation";
        SecondCall call = {false, &first, "", false};
        msg_set_error_sink(call_from_sink, &call);
        EXPECT_EQ(thrown(first.run), "") << first.name;
        EXPECT_EQ(call.thrown_text.ends_with(": called while such a call is running"), is_load)
            << first.name << ": " << call.thrown_text;
        Reports reports;
        first.run();
        EXPECT_NE(reports.names(), "") << first.name;
    }
}

} // namespace
} // namespace norvane::test
