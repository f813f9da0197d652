// What is wrong with a model that the library has refused.
#ifndef NORVANE_PM_REFUSED_MODEL_H
#define NORVANE_PM_REFUSED_MODEL_H

#include <memory>
#include <vector>

#include "held_reports.h"
#include "source_text.h"

namespace norvane::driver {

// Preprocesses the session's model again. Null if that fails or if the model is not PM source.
std::unique_ptr<SourceText> read_source(const Session& session);

// The same of a model that the preprocessor refuses, as far as it comes. `include_directory` is
// searched last.
std::unique_ptr<SourceText> read_refused_source(const Session& session,
                                                const std::string& include_directory);

// Finds all faults of a model where the library reports the first alone. None if the model is not
// source.
class ModelReports : public HeldReports {
  public:
    using HeldReports::HeldReports;

  private:
    bool is_input_at_fault() const override;
    std::vector<Finding> all_faults() const override;
    std::vector<Report> with_true_lines(std::vector<Report> reports) const override;
};

} // namespace norvane::driver

#endif
