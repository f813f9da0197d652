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

constexpr unsigned lines_counted = 1u << 16; // from there on, the library counts from 0 again

// Of the lines that the library may mean, the one that is the nearest to a fault.
unsigned true_line(unsigned counted, unsigned at) {
    if (at < counted) return counted;
    const unsigned below = counted + (at - counted) / lines_counted * lines_counted;
    return at - below > lines_counted / 2 ? below + lines_counted : below;
}

// The lines of the session's files.
SourceFiles files_of(const Session& session) {
    SourceFiles files;
    if (session.standard_input)
        files.set(input_name(session.model_file), session.standard_input->text());
    return files;
}

// The preprocessor takes a line for a directive where "#" is the first byte of it.
void explain_indented_directives(const Session& session, std::vector<Finding>& findings) {
    constexpr std::string_view words[] = {"define", "elif",   "else",    "endif", "error",  "if",
                                          "ifdef",  "ifndef", "include", "undef", "warning"};
    SourceFiles files = files_of(session);
    for (Finding& finding : findings) {
        const std::string_view rest = files.rest(finding.place.file, finding.place.line);
        const std::string_view line = rest.substr(0, rest.find('\n'));
        const std::size_t hash = line.find_first_not_of(" \t");
        if (hash == line.npos || hash == 0 || line[hash] != '#') continue;
        const std::size_t begin = std::min(line.find_first_not_of(" \t", hash + 1), line.size());
        const std::string_view word =
            line.substr(begin, line.find_first_not_of("abcdefghijklmnopqrstuvwxyz", begin) - begin);
        if (std::ranges::find(words, word) == std::end(words)) continue;
        finding.hint = "a directive of the preprocessor begins its line: take out the blanks "
                       "before '#'";
        finding.replacements.clear();
    }
}

template <typename Preprocess>
std::unique_ptr<SourceText> source_of(const Session& session, std::vector<std::string> cpp_args,
                                      Preprocess preprocess) {
    std::string file = session.model_file;
    if (session.standard_input) file = session.standard_input->begin(cpp_args);
    auto text = preprocess(file, cpp_args);
    if (!text) return nullptr;
    return std::make_unique<SourceText>(*std::move(text), input_name(session.model_file),
                                        files_of(session));
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
    explain_indented_directives(session(), findings);
    for (const Report& report : reports()) {
        if (!is_about_model(report)) continue;
        findings.push_back(session().diagnostics.finding_of(report));
        show_private(*source, findings.back());
    }
    return findings;
}

// A report has the kind of a fault, and a line near it.
std::vector<Report> ModelReports::with_true_lines(std::vector<Report> reports) const {
    const std::unique_ptr<SourceText> source = read_source(session());
    if (!source) return reports;
    SourceFiles files = files_of(session());
    const auto is_long = [&files](const std::string& file) {
        return files.rest(file, lines_counted).data() != nullptr;
    };
    if (std::ranges::none_of(reports, is_long, &Report::file)) return reports;
    const std::vector<Finding> faults = find_all(*source);
    for (Report& report : reports) {
        if (faults.empty() || !is_long(report.file)) continue;
        auto fault = std::ranges::find(faults, report.name, &Finding::name);
        if (fault == faults.end()) fault = faults.begin();
        report.line = true_line(report.line, fault->place.line);
    }
    return reports;
}

} // namespace norvane::driver
