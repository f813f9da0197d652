#include "diagnostics.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <new>
#include <span>

#include <unistd.h>

#include "as_json.h"
#include "as_text.h"
#include "plain_words.h"
#include "text.h"

namespace norvane::driver {
namespace {

constexpr std::size_t terminal_width = 79;

void write(std::string_view text) {
    std::fwrite(text.data(), 1, text.size(), stderr);
}

std::string_view environment(const char* name) {
    const char* value = std::getenv(name);
    return value ? value : "";
}

// True for a terminal that obeys escape sequences.
bool has_terminal() {
    return isatty(STDERR_FILENO) != 0 && environment("TERM") != "dumb";
}

bool is_to_be_colored(Format format, Color color) {
    if (format != Format::text || color == Color::never) return false;
    return color == Color::always || (has_terminal() && environment("NO_COLOR").empty());
}

Place place_of(std::string_view file, unsigned line) {
    Place place;
    place.file = file;
    place.line = line;
    return place;
}

// An undefined macro looks like a name followed by parentheses; a file that must be included by
// another may say so with #error. Both may mean that a part of a model was checked alone.
bool is_about_missing_name(const Finding& finding) {
    for (const char* name : {"ERR_ID_UNDECLARED", "ERR_TYPE_UNDEF", "ERR_ILLEGAL_ARRAY_VAR",
                             "ERR_NO_VARS", "ERR_NO_PUBLIC_VARS", "ERR_CPP"})
        if (finding.name == name) return true;
    const std::string_view message = finding.message;
    return message.starts_with("unexpected '('") || message.ends_with("is not a macro");
}

bool tells_the_same(const Finding& one, const Finding& other) {
    return one.message == other.message && one.severity == other.severity &&
           one.place.line == other.place.line && one.place.file == other.place.file;
}

// The #include lines that led to a file. A file that includes itself has hundreds of them, of which
// those at both ends say enough.
void add_way(Finding& finding, std::span<const OsPlace> way) {
    constexpr std::size_t most = 8;
    const std::size_t skipped = way.size() > most + 1 ? way.size() - most : 0;
    for (std::size_t i = 0; i < way.size(); ++i) {
        if (skipped > 0 && i == most / 2) {
            finding.notes.emplace_back().text =
                std::to_string(skipped) + " files between these are left out";
            i += skipped;
        }
        finding.notes.push_back({place_of(way[i].file, way[i].line), "included from here"});
    }
}

// The readers of XML say the line at the end: "Expecting tag <model> (line 2)".
void split_line(Finding& finding) {
    constexpr std::string_view before = " (line ";
    const std::string& title = finding.message;
    const std::size_t open = title.rfind(before);
    if (open == std::string::npos) return;
    unsigned line = 0;
    const char* end = title.data() + title.size();
    const auto [after, error] = std::from_chars(title.data() + open + before.size(), end, line);
    if (error != std::errc() || std::string_view(after, end) != ")") return;
    finding.place.line = line;
    finding.message.resize(open);
}

} // namespace

Diagnostics::Diagnostics(const ReportStyle& style, OnFinding on_finding)
    : on_finding_(std::move(on_finding)), format_(style.format),
      is_colored_(is_to_be_colored(style.format, style.color)), errors_only_(style.errors_only),
      is_part_(style.is_part), shows_progress_(!on_finding_ && has_terminal() && !errors_only_) {
    if (shows_progress_) msg_set_progress_sink(progress, this);
    os_set_preprocessor_sink(preprocessor, this);
    if (format_ == Format::sarif && !is_part_) write(sarif_start());
}

Diagnostics::~Diagnostics() {
    clear_progress();
    if (shows_progress_) msg_set_progress_sink(nullptr, nullptr);
    os_set_preprocessor_sink(nullptr, nullptr);
}

void Diagnostics::close(bool succeeded) {
    clear_progress();
    show_pending();
    if (!succeeded && !has_reported_)
        say("cannot make a temporary file (see TMPDIR in the environment)");
    if (is_part_) return;
    if (!explained_.empty() && format_ == Format::text)
        write("For more: norvane-pm explain " + explained_ + "\n");
    if (format_ == Format::sarif) write(sarif_end(true));
}

void Diagnostics::close_after_failure() {
    show_pending();
    clear_progress();
    shows_progress_ = false;
    if (format_ == Format::sarif && !is_part_) write(sarif_end(false));
}

void Diagnostics::begin(std::string_view doing, std::string_view file) {
    file_ = file;
    if (shows_progress_) show_progress(for_terminal(doing) + " " + for_terminal(file));
}

void Diagnostics::report(const Finding& finding) {
    show_pending();
    show(finding);
}

void Diagnostics::report(const Report& report) {
    // The library's report that it failed adds nothing to the reason, which was reported under its
    // name.
    if (preprocessor_has_failed_ && report.name == "ERR_CPP") return;
    const Finding finding = finding_of(report);
    if (pending_ && join_syntax_error(*pending_, finding)) return;
    show_pending();
    if (is_first_step(finding))
        pending_ = finding;
    else
        show(finding);
}

void Diagnostics::show_pending() {
    if (!pending_) return;
    const Finding finding = std::move(*pending_);
    pending_.reset();
    show(finding);
}

void Diagnostics::add(std::string_view rendered) {
    if (rendered.empty()) return;
    clear_progress();
    if (format_ == Format::sarif && has_reported_) write(",");
    write(rendered);
    has_reported_ = true;
}

void Diagnostics::sum_up(const std::string& text) {
    clear_progress();
    if (format_ == Format::text && !errors_only_) write(text + "\n");
}

void Diagnostics::show(const Finding& finding) {
    if (errors_only_ && finding.severity != Severity::error) return;
    clear_progress();
    if (on_finding_)
        on_finding_(finding);
    else
        write(rendered(finding));
    has_reported_ = true;
    misses_names_ |= is_about_missing_name(finding);
    const bool has_explanation = !finding.name.empty();
    if (!has_explanation || finding.severity <= explained_severity_) return;
    explained_ = finding.name;
    explained_severity_ = finding.severity;
}

std::string Diagnostics::rendered(const Finding& finding) {
    switch (format_) {
    case Format::text: return as_text(finding, sources_, is_colored_);
    case Format::gcc: return as_lines(finding);
    case Format::json: return as_json(finding);
    case Format::sarif: return (has_reported_ ? "," : "") + as_sarif(finding, sources_);
    }
    return "";
}

Finding Diagnostics::finding_of(const Report& report, std::string_view word) const {
    Finding finding;
    finding.severity = report.is_error() ? Severity::error : Severity::warning;
    finding.name = report.name;
    const bool is_placed = !report.file.empty() || file_.empty() ||
                           report.title.find("'" + file_ + "'") != std::string::npos;
    finding.place = is_placed ? place_of(report.file, report.line) : place_of(file_, 0);
    finding.message = is_placed ? report.message : report.title;
    if (!is_placed) split_line(finding);
    if (finding.name == "ERR_PARSER") finding.message = in_plain_words(finding.message, word);
    return finding;
}

// Drops the message if out of memory: no exception may pass through the library, which still
// reports that the preprocessor failed.
void Diagnostics::preprocessor(const OsPreprocessorMessage* message, void* user) try {
    static_cast<Diagnostics*>(user)->hold(*message);
} catch (const std::bad_alloc&) {
}

void Diagnostics::hold(const OsPreprocessorMessage& message) {
    const char* file = message.place.file;
    if (message.is_note && !preprocessor_findings_.empty()) {
        if (repeats_) return;
        const Place place = file ? place_of(file, message.place.line) : Place();
        preprocessor_findings_.back().notes.push_back({place, message.text});
        return;
    }
    Finding finding;
    finding.severity = message.is_error ? Severity::error : Severity::warning;
    if (message.is_error) finding.name = "ERR_CPP";
    finding.place = place_of(file ? file : std::string_view(file_), message.place.line);
    finding.message = message.text;
    // The way out that it names is none of this program.
    if (const std::size_t advice = finding.message.find(" (use -f"); advice != std::string::npos)
        finding.message.resize(advice);
    // A macro that names itself is told about at each use within it.
    repeats_ =
        !preprocessor_findings_.empty() && tells_the_same(preprocessor_findings_.back(), finding);
    if (repeats_) return;
    add_way(finding, std::span(message.included_from, message.included_count));
    preprocessor_findings_.push_back(std::move(finding));
    preprocessor_has_failed_ |= message.is_error != 0;
}

void Diagnostics::say(const std::string& text, const std::string& hint) {
    Finding finding;
    finding.message = text;
    finding.hint = hint;
    report(finding);
}

void Diagnostics::progress(const MsgProgress* event, void* user) {
    if (event->started) static_cast<Diagnostics*>(user)->show_progress(for_terminal(event->text));
}

void Diagnostics::show_progress(std::string_view text) {
    if (!shows_progress_) return;
    write("\r\x1b[K" + std::string(text.substr(0, std::min(text.size(), terminal_width))));
    progress_shown_ = true;
}

void Diagnostics::clear_progress() {
    if (!progress_shown_) return;
    write("\r\x1b[K");
    progress_shown_ = false;
}

} // namespace norvane::driver
