// What the library says of an input that it refuses, before it is shown.
#ifndef NORVANE_PM_HELD_REPORTS_H
#define NORVANE_PM_HELD_REPORTS_H

#include <vector>

#include "session.h"

namespace norvane::driver {

// Gathers the errors of a load or a check, and shows its warnings at once.
class HeldReports {
  public:
    enum class Warnings { shown, dropped };
    explicit HeldReports(Session& session, Warnings warnings = Warnings::shown)
        : session_(session), warnings_(warnings) {}
    HeldReports(const HeldReports&) = delete;
    HeldReports& operator=(const HeldReports&) = delete;
    virtual ~HeldReports() = default;

    // Takes a report; for the length of this object's life.
    OnReport sink();

    // Whether the input has faults that can be looked for.
    bool are_faults() const;

    // All faults of the input; none where --first asks for the library's reports.
    std::vector<Finding> findings() const;

    // Shows them, or else the library's reports.
    void show() const;

  protected:
    const Session& session() const { return session_; }
    const std::vector<Report>& reports() const { return reports_; }

  private:
    // Whether the input is at fault, and not the way to it, such as a file that cannot be opened.
    virtual bool is_input_at_fault() const = 0;
    virtual std::vector<Finding> all_faults() const = 0;
    // The reports with their true lines: the library counts those of a model up to 65,535.
    virtual std::vector<Report> with_true_lines(std::vector<Report> reports) const {
        return reports;
    }

    Session& session_;
    Warnings warnings_;
    std::vector<Report> reports_;
};

// Shows as many of the errors as the command line allows.
void show_errors(Session& session, const std::vector<Finding>& errors);

// Whether the parser, or the scanner below it, has made a report.
bool is_about_syntax(const Report& report);

} // namespace norvane::driver

#endif
