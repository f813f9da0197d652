// A model that Python objects share.
#ifndef NORVANE_PYTHON_MODELS_H
#define NORVANE_PYTHON_MODELS_H

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "library.h"

namespace norvane::python {

// A model that is checked when it first has to be. A check that fails gives the model back.
class HeldModel {
  public:
    explicit HeldModel(Model model) : model_(std::move(model)) {}
    // One that was loaded from a file, by these arguments.
    HeldModel(Model model, std::string file, std::vector<std::string> cpp_args)
        : model_(std::move(model)), file_(std::move(file)), cpp_args_(std::move(cpp_args)) {}

    const Model& model() const { return checked_ ? checked_->model() : *model_; }

    // The warnings. A model is checked once, however often it is asked for.
    std::vector<Report> check() {
        if (checked_) return warnings_;
        Result<CheckedModel> result = CheckedModel::check(std::move(*model_));
        if (!result) throw Refused{result.reports(), faults_of_refused(file_, cpp_args_)};
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
    std::string file_;
    std::vector<std::string> cpp_args_;
};

using SharedModel = std::shared_ptr<HeldModel>;

} // namespace norvane::python

#endif
