#include "refused_calculation.h"

#include <algorithm>

#include "calculation_faults.h"

namespace norvane::driver {

bool CalculationReports::is_input_at_fault() const {
    return session().step == Step::check_functions ||
           std::ranges::any_of(reports(), [](const Report& report) {
               return is_about_syntax(report) || report.name.starts_with("ERR_CALC_");
           });
}

std::vector<Finding> CalculationReports::all_faults() const {
    if (!is_source_) return {};
    const std::string& file = session().subject;
    SourceFiles files;
    const std::string text(files.rest(file, 1));
    return find_calculation_faults({text, file, std::move(files), Language::calculation}, model_);
}

} // namespace norvane::driver
