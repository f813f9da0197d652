// What is wrong with a calculation that the library has refused.
#ifndef NORVANE_PM_REFUSED_CALCULATION_H
#define NORVANE_PM_REFUSED_CALCULATION_H

#include <vector>

#include "held_reports.h"

namespace norvane::driver {

// Finds all faults of a calculation where the library tells the first alone. None where it is no
// source.
class CalculationReports : public HeldReports {
  public:
    // Against the names of a model; without one, null, only the syntax is looked at.
    CalculationReports(Session& session, const CheckedModel* model, bool is_source)
        : HeldReports(session), model_(model), is_source_(is_source) {}

  private:
    bool is_input_at_fault() const override;
    std::vector<Finding> all_faults() const override;

    const CheckedModel* model_;
    bool is_source_;
};

} // namespace norvane::driver

#endif
