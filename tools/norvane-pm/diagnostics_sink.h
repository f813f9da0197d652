// Reports and progress on standard error.
#ifndef NORVANE_PM_DIAGNOSTICS_SINK_H
#define NORVANE_PM_DIAGNOSTICS_SINK_H

#include <string>
#include <string_view>

#include "norvane/base.h"

#include "options.h"

namespace norvane::pm {

// A message and the place in the user's source that it is about: no file, or no line, where that is
// not known.
struct PlacedText {
    std::string_view file;
    unsigned line = 0;
    std::string_view text;
};

// Takes "file (12): text" apart.
PlacedText split_position(std::string_view title);

// Stamps a report of our own with the place of the call, and hands it over.
void report_error(ErrorInfo* error, int line = __builtin_LINE(),
                  const char* file = __builtin_FILE());

// The JSON object of a report, with its line feed. `extra` holds further members, from name to
// text.
struct JsonReport {
    const char* severity;
    std::string_view name;
    std::string_view title;
    PlacedText place;
};
std::string to_json(const JsonReport& report,
                    std::initializer_list<std::pair<const char*, std::string_view>> extra = {});

// Renders each report of the library as it comes, and shows what is under way if standard error is
// a terminal, on a line that is gone afterwards. There is one at a time.
class Diagnostics {
  public:
    explicit Diagnostics(Format format);
    ~Diagnostics();
    Diagnostics(const Diagnostics&) = delete;
    Diagnostics& operator=(const Diagnostics&) = delete;

    // Ends the reports: where to read more, or, if nothing was said of a failure, what it can be.
    void close(bool succeeded);

    // What is under way: "loading", "model.pm". Reports that name no place are about this file.
    void begin(std::string_view doing, std::string_view file);

    // Reports what has no name in the catalogue.
    void say(const std::string& text);

    // From here on reports and progress are dropped.
    void mute();

    bool has_reported() const { return !last_name_.empty(); }

    Format format() const { return format_; }
    // True once an error was reported; warnings do not count.
    bool has_errors() const { return has_errors_; }

  private:
    static void receive(ErrorType type, ErrorInfo* error, void* user);
    static void progress(const MsgProgress* event, void* user);
    void render(ErrorType type, const ErrorInfo& error);
    PlacedText place_of(std::string_view title) const;
    void show_progress(std::string_view doing, std::string_view file);
    void clear_progress();

    Format format_;
    bool on_terminal_;
    bool progress_shown_ = false;
    std::string file_;      // that is being worked on
    std::string last_name_; // of the report that came last
    bool has_reported_ = false;
    bool has_errors_ = false;
};

} // namespace norvane::pm

#endif
