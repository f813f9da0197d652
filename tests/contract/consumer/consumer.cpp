// A program outside of this project, in C++: it loads, checks, simplifies and expands a model, and
// prints what it gets and what is reported, to be compared with what the driver says. It uses the
// C++ face alone, and tries what that promises beside: reports in the result and one by one, the
// sink of others that is put back, failures as exceptions that leave the values valid.
#include <cstdio>
#include <string>
#include <utility>

#include <norvane/proj.hpp>

namespace {

using namespace norvane;

void print_report(const Report& report) {
    std::printf("report %d %s: %s\n", report.severity, report.name.c_str(), report.title.c_str());
}

bool throws_become_exceptions() {
    try {
        call([] { proj_import_from_pmfile(nullptr, nullptr); });
    } catch (const InternalFailure& failure) {
        return failure.kind() == EXCEPT_ASSERTION &&
               failure.what() == std::string("user_filename") && failure.line() > 0 &&
               std::string(failure.file()).find("loadpmfile") != std::string::npos &&
               !__exception_last;
    }
    return false;
}

void count_report(ErrorType, ErrorInfo* error, void* count) {
    ++*static_cast<int*>(count);
    err_delete(error);
}

// A report is whole, in its parts too; it comes to the handler, whose exception ends the call after
// the reports; and the sink that was there before is there again.
bool reports_are_gathered() {
    int others = 0;
    msg_set_error_sink(count_report, &others);
    const auto missing = [] {
        msg_report_error(ERROR_TYPE_ERROR, ERR_ID_UNDECLARED("a (b) (12): ", "x"));
        msg_report_error(ERROR_TYPE_WARNING, ERR_FILE_OPEN("y"));
        return 7;
    };
    const auto gathered = gather(missing);
    bool passed_on = false;
    try {
        gather(missing, [](const Report& report) { throw std::string(report.name); });
    } catch (const std::string& name) {
        passed_on = name == "ERR_ID_UNDECLARED";
    }
    const bool is_quiet = others == 0;
    msg_report_error(ERROR_TYPE_ERROR, ERR_FILE_OPEN("z"));
    msg_set_error_sink(nullptr, nullptr);
    const Report& first = gathered.reports.at(0);
    return passed_on && is_quiet && others == 1 && gathered.value == 7 &&
           gathered.reports.size() == 2 && first.is_error() && first.file == "a (b)" &&
           first.line == 12 && first.message == "Undeclared identifier 'x'" &&
           !first.paragraphs.empty() && !first.paragraphs[0].runs.at(0).text.empty() &&
           !gathered.reports[1].is_error() && gathered.reports[1].file.empty();
}

// What a body makes has an owner, also when its reports end the call; and a body may make nothing.
bool what_is_gathered_is_owned() {
    static int released = 0;
    struct Owner {
        explicit Owner(int*) {}
        Owner(Owner&& other) noexcept : is_moved(std::exchange(other.is_moved, true)) {}
        ~Owner() { released += !is_moved; }
        bool is_moved = false;
    };
    const auto warn = [] { msg_report_error(ERROR_TYPE_WARNING, ERR_FILE_OPEN("y")); };
    const auto make = [warn] { return warn(), &released; };
    try {
        gather<Owner>(make, [](const Report&) { throw 1; });
    } catch (int) {
        const auto made = gather<Owner>(make);
        return released == 1 && made.reports.size() == 1 && gather(warn).reports.size() == 1;
    }
    return false;
}

bool writes_source(const Model& model) {
    return model.write_source("/dev/null") && !model.write_source("/nowhere/a.pm") &&
           model.write_source("/nowhere/a.pm").reports().size() == 1;
}

// A model that failed is still its owner's, and can be checked again.
int refuse(Model& model) {
    const auto again = CheckedModel::check(std::move(model), print_report);
    return !again && again.has_errors() && model.get() ? 1 : 2;
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 2 || !throws_become_exceptions() || !reports_are_gathered() ||
        !what_is_gathered_is_owned())
        return 2;
    auto model = Model::from_source(argv[1], {}, print_report);
    if (!model) return 1;
    if (!writes_source(*model)) return 2;
    const auto checked = CheckedModel::check(std::move(*model));
    if (!checked) return checked.reports().size() == 1 ? refuse(*model) : 2;
    const Model finite = checked->simplify();
    const FlatRules rules = checked->rules(RuleForm::simplified, RuleOrigins::kept);
    std::printf("variables %td\n",
                std::distance(finite.variables().begin(), finite.variables().end()));
    for (const FlatRule rule : rules) {
        if (!rule.origin || checked->model().position(rule.origin->linenumber).empty()) return 2;
        ppm_print_expr(stdout, rule.expr);
        std::putchar('\n');
    }
}
