#include "calculations.h"

#include <algorithm>
#include <cstdio>
#include <utility>
#include <vector>

#include <nlohmann/json.hpp>

#include "calculation_faults.h"
#include "models.h"
#include "output.h"
#include "refused_calculation.h"
#include "standard_input.h"

namespace norvane::driver {
namespace {

// The form of a calculation's file, by its extension, if the options do not say it.
CalcForm calculation_form(CalcForm said, const std::string& file) {
    if (said != CalcForm::unknown) return said;
    switch (util_get_filetype(file.c_str())) {
    case FILETYPE_CL: return CalcForm::source;
    case FILETYPE_CLX: return CalcForm::xml;
    case FILETYPE_MUB: return CalcForm::package;
    default: return CalcForm::unknown;
    }
}

// `info` takes a calculation in the place of a model.
const std::string& calculation_file(const Options& options) {
    return options.calculation.empty() ? options.file : options.calculation;
}

// The model whose calculation is taken out of a package: the one of the package's name, unless
// another is named.
std::string model_in_package(const Options& options) {
    std::string name = options.package_model;
    if (name.empty()) {
        const std::string& file = calculation_file(options);
        const std::size_t directory = file.find_last_of("/\\") + 1; // 0 where there is none
        name = file.substr(directory, file.rfind('.') - directory);
    }
    return utf8_to_codepage(name);
}

bool is_source(CalcForm form) {
    return form == CalcForm::source || form == CalcForm::unknown;
}

Result<Calculation> read(const Session& session, CalcForm form, const std::string& file,
                         const OnReport& on_report) {
    switch (form) {
    case CalcForm::xml: return Calculation::from_xml(file, on_report);
    case CalcForm::package:
        return Calculation::from_package(file, model_in_package(session.options), on_report);
    case CalcForm::source:
    case CalcForm::unknown: break;
    }
    const DroppedOutput no_results_yet;
    return Calculation::from_source(file, on_report);
}

// Checks what the command line says of the calculation, before anything is read.
CalcForm checked_form(const Session& session) {
    const Options& options = session.options;
    const CalcForm form = calculation_form(options.calc_from, calculation_file(options));
    check_standard_input(session);
    if (form == CalcForm::package && options.calculation == "-")
        throw WrongUsage{"a package is read from a file, and not from standard input: -"};
    return form;
}

// A function that is reported as defined twice is missing from what was loaded: nothing must be
// made of that.
Calculation& load_calculation(Session& session, const CheckedModel* model = nullptr) {
    const CalcForm form = checked_form(session);
    const std::string file = input_name(calculation_file(session.options));
    session.begin_load(file);
    if (is_source(form) && calculation_file(session.options) == "-") keep_standard_input();
    CalculationReports held(session, model, is_source(form));
    Result<Calculation> result = read(session, form, file, held.sink());
    if (result.has_errors()) {
        held.show();
        throw InputAtFault();
    }
    Calculation& calculation = session.take(std::move(result));
    session.calculation = &calculation;
    return calculation;
}

bool is_external(const CFunc* func) {
    const auto* first = static_cast<const CStmt*>(plist_hd(func->stmts));
    return first && first->structure == CSTMT_EXTERNAL;
}

// How deep the statements of a function nest. XML may nest them as deep as it likes, hence no
// recursion.
class StatementDepth {
  public:
    explicit StatementDepth(const CFunc* func) {
        add(func->stmts, 1);
        while (!pending_.empty()) {
            const auto [stmt, depth] = pending_.back();
            pending_.pop_back();
            deepest_ = std::max(deepest_, depth);
            add_parts(stmt, depth + 1);
        }
    }
    unsigned deepest() const { return deepest_; }

  private:
    void add(const CStmt* stmt, unsigned depth) {
        if (stmt) pending_.emplace_back(stmt, depth);
    }
    void add(const PolyList* stmts, unsigned depth) {
        for (const CStmt* stmt : items<CStmt>(stmts))
            add(stmt, depth);
    }
    void add_cases(const CStmt* stmt, unsigned depth) {
        for (const CCase* branch : items<CCase>(stmt->args.switch_args.cases))
            add(branch->stmts, depth);
        if (const CCase* branch = stmt->args.switch_args.default_case) add(branch->stmts, depth);
    }
    void add_parts(const CStmt* stmt, unsigned depth) {
        switch (stmt->structure) {
        case CSTMT_ITE:
            add(stmt->args.ite.then_stmt, depth);
            return add(stmt->args.ite.else_stmt, depth);
        case CSTMT_BLOCK: return add(stmt->args.block_stmts, depth);
        case CSTMT_SWITCH: return add_cases(stmt, depth);
        case CSTMT_WHILE: return add(stmt->args.while_args.stmt, depth);
        case CSTMT_DO: return add(stmt->args.do_args.stmt, depth);
        case CSTMT_FOR: return add(stmt->args.for_args.stmt, depth);
        case CSTMT_EXPR:
        case CSTMT_RETURN:
        case CSTMT_BREAK:
        case CSTMT_EXTERNAL: return;
        }
    }

