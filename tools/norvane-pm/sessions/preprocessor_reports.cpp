#include "preprocessor_reports.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <optional>
#include <string_view>

#include "norvane/base/os.h"

#include "faults.h"
#include "held_reports.h"
#include "refused_model.h"
#include "temporaries.h"

namespace norvane::driver {
namespace {

namespace fs = std::filesystem;

constexpr Warning warnings[] = {Warning::macro_redefined, Warning::warning_directive,
                                Warning::preprocessor, Warning::undefined_macro};
constexpr std::string_view missing = ": No such file or directory";

// The part of a message in double quotes, which is a name.
std::string quoted_word(std::string_view message) {
    const std::size_t open = message.find('"');
    const std::size_t close = open == message.npos ? open : message.find('"', open + 1);
    return close == message.npos ? "" : std::string(message.substr(open + 1, close - open - 1));
}

bool is_about_macro_call(const Finding& error) {
    return error.message.starts_with("macro \"");
}

// The name of the file that an #include asks for; empty for other errors. One without a line is
// about the preprocessor itself, which may be missing too.
std::string_view missing_file(const Finding& error) {
    if (error.place.line == 0) return "";
    const std::string_view message = error.message;
    return message.ends_with(missing) ? message.substr(0, message.size() - missing.size()) : "";
}

bool is_about_missing_file(const Finding& error) {
    return !missing_file(error).empty();
}

std::vector<Finding> errors_of(std::vector<Finding> findings) {
    std::erase_if(findings, [](const Finding& f) { return f.severity != Severity::error; });
    return findings;
}

// Columns are found here: the preprocessor in traditional mode reports lines only.

bool is_name_byte(char c) {
    return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '_';
}

bool stands_alone(std::string_view line, std::size_t at, std::size_t length) {
    const bool joins_before = at > 0 && is_name_byte(line[at - 1]);
    const bool joins_after = at + length < line.size() && is_name_byte(line[at + length]);
    return !joins_before && !joins_after;
}

// Where the word stands on the line; nothing where it stands there more or less than once.
std::optional<std::size_t> only_place(std::string_view line, std::string_view word) {
    std::optional<std::size_t> found;
    for (std::size_t at = line.find(word); at != line.npos; at = line.find(word, at + 1)) {
        if (!stands_alone(line, at, word.size())) continue;
        if (found) return {};
        found = at;
    }
    return found;
}

class Columns {
  public:
    explicit Columns(const Session& session) {
        if (session.standard_input)
            files_.set(input_name(session.model_file), session.standard_input->text());
    }

    void find(Finding& finding) {
        if (finding.message.starts_with("#error") || finding.message.starts_with("#warning"))
            return of_directive(finding.place);
        const std::string_view file = missing_file(finding);
        const std::string word = file.empty() ? quoted_word(finding.message) : std::string(file);
        if (word.empty()) return;
        of_word(finding.place, word, is_about_macro_call(finding) ? longest_call : 1);
        for (Note& note : finding.notes)
            of_word(note.place, word, 1);
    }

  private:
    // Of a call over several lines, the last one is told.
    static constexpr unsigned longest_call = 20;

    std::string_view line_of(const Place& place, unsigned number) {
        const std::string_view rest = files_.rest(place.file, number);
        return rest.substr(0, rest.find('\n'));
    }
    void of_word(Place& place, std::string_view word, unsigned most_lines) {
        for (unsigned up = 0; up < most_lines && up < place.line; ++up) {
            const std::string_view line = line_of(place, place.line - up);
            if (line.find(word) == line.npos) continue;
            if (const auto at = only_place(line, word))
                set(place, place.line - up, *at, word.size());
            return;
        }
    }
    void of_directive(Place& place) {
        const std::string_view line = line_of(place, place.line);
        const std::size_t first = line.find('#');
        const std::size_t last = line.find_last_not_of(" \t\r");
        if (first != line.npos) set(place, place.line, first, last + 1 - first);
    }
    static void set(Place& place, unsigned line, std::size_t at, std::size_t length) {
        place.line = place.end_line = line;
        place.column = static_cast<unsigned>(at + 1);
        place.end_column = static_cast<unsigned>(at + 1 + length);
    }

    SourceFiles files_;
};

// Warnings.

Warning kind_of(const Finding& warning) {
    const std::string_view message = warning.message;
    if (message.ends_with(" redefined")) return Warning::macro_redefined;
    if (message.find("is not defined, evaluates to 0") != message.npos)
        return Warning::undefined_macro;
    return message.starts_with("#warning") ? Warning::warning_directive : Warning::preprocessor;
}

void reword(Finding& warning, Warning kind) {
    const std::string name = quoted_word(warning.message);
    if (kind == Warning::undefined_macro)
        warning.message = "the macro '" + name + "' is not defined, so it is 0 here";
    if (kind != Warning::macro_redefined) return;
    warning.message = "the macro '" + name + "' is defined again, with another text";
    for (Note& note : warning.notes)
        if (note.text == "this is the location of the previous definition")
            note.text = note.place.file.empty() ? "the earlier definition is an option"
                                                : "the earlier definition";
}

// Errors.

// Empty files in the place of those that are missing, since the preprocessor ends at the first one.
class StandIns {
  public:
    const std::string& directory() const { return directory_.native(); }

