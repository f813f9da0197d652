// The text of a model after the preprocessor, with the definitions of its macros.
#ifndef NORVANE_PM_PREPROCESSED_H
#define NORVANE_PM_PREPROCESSED_H

#include <optional>
#include <string>
#include <vector>

namespace norvane::driver {

// Runs the preprocessor, as loading a model does, and returns what it wrote; nothing where it
// failed. The sink of its messages gets those.
std::optional<std::string> preprocessed_text(const std::string& file,
                                             const std::vector<std::string>& cpp_args);

// The same, but as far as it came where it failed.
std::optional<std::string> preprocessed_part(const std::string& file,
                                             const std::vector<std::string>& cpp_args);

} // namespace norvane::driver

#endif
