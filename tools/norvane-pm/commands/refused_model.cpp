#include "refused_model.h"

#include <algorithm>
#include <array>

#include "faults.h"
#include "models.h"
#include "output.h"
#include "preprocessed.h"
#include "temporaries.h"

namespace norvane::pm {
namespace {

bool is_about_syntax(const Report& report) {
    const std::string_view name = report.name;
    return name == "ERR_PARSER" || name.starts_with("ERR_GRAM_") ||
           name.starts_with("ERR_INVALID_");
}

// Nesting that the parser has no room for: no correction helps, and to look for more takes long.
bool is_about_depth(const Report& report) {
    return report.message.find("stack overflow") != std::string::npos;
}

// Nothing where the search takes more than the command line allows: the library's own report, which
// ended its check, took less.
std::vector<Finding> find_all(const SourceText& source) try {
    return find_faults(source);
} catch (const InternalFailure& failure) {
    if (failure.kind() != EXCEPT_STOPPED) throw;
    note_throw();
    return {};
}

// What a check says of the model as a whole, and no declaration has.
bool is_about_model(const Report& report) {
    return report.name == "ERR_NO_VARS" || report.name == "ERR_NO_PUBLIC_VARS";
}

} // namespace

std::unique_ptr<SourceText> read_source(const Session& session) {
    const Options& options = session.options;
    if (model_form(options.from, options.file) == ModelForm::xml) return nullptr;
    const TemporaryDirectory of_the_preprocessor;
    std::vector<std::string> cpp_args = options.cpp_args;
    SourceFiles files;
    std::string file = options.file;
    if (session.standard_input) {
        file = session.standard_input->begin(cpp_args);
        files.set(input_name(options.file), session.standard_input->text());
    }
    auto text = preprocessed_text(file, cpp_args);
    if (!text) return nullptr;
    return std::make_unique<SourceText>(*std::move(text), input_name(options.file),
                                        std::move(files));
}

OnReport HeldReports::sink() {
    return [this](const Report& report) {
        if (report.is_error())
            reports_.push_back(report);
        else if (warnings_ == Warnings::shown)
            session_.diagnostics.report(report);
    };
}

bool HeldReports::are_faults() const {
    if (std::ranges::any_of(reports_, is_about_depth)) return false;
    return session_.step == Step::check || std::ranges::any_of(reports_, is_about_syntax);
}

std::vector<Finding> HeldReports::findings() const {
    const Options& options = session_.options;
    if (options.first || !are_faults()) return {};
    const std::unique_ptr<SourceText> source = read_source(session_);
    if (!source) return {};
    std::vector<Finding> findings = find_all(*source);
    if (findings.empty()) return {};
    for (const Report& report : reports_)
        if (is_about_model(report)) findings.push_back(session_.diagnostics.finding_of(report));
    return findings;
}

void HeldReports::show() const {
    const std::vector<Finding> all = findings();
    if (all.empty())
        for (const Report& report : reports_)
            session_.diagnostics.report(report);
    const std::size_t most = session_.options.max_errors;
    const std::size_t shown = most == 0 ? all.size() : std::min(most, all.size());
    for (std::size_t i = 0; i < shown; ++i)
        session_.diagnostics.report(all[i]);
    if (shown < all.size())
        session_.diagnostics.say(std::to_string(all.size() - shown) +
                                 " more errors: --max-errors=0 shows all of them");
}

} // namespace norvane::pm
