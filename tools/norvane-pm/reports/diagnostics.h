// Reports and progress on standard error.
#ifndef NORVANE_PM_DIAGNOSTICS_H
#define NORVANE_PM_DIAGNOSTICS_H

#include <string>
#include <string_view>

#include "norvane/base/os.h"
#include "norvane/proj.hpp"

#include "format.h"
#include "json_report.h"
#include "source_lines.h"

namespace norvane::pm {

// Renders each report as it comes, and shows what is under way if standard error is a terminal, on
// a line that is gone afterwards. There is one at a time.
class Diagnostics {
  public:
    explicit Diagnostics(Format format);
    ~Diagnostics();
    Diagnostics(const Diagnostics&) = delete;
    Diagnostics& operator=(const Diagnostics&) = delete;

    // Ends the reports: where to read more, or, if nothing was reported about a failure, its likely
    // cause.
    void close(bool succeeded);

    // What is under way: "loading", "model.pm". Reports that name no place are about this file.
    void begin(std::string_view doing, std::string_view file);

    void report(const Report& report);
    // Reports what has no name in the catalogue.
    void say(const std::string& text);
    // Writes a report that was rendered elsewhere, and shows no progress from then on.
    void end_with(const std::string& rendered);

    // Replaces the line of progress, on a terminal.
    void show_progress(std::string_view text);
    bool shows_progress() const { return on_terminal_; }

    Format format() const { return format_; }

  private:
    static void progress(const MsgProgress* event, void* user);
    static void preprocessor(const OsPreprocessorMessage* message, void* user);
    void report(const OsPreprocessorMessage& message);
    PlacedText place_of(const Report& report) const;
    std::string to_text(std::string_view severity, const PlacedText& place,
                        const std::string& name);
    void clear_progress();

    Format format_;
    bool on_terminal_;
    bool progress_shown_ = false;
    std::string file_;      // that is being worked on
    std::string last_name_; // of the report that came last
    bool has_reported_ = false;
    SourceLines sources_;
};

} // namespace norvane::pm

#endif
