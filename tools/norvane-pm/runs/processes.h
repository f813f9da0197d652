// Runs of commands, each in a process of its own.
#ifndef NORVANE_PM_PROCESSES_H
#define NORVANE_PM_PROCESSES_H

#include <csignal>
#include <cstdio>
#include <string>
#include <vector>

#include <sys/types.h>

#include "options.h"

namespace norvane::driver {

class Session;

struct Run {
    std::string name; // of what it works on, for people
    Options options;
    void (*command)(Session&);
};

// The end of a run: the status of its process, as wait tells it, and what it has written.
class EndedRun {
  public:
    EndedRun(int status, int results, int reports)
        : status_(status), results_(results), reports_(reports) {}
    EndedRun(const EndedRun&) = delete;
    EndedRun& operator=(const EndedRun&) = delete;
    ~EndedRun();

    int status() const { return status_; }
    void copy_results(std::FILE* to) const;
    std::string reports() const;

  private:
    int status_;
    int results_; // files in memory
    int reports_;
};

// Starts the runs in their order, some at a time. A signal that ends this process ends them too,
// and so does its being killed. What they have written stays in memory until it is fetched.
class Processes {
  public:
    Processes(const std::vector<Run>& runs, unsigned most_at_a_time);
    ~Processes(); // stops those that are left
    Processes(const Processes&) = delete;
    Processes& operator=(const Processes&) = delete;

    // Waits for the run of this number; to be called once for each, in their order. Where the
    // system refuses further processes or files, there are fewer at a time; throws
    // std::system_error where it refuses even one.
    EndedRun wait_for(std::size_t number);
    std::size_t ended() const { return ended_; }

  private:
    struct Process {
        pid_t id = 0; // 0: not started, or ended
        int results = -1;
        int reports = -1;
        bool has_ended = false;
        int status = 0;
    };
    bool start_next();
    // Until the run has ended: 0; or until a signal that is to end this process, which it returns.
    int wait(std::size_t number);
    void reap();
    void stop();
    [[noreturn]] void work(const Run& run, const Process& process, pid_t parent) const;

    const std::vector<Run>& runs_;
    unsigned most_;
    std::vector<Process> processes_;
    std::size_t started_ = 0;
    std::size_t ended_ = 0;
    sigset_t watched_; // the signals that wait() looks for
};

} // namespace norvane::driver

#endif
