// A model that Python objects share.
#ifndef NORVANE_PYTHON_MODELS_H
#define NORVANE_PYTHON_MODELS_H

#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "library.h"

namespace norvane::python {

// A model that is checked when it first has to be. A check that fails gives the model back.
class HeldModel {
  public:
    explicit HeldModel(Model model) : model_(std::move(model)) {}

    const Model& model() const { return checked_ ? checked_->model() : *model_; }

    // The warnings. A model is checked once, however often it is asked for.
    std::vector<Report> check() {
        if (checked_) return warnings_;
        Result<CheckedModel> result = CheckedModel::check(std::move(*model_));
        if (!result) throw Refused{result.reports()};
        warnings_ = result.reports();
        checked_.emplace(*std::move(result));
        return warnings_;
    }
    const CheckedModel& checked() {
        check();
        return *checked_;
    }

  private:
    std::optional<Model> model_; // moved from, when it is checked
    std::optional<CheckedModel> checked_;
    std::vector<Report> warnings_;
};

using SharedModel = std::shared_ptr<HeldModel>;

} // namespace norvane::python

#endif
