// What the preprocessor says of a model's source.
#ifndef NORVANE_PM_PREPROCESSOR_REPORTS_H
#define NORVANE_PM_PREPROCESSOR_REPORTS_H

#include "session.h"

namespace norvane::driver {

// While this lives, the preprocessor warns, if the command line wants any of its warnings.
class PreprocessorWarnings {
  public:
    explicit PreprocessorWarnings(const Selection& selection);
    ~PreprocessorWarnings();
    PreprocessorWarnings(const PreprocessorWarnings&) = delete;
    PreprocessorWarnings& operator=(const PreprocessorWarnings&) = delete;
};

// Shows its warnings of the last run. Throws an InputAtFault if one of them is an error.
void show_preprocessor_warnings(Session& session);

// Shows all of its errors, if the last run has failed. What it has let through is a model too, so
// the faults of that are shown with them, as far as they do not follow from these errors.
void show_preprocessor_errors(Session& session);

} // namespace norvane::driver

#endif
