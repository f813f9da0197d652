#include "load_model.h"

#include <algorithm>
#include <memory>
#include <optional>
#include <string_view>
#include <unordered_set>

#include "forms.h"
#include "output.h"
#include "preprocessor_reports.h"
#include "refused_model.h"
#include "source_hints.h"
#include "temporaries.h"

namespace norvane::driver {
namespace {

Result<Model> read_from_standard_input(Session& session, const std::string& name,
                                       const OnReport& on_report) {
    session.standard_input = StandardInput::read(name);
    if (session.standard_input) {
        session.diagnostics.set_source(name, session.standard_input->text());
        return session.standard_input->load(session.options.cpp_args, on_report);
    }
    session.report([&name] { return ERR_FILE_OPEN(name.c_str()); });
    throw InputAtFault();
}

Result<Model> read_source_model(Session& session, const std::string& name,
                                const OnReport& on_report) {
    const Options& options = session.options;
    const DroppedOutput no_results_yet;
    const TemporaryDirectory of_the_preprocessor;
    const PreprocessorWarnings warnings(options.warnings);
    session.diagnostics.take_preprocessor_findings(); // of a run before
    Result<Model> source = session.model_file == "-"
                               ? read_from_standard_input(session, name, on_report)
                               : Model::from_source(name, options.cpp_args, on_report);
    const std::string& failure = of_the_preprocessor.failure();
    if (!source && source.reports().empty() && !failure.empty()) session.diagnostics.say(failure);
    return source;
}

std::optional<Finding> encoding_of(const Session& session, const std::string& file) {
    if (session.standard_input && file == input_name("-"))
        return warn_of_utf8(file, session.standard_input->text());
    if (file.starts_with("/dev/fd/")) return {}; // the copy of standard input
    return warn_of_utf8(file);
}

// True if a warning about the encoding is an error.
bool show_encoding(Session& session, const std::vector<std::string>& files) {
    const Selection& selection = session.options.warnings;
    if (!selection.is_on(Warning::utf8_source)) return false;
    const bool is_error = selection.is_error(Warning::utf8_source, false);
    bool is_at_fault = false;
    for (const std::string& file : files) {
        auto warning = encoding_of(session, file);
        if (!warning) continue;
        if (is_error) warning->severity = Severity::error;
        session.diagnostics.report(*warning);
        is_at_fault = is_error;
    }
    return is_at_fault;
}

// The encoding may be the reason of all errors: a letter of UTF-8 in a name is none of a model.
void show_errors_of_load(Session& session, const ModelReports& held) {
    const bool is_xml = model_form(session.options.from, session.model_file) == ModelForm::xml;
    if (!is_xml && held.are_faults()) {
        const std::unique_ptr<SourceText> source = read_source(session);
        const std::vector<std::string> main_file = {input_name(session.model_file)};
        show_encoding(session, source ? source->files() : main_file);
    }
    held.show();
}

} // namespace

std::vector<std::string> source_files(const Project* project) {
    std::vector<std::string> names;
    std::unordered_set<std::string_view> known;
    for (const char* name : items<char>(project->line_info->files))
        if (*name != '#' && known.insert(name).second) names.emplace_back(name);
    return names;
}

void check_standard_input(const Session& session) {
    const Options& options = session.options;
    auto readers = std::ranges::count(options.presentations, "-");
    for (const auto* file : {&options.file, &options.other_file, &options.presentation,
                             &options.var_order, &options.calculation})
        readers += *file == "-";
    if (readers > 1) throw WrongUsage{"standard input can be read only once: -"};
}

void check_model_usage(const Session& session) {
    const Options& options = session.options;
    check_standard_input(session);
    if (model_form(options.from, session.model_file) == ModelForm::xml && !options.cpp_args.empty())
        throw WrongUsage{"-I, -D and -U do not apply to a model in XML: " + session.model_file};
}

Result<Model> read_model(Session& session, const std::string& name, const OnReport& on_report) {
    const Options& options = session.options;
    if (model_form(options.from, session.model_file) == ModelForm::xml)
        return Model::from_xml(name, on_report);
    Result<Model> source = read_source_model(session, name, on_report);
    if (!source) show_preprocessor_errors(session);
    return source;
}

Model& load_model(Session& session) {
    check_model_usage(session);
    const std::string name = input_name(session.model_file);
    session.begin_load(name);
    ModelReports held(session);
    Result<Model> result = read_model(session, name, held.sink());
    show_preprocessor_warnings(session);
    if (!result) show_errors_of_load(session, held);
    Model& model = session.take(std::move(result));
    session.project = model.get();
    if (show_encoding(session, source_files(model.get()))) throw InputAtFault();
    return model;
}

CheckedModel& check_model(Session& session, Model& model) {
    session.begin(Step::check, session.subject);
    ModelReports held(session);
    auto result = CheckedModel::check(std::move(model), held.sink());
    if (!result) held.show();
    return session.take(std::move(result));
}

CheckedModel& load_and_check_model(Session& session) {
    return check_model(session, load_model(session));
}

} // namespace norvane::driver
