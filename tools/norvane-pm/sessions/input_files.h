// The files that a command has read.
#ifndef NORVANE_PM_INPUT_FILES_H
#define NORVANE_PM_INPUT_FILES_H

#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "file_identity.h"

namespace norvane::driver {

// What a result may do to the files that it is made from: one that is written over the file which
// the command line names is what a conversion in place asks for. What the model includes always
// stays, since no result could be made from it a second time.
enum class Inputs { stay, may_be_replaced };

// Gathers the names of files while it lives, those that the preprocessor includes among them. There
// is one at a time.
class InputFiles {
  public:
    InputFiles();
    ~InputFiles();
    InputFiles(const InputFiles&) = delete;
    InputFiles& operator=(const InputFiles&) = delete;

    // A file that the command line names.
    void add_named(const std::string& file);

    // A file that is read besides.
    void add(const std::string& file);

    // In the order in which they were first read, each once. Standard input is not among them: a
    // build could not compare it.
    const std::vector<std::string>& files() const { return files_; }

    // A file that a result of this name would wrongly replace; empty if there is none.
    std::string replaced_by(const std::string& result, Inputs named) const;

  private:
    std::vector<std::string> files_;
    std::unordered_map<std::string, FileIdentity> read_; // as they were when they were read
    std::unordered_set<std::string> named_;
};

} // namespace norvane::driver

#endif
