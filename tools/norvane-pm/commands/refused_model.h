// What is wrong with a model that the library has refused.
#ifndef NORVANE_PM_REFUSED_MODEL_H
#define NORVANE_PM_REFUSED_MODEL_H

#include <memory>
#include <vector>

#include "session.h"
#include "source_text.h"

namespace norvane::pm {

// The source of the session's model as the preprocessor writes it once more; null if it does not,
// or if the model is no source.
std::unique_ptr<SourceText> read_source(const Session& session);

// Gathers the errors of a load or a check of the session's model, and shows its warnings at once.
// An error ends it, so there are few.
class HeldReports {
  public:
    enum class Warnings { shown, dropped };
    explicit HeldReports(Session& session, Warnings warnings = Warnings::shown)
        : session_(session), warnings_(warnings) {}
    HeldReports(const HeldReports&) = delete;
    HeldReports& operator=(const HeldReports&) = delete;

    // Takes a report; for the length of this object's life.
    OnReport sink();

    // Whether the model is at fault, and not the way to it, such as a file that cannot be opened.
    bool are_faults() const;

    // All faults of the model, where the library tells the first alone. None where the model is no
    // source, and where --first asks for the library's reports.
    std::vector<Finding> findings() const;

    // Shows them, or else the library's reports.
    void show() const;

  private:
    Session& session_;
    Warnings warnings_;
    std::vector<Report> reports_;
};

} // namespace norvane::pm

#endif