    std::vector<std::pair<const CStmt*, unsigned>> pending_;
    unsigned deepest_ = 0;
};

// Refuses a calculation whose statements nest deeper than those of any source can; the blanks
// before them would fill a disk.
void check_depth_for_source(Session& session, const Calculation& calculation) {
    constexpr unsigned deepest_in_source = 10000;
    for (const auto& [ns, func] : calculation.functions()) {
        if (StatementDepth(func).deepest() <= deepest_in_source) continue;
        session.diagnostics.say(session.subject + ": the statements of " + ns->name + "." +
                                func->name + " are nested too deeply for source");
        throw InputAtFault();
    }
}

// "integer System.Max(integer a, integer b)"
void print_as_text(const CFuncSignature& row) {
    std::printf("%s %s.%s(", calc_type2string(row.type), row.ns_name, row.fn_name);
    for (const auto* argument = row.args; argument->name; ++argument)
        std::printf("%s%s %s", argument == row.args ? "" : ", ", calc_type2string(argument->type),
                    argument->name);
    std::puts(")");
}

void print_as_json(const CFuncSignature& row) {
    nlohmann::ordered_json arguments = nlohmann::ordered_json::array();
    for (const auto* argument = row.args; argument->name; ++argument)
        arguments.push_back({{"name", argument->name}, {"type", calc_type2string(argument->type)}});
    const nlohmann::ordered_json json = {{"namespace", row.ns_name},
                                         {"function", row.fn_name},
                                         {"type", calc_type2string(row.type)},
                                         {"arguments", arguments}};
    std::puts(json.dump().c_str());
}

} // namespace

bool is_calculation(const Options& options) {
    return options.from == ModelForm::unknown &&
           calculation_form(CalcForm::unknown, options.file) != CalcForm::unknown;
}

void info_calculation(Session& session) {
    if (!session.options.cpp_args.empty())
        throw WrongUsage{"-I, -D and -U have no meaning for a calculation: " +
                         session.options.file};
    const Calculation& calculation = load_calculation(session);
    const std::vector<CalculationFunction> functions = calculation.functions();
    const auto external = std::ranges::count_if(
        functions, [](const CalculationFunction& function) { return is_external(function.func); });
    std::printf("%s\n", session.subject.c_str());
    std::printf("  namespaces  %zu\n", calculation.namespaces().size());
    std::printf("  functions   %zu (%td external)\n", functions.size(), external);
}

void check_calculation(Session& session) {
    const CalcForm form = checked_form(session);
    const CheckedModel& model = load_and_check_model(session);
    const Calculation& calculation = load_calculation(session, &model);
    session.begin(Step::check_functions, session.subject);
    CalculationReports held(session, &model, is_source(form));
    // The library's check has no answer to a call without a namespace.
    const bool is_checkable = !is_source(form) || !has_bare_call(calculation);
    if (is_checkable && calculation.check(model, held.sink())) return;
    held.show();
    throw InputAtFault();
}

void print_calculation(Session& session) {
    const Calculation& calculation = load_calculation(session);
    check_depth_for_source(session, calculation);
    session.begin(Step::print, session.subject);
    calculation.print(stdout);
    results_refused();
}

void convert_calculation(Session& session) {
    const Options& options = session.options;
    const CalcForm to = calculation_form(options.calc_to, options.output);
    if (to != CalcForm::source && to != CalcForm::xml)
        throw WrongUsage{"cannot tell the output format from the file name; use --to=cl or "
                         "--to=clx: " +
                         options.output};
    const Calculation& calculation = load_calculation(session);
    if (to == CalcForm::source) check_depth_for_source(session, calculation);
    session.write_output([&](std::FILE* stream) {
        if (to == CalcForm::xml)
            calculation.write_xml(stream, !options.without_lines);
        else
            calculation.print(stream);
    });
}

void list_builtins(Session& session) {
    // The rows follow each other, up to one without a name.
    const CFuncSignature* row = calc_get_build_in_func_signature("CtrlMngr", "AssignFloat");
    for (; row->ns_name; ++row)
        session.options.format == Format::json ? print_as_json(*row) : print_as_text(*row);
}

} // namespace norvane::driver
