// Reports and progress on standard error.
#ifndef NORVANE_PM_DIAGNOSTICS_H
#define NORVANE_PM_DIAGNOSTICS_H

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "norvane/base/os.h"
#include "norvane/proj.hpp"

#include "finding.h"
#include "format.h"
#include "source_lines.h"

namespace norvane::driver {

// Renders each finding as it comes, and shows what is under way if standard error is a terminal, on
// a line that is gone afterwards; or hands each finding to a program, and writes nothing. There is
// one at a time.
class Diagnostics {
  public:
    explicit Diagnostics(const ReportStyle& style, OnFinding on_finding = {});
    ~Diagnostics();
    Diagnostics(const Diagnostics&) = delete;
    Diagnostics& operator=(const Diagnostics&) = delete;

    // Ends the reports: with where to read more; or, if nothing was reported about a failure, with
    // its likely cause.
    void close(bool succeeded);
    // Ends them after an internal failure or wrong usage, which was reported.
    void close_after_failure();

    // What is under way: "loading", "model.pm". Reports that name no place are about this file.
    void begin(std::string_view doing, std::string_view file);

    // All that the program says goes through this.
    void report(const Finding& finding);
    // Of the steps in which the library tells a syntax error, one finding is made.
    void report(const Report& report);
    // What the preprocessor has said since this was asked for, in its order.
    std::vector<Finding> take_preprocessor_findings() {
        return std::exchange(preprocessor_findings_, {});
    }
    // Reports what has no name in the catalogue, and is about no file.
    void say(const std::string& text, const std::string& hint = {});

    // Gives the text of what can be read once only, such as standard input, to be shown.
    void set_source(const std::string& file, std::string text) {
        sources_.set(file, std::move(text));
    }

    // Adds reports that another run has made as a part of these.
    void add(std::string_view rendered);
    // Says how several runs have ended, to a person.
    void sum_up(const std::string& text);

    // A report of the library as a finding, with the place that it names, in plain words. `word` is
    // what stands in the source where the parser met what it did not expect, if that is known.
    Finding finding_of(const Report& report, std::string_view word = {}) const;

    // Replaces the line of progress, on a terminal.
    void show_progress(std::string_view text);
    bool shows_progress() const { return shows_progress_; }

    Format format() const { return format_; }
    // Whether a report is about a name that may be declared elsewhere.
    bool misses_names() const { return misses_names_; }
    bool is_colored() const { return is_colored_; }

  private:
    static void progress(const MsgProgress* event, void* user);
    static void preprocessor(const OsPreprocessorMessage* message, void* user);
    void hold(const OsPreprocessorMessage& message);
    void show(const Finding& finding);
    void show_pending();
    std::string rendered(const Finding& finding);
    void clear_progress();

    OnFinding on_finding_; // if findings are not to be written
    Format format_;
    bool is_colored_;
    bool errors_only_;
    bool is_part_;
    bool shows_progress_;
    bool progress_shown_ = false;
    std::string file_;               // that is being worked on
    std::optional<Finding> pending_; // a syntax error that more may be reported of
    std::string explained_;          // the first error that has an explanation
    Severity explained_severity_ = Severity::note;
    bool has_reported_ = false;
    bool misses_names_ = false;
    bool preprocessor_has_failed_ = false; // and has reported why
    bool repeats_ = false;                 // the last message of the preprocessor
    std::vector<Finding> preprocessor_findings_;
    SourceLines sources_;
};

} // namespace norvane::driver

#endif
