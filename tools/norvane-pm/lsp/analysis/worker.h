// A run of the driver in a process of its own.
//
// The library serves one call at a time, ends the process where its scanner has no memory, and
// cannot be stopped within a call without losing memory. So each run has a process, which is
// stopped when its text is out of date.
#ifndef NORVANE_PM_LSP_WORKER_H
#define NORVANE_PM_LSP_WORKER_H

#include <chrono>
#include <string>

#include <sys/types.h>

#include "options.h"

namespace norvane::driver {
class Session;
}

namespace norvane::driver::lsp {

struct Job {
    Options options;
    void (*command)(Session&) = nullptr;
    std::string preprocess; // a file whose text after the preprocessor is to be sent; may be empty
    std::string directory;  // for temporary files; may be empty where there are none
};

// What a process has sent.
struct Output {
    std::string lines; // the reports, one JSON object a line
    std::string text;  // after the preprocessor
    bool has_text = false;
    bool is_complete = false; // the process came to its end
};

class Worker {
  public:
    using Clock = std::chrono::steady_clock;

    explicit Worker(const Job& job); // throws std::system_error
    ~Worker();                       // stops the process
    Worker(const Worker&) = delete;
    Worker& operator=(const Worker&) = delete;

    int descriptor() const { return pipe_; } // readable when read() has something to do
    // Reads what has come; true at the end.
    bool read();
    bool is_late() const { return Clock::now() > end_; }
    Output output() const;

  private:
    int pipe_ = -1;
    pid_t process_ = -1;
    std::string received_;
    Clock::time_point end_;
};

// Runs a job to its end, for those that take no time.
Output run_now(const Job& job);

} // namespace norvane::driver::lsp

#endif
