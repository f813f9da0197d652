// Models that come by standard input.
#ifndef NORVANE_PM_STANDARD_INPUT_H
#define NORVANE_PM_STANDARD_INPUT_H

#include <optional>
#include <string>
#include <vector>

#include "norvane/proj.hpp"

namespace norvane::driver {

// All of standard input, in memory: the preprocessor's own input is closed, and reports show its
// lines. Included files are looked for in the current directory first, as if the model were a file
// there.
class StandardInput {
  public:
    // Nothing if it cannot be read. Reports name it as `name`.
    static std::optional<StandardInput> read(const std::string& name);
    StandardInput(StandardInput&& other) noexcept;
    StandardInput& operator=(StandardInput&& other) noexcept;
    ~StandardInput();

    // Returns a file that holds the input, and adds the preprocessor arguments for it. May be
    // called more than once.
    std::string begin(std::vector<std::string>& cpp_args) const;
    const std::string& text() const { return text_; }

    Result<Model> load(std::vector<std::string> cpp_args, const OnReport& on_report) const;

  private:
    StandardInput() = default;

    std::string name_;
    std::string text_;
    int copy_ = -1;
};

// Makes standard input a file that can be opened by name as often as needed.
void keep_standard_input();

} // namespace norvane::driver

#endif
