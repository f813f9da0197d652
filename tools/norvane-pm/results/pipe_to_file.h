// A name to write to, for writers that do not look at write errors.
#ifndef NORVANE_PM_PIPE_TO_FILE_H
#define NORVANE_PM_PIPE_TO_FILE_H

#include <atomic>
#include <string>
#include <thread>

#include "result_file.h"

namespace norvane::driver {

// The library writes a model as XML to a name, and does not look whether it could write. So it gets
// the name of a pipe, which takes everything, and a thread copies what comes out to the result
// file, which notices what it cannot write.
class PipeToFile {
  public:
    // Throws std::system_error if the system refuses a pipe or a thread.
    explicit PipeToFile(ResultFile& output);
    ~PipeToFile(); // without finish(): drops what has not been copied yet
    PipeToFile(const PipeToFile&) = delete;
    PipeToFile& operator=(const PipeToFile&) = delete;

    const std::string& name() const { return name_; }
    // Waits until all that was written has been copied.
    void finish();

  private:
    void copy(ResultFile& output) const;

    int ends_[2] = {-1, -1};
    std::string name_;
    std::atomic<bool> is_abandoned_ = false;
    std::thread copier_;
};

} // namespace norvane::driver

#endif
