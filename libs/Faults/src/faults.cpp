// The driver's checks of a source, without its command line and its printing.
#include "norvane/faults.hpp"

#include <stdexcept>

#include "norvane/base/memory.h"

#include "load_calculation.h"
#include "load_model.h"
#include "run.h"
#include "temporaries.h"
#include "text.h"
#include "warned_model.h"

namespace norvane {
namespace {

void check(driver::Session& session) {
    show_warnings(session, load_and_check_model(session), driver::Made::nothing);
}

// "-" is a file here, and not standard input, which belongs to the program.
std::string name_of(const std::filesystem::path& file) {
    return file == "-" ? "./-" : file.string();
}

driver::Options options_for(const std::filesystem::path& model, const FaultOptions& wanted) {
    driver::Options options;
    options.format = driver::Format::json; // which adds no advice for users of the driver
    options.file = name_of(model);
    options.cpp_args = wanted.cpp_args;
    options.max_errors = 0;
    for (const std::string& word : wanted.warnings)
        if (!options.warnings.take(word))
            throw std::invalid_argument("there is no warning '" + word + "'");
    return options;
}

std::vector<Fault> run(const driver::Options& options, void (*command)(driver::Session&)) try {
    driver::leave_signals_alone();
    util_throw_scanner_failures(1); // which would end the program
    return driver::findings_of(options, command);
} catch (const driver::WrongUsage& wrong) {
    throw std::invalid_argument(wrong.text);
}

} // namespace

std::vector<Fault> find_faults(const std::filesystem::path& model, const FaultOptions& options) {
    return run(options_for(model, options), check);
}

std::vector<Fault> find_calculation_faults(const std::filesystem::path& calculation,
                                           const std::filesystem::path& model,
                                           const FaultOptions& options) {
    driver::Options all = options_for(model, options);
    all.calculation = name_of(calculation);
    return run(all, driver::load_and_check_calculation);
}

std::string fault_text_to_utf8(std::string_view text) {
    return driver::to_utf8(text);
}

} // namespace norvane
