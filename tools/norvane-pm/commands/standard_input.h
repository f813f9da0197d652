// A model that comes from standard input.
#ifndef NORVANE_PM_STANDARD_INPUT_H
#define NORVANE_PM_STANDARD_INPUT_H

#include <string>
#include <vector>

#include "norvane/proj.hpp"

namespace norvane::pm {

// Loads source from standard input; reports, and the model, call it `name`.
Result<Model> load_source_from_standard_input(const std::string& name,
                                              std::vector<std::string> cpp_args,
                                              const OnReport& on_report);

} // namespace norvane::pm

#endif
