// The rule that tells build systems which files a command has read.
#ifndef NORVANE_PM_DEPENDENCIES_H
#define NORVANE_PM_DEPENDENCIES_H

#include <string>
#include <vector>

#include "input_files.h"
#include "options.h"

namespace norvane::driver {

class Dependencies {
  public:
    // Throws a WrongUsage if the options do not tell what depends on the files, or where to say it.
    explicit Dependencies(const Options& options);

    // Throws a WrongUsage if the rule would replace a file that was read, or if make could not
    // read it.
    void check(const InputFiles& inputs) const;

    const std::string& file() const { return file_; } // that the rule goes to
    std::string rule(const InputFiles& inputs) const;

  private:
    std::string file_;
    std::vector<std::string> targets_;
    bool with_phony_;
};

} // namespace norvane::driver

#endif
