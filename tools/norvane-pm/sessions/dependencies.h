// The files that a command has read, as build systems ask for them.
#ifndef NORVANE_PM_DEPENDENCIES_H
#define NORVANE_PM_DEPENDENCIES_H

#include <string>
#include <vector>

#include "options.h"

namespace norvane::driver {

// Gathers the names of files while it lives, those that the preprocessor includes among them. There
// is one at a time.
class Dependencies {
  public:
    // Throws a WrongUsage if the options do not tell what depends on the files, or where to say it.
    explicit Dependencies(const Options& options);
    ~Dependencies();
    Dependencies(const Dependencies&) = delete;
    Dependencies& operator=(const Dependencies&) = delete;

    void add(const std::string& file);

    // Throws a WrongUsage if the rule would replace a file that was read, or be the result.
    void check_file() const;

    const std::string& file() const { return file_; } // that the rule goes to
    std::string rule() const;

  private:
    std::string file_;
    std::string result_;
    std::vector<std::string> targets_;
    bool with_phony_;
    std::vector<std::string> files_;
};

} // namespace norvane::driver

#endif