    // A directory in the name is a link to the only one, so that a signal can remove all of it.
    // False for a name that cannot be made there.
    bool make(std::string_view name) const {
        if (directory_.empty()) return false;
        const fs::path path(name);
        std::error_code error;
        for (const fs::path& part : path.parent_path()) {
            if (part == "." || part == ".." || part.is_absolute()) return false;
            fs::create_symlink(".", directory_ / part, error);
        }
        const fs::path file = directory_ / path.filename();
        return path.has_filename() && !fs::exists(file, error) && std::ofstream(file);
    }

  private:
    const TemporaryDirectory of_the_preprocessor_;
    const fs::path directory_ = of_the_preprocessor_.name();
};

// Whether the preprocessor still wrote the text after this error.
bool goes_on_after(const Finding& error) {
    return error.message.starts_with("#error") || is_about_macro_call(error) ||
           is_about_missing_file(error);
}

// A source that the preprocessor refuses: all errors of it, and what it lets through.
class RefusedSource {
  public:
    RefusedSource(Session& session, std::vector<Finding> errors)
        : session_(session), errors_(std::move(errors)) {
        constexpr unsigned most_runs = 50;
        for (unsigned runs = 0; runs < most_runs && run(); ++runs) {
        }
    }

    std::vector<Finding>& errors() { return errors_; }
    // Null where the text is not known to its end.
    const SourceText* source() const {
        return std::ranges::all_of(errors_, goes_on_after) ? source_.get() : nullptr;
    }

  private:
    // True if the preprocessor has come further than before, but not to the end.
    bool run() {
        const bool is_missing = is_about_missing_file(errors_.back());
        if (!is_missing && !std::ranges::all_of(errors_, goes_on_after)) return false;
        if (is_missing && !stand_ins_.make(missing_file(errors_.back()))) return false;
        std::unique_ptr<SourceText> source = read_refused_source(session_, stand_ins_.directory());
        const std::size_t before = errors_.size();
        add(errors_of(session_.diagnostics.take_preprocessor_findings()));
        if (errors_.size() > before && is_about_missing_file(errors_.back())) return true;
        source_ = std::move(source);
        return false;
    }
    // What is not known yet: it comes after the same errors, but for the files that are there now.
    void add(std::vector<Finding> now) {
        const auto resolved = std::ranges::count_if(errors_, is_about_missing_file);
        const std::size_t known = errors_.size() - static_cast<std::size_t>(resolved);
        for (std::size_t i = known; i < now.size(); ++i)
            errors_.push_back(std::move(now[i]));
    }

    Session& session_;
    std::vector<Finding> errors_;
    const StandIns stand_ins_;
    std::unique_ptr<SourceText> source_;
};

// A missing file may declare any name.
NamesKnown names_known(const std::vector<Finding>& errors) {
    return std::ranges::any_of(errors, is_about_missing_file) ? NamesKnown::some : NamesKnown::all;
}

// The rest of a macro's call that is refused stays in the text.
void add_model_faults(const SourceText& source, std::vector<Finding>& errors) {
    std::vector<Finding> faults = find_faults(source, names_known(errors));
    std::erase_if(faults, [&errors](const Finding& fault) {
        return std::ranges::any_of(errors, [&fault](const Finding& error) {
            return error.place.file == fault.place.file && error.place.line == fault.place.line;
        });
    });
    std::ranges::move(faults, std::back_inserter(errors));
}

} // namespace

PreprocessorWarnings::PreprocessorWarnings(const Selection& selection) {
    os_set_preprocessor_warnings(std::ranges::any_of(
        warnings, [&selection](Warning warning) { return selection.is_on(warning); }));
}

PreprocessorWarnings::~PreprocessorWarnings() {
    os_set_preprocessor_warnings(0);
}

void show_preprocessor_warnings(Session& session) {
    const Selection& selection = session.options.warnings;
    Columns columns(session);
    bool is_at_fault = false;
    for (Finding& warning : session.diagnostics.take_preprocessor_findings()) {
        if (warning.severity == Severity::error) continue;
        const Warning kind = kind_of(warning);
        if (!selection.is_on(kind)) continue;
        columns.find(warning);
        reword(warning, kind);
        warning.name = row_of(kind).name;
        if (selection.is_error(kind, false)) {
            warning.severity = Severity::error;
            is_at_fault = true;
        }
        session.diagnostics.report(warning);
    }
    if (is_at_fault) throw InputAtFault();
}

void show_preprocessor_errors(Session& session) {
    std::vector<Finding> errors = errors_of(session.diagnostics.take_preprocessor_findings());
    if (errors.empty()) return;
    Columns columns(session);
    if (session.options.first) {
        columns.find(errors.front());
        return session.diagnostics.report(errors.front());
    }
    RefusedSource refused(session, std::move(errors));
    for (Finding& error : refused.errors())
        columns.find(error);
    if (refused.source()) add_model_faults(*refused.source(), refused.errors());
    show_errors(session, refused.errors());
}

} // namespace norvane::driver
