#include "refused_model.h"

#include <algorithm>

#include "faults.h"
#include "forms.h"
#include "output.h"
#include "preprocessed.h"
#include "temporaries.h"

namespace norvane::driver {
namespace {

// Finds all faults. Empty if that exceeds --max-nodes; the caller then shows the library's first
// report alone.
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

// All variables are private: tells where the first one is declared so.
void show_private(const SourceText& source, Finding& finding) {
    for (std::size_t i = 0; i < source.size(); ++i) {
        if (source.word(i) != "private") continue;
        finding.place = source.place(i);
        finding.hint = "a variable is public unless it is declared as 'private'";
        return;
    }
}

template <typename Preprocess>
std::unique_ptr<SourceText> source_of(const Session& session, std::vector<std::string> cpp_args,
                                      Preprocess preprocess) {
    SourceFiles files;
    std::string file = session.model_file;
    if (session.standard_input) {
        file = session.standard_input->begin(cpp_args);
        files.set(input_name(session.model_file), session.standard_input->text());
    }
    auto text = preprocess(file, cpp_args);
    if (!text) return nullptr;
    return std::make_unique<SourceText>(*std::move(text), input_name(session.model_file),
                                        std::move(files));
}

} // namespace

std::unique_ptr<SourceText> read_source(const Session& session) {
    if (model_form(session.options.from, session.model_file) == ModelForm::xml) return nullptr;
    const TemporaryDirectory of_the_preprocessor;
    return source_of(session, session.options.cpp_args, preprocessed_text);
}

std::unique_ptr<SourceText> read_refused_source(const Session& session,
                                                const std::string& include_directory) {
    std::vector<std::string> cpp_args = session.options.cpp_args;
    cpp_args.push_back("-I" + include_directory);
    return source_of(session, std::move(cpp_args), preprocessed_part);
}

bool ModelReports::is_input_at_fault() const {
    return session().step == Step::check || std::ranges::any_of(reports(), is_about_syntax);
}

std::vector<Finding> ModelReports::all_faults() const {
    const std::unique_ptr<SourceText> source = read_source(session());
    if (!source) return {};
    std::vector<Finding> findings = find_all(*source);
    for (const Report& report : reports()) {
        if (!is_about_model(report)) continue;
        findings.push_back(session().diagnostics.finding_of(report));
        show_private(*source, findings.back());
    }
    return findings;
}

} // namespace norvane::driver
