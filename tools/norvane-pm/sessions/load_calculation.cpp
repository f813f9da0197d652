#include "load_calculation.h"

#include <string>

#include "calculation_faults.h"
#include "forms.h"
#include "load_model.h"
#include "output.h"
#include "refused_calculation.h"
#include "standard_input.h"

namespace norvane::driver {
namespace {

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
Calculation& load(Session& session, const CheckedModel* model) {
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

} // namespace

Calculation& load_calculation(Session& session) {
    return load(session, nullptr);
}

void load_and_check_calculation(Session& session) {
    const CalcForm form = checked_form(session);
    const CheckedModel& model = load_and_check_model(session);
    const Calculation& calculation = load(session, &model);
    session.begin(Step::check_functions, session.subject);
    CalculationReports held(session, &model, is_source(form));
    // The library's check stops at a call without a namespace.
    const bool is_checkable = !is_source(form) || !has_bare_call(calculation);
    if (is_checkable && calculation.check(model, held.sink())) return;
    held.show();
    throw InputAtFault();
}

} // namespace norvane::driver
