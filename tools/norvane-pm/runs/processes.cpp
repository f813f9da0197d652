#include "processes.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <exception>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include "output.h"
#include "run.h"
#include "status.h"
#include "temporaries.h"

namespace norvane::driver {
namespace {

// Upper limit of runs that are started but not collected: each holds two file descriptors.
constexpr std::size_t most_ahead = 64;

constexpr int ending_signals[] = {SIGINT, SIGTERM, SIGHUP, SIGQUIT};

[[noreturn]] void fail(const char* what) {
    throw std::system_error(errno, std::generic_category(), what);
}

// Makes the file in memory, if there is none yet.
bool make_file(int& file, const char* name) {
    if (file < 0) file = memfd_create(name, MFD_CLOEXEC);
    return file >= 0;
}

// Calls `take(data, size)` with the whole file, piece by piece.
template <typename Take>
void read_all(int file, Take take) {
    char buffer[1 << 14];
    ssize_t size;
    for (off_t at = 0; (size = pread(file, buffer, sizeof buffer, at)) > 0; at += size)
        take(buffer, static_cast<std::size_t>(size));
}

// The signals that end this process and whose sender means it: nohup, for one, has some ignored,
// and other callers have some blocked.
sigset_t signals_to_watch() {
    sigset_t watched;
    sigset_t blocked;
    sigprocmask(SIG_BLOCK, nullptr, &blocked);
    sigemptyset(&watched);
    sigaddset(&watched, SIGCHLD);
    for (const int signal : ending_signals) {
        struct sigaction now = {};
        if (sigaction(signal, nullptr, &now) == 0 && now.sa_handler != SIG_IGN &&
            sigismember(&blocked, signal) == 0)
            sigaddset(&watched, signal);
    }
    return watched;
}

// Signals that wait while this lives, and act after it.
class BlockedSignals {
  public:
    explicit BlockedSignals(const sigset_t& signals) { sigprocmask(SIG_BLOCK, &signals, &before_); }
    ~BlockedSignals() { sigprocmask(SIG_SETMASK, &before_, nullptr); }
    BlockedSignals(const BlockedSignals&) = delete;
    BlockedSignals& operator=(const BlockedSignals&) = delete;

  private:
    sigset_t before_;
};

} // namespace

EndedRun::~EndedRun() {
    close(results_);
    close(reports_);
}

void EndedRun::copy_results(std::FILE* to) const {
    read_all(results_,
             [to](const char* data, std::size_t size) { std::fwrite(data, 1, size, to); });
}

std::string EndedRun::reports() const {
    std::string text;
    read_all(reports_, [&text](const char* data, std::size_t size) { text.append(data, size); });
    return text;
}

Processes::Processes(const std::vector<Run>& runs, unsigned most_at_a_time)
    : runs_(runs), most_(std::max(most_at_a_time, 1u)), processes_(runs.size()),
      watched_(signals_to_watch()) {}

Processes::~Processes() {
    stop();
}

// Where the system refuses, what has been made is kept for the next attempt.
bool Processes::start_next() {
    Process& process = processes_[started_];
    if (!make_file(process.results, "results") || !make_file(process.reports, "reports"))
        return false;
    const pid_t parent = getpid();
    const pid_t id = fork();
    if (id == 0) work(runs_[started_], process, parent);
    if (id < 0) return false;
    process.id = id;
    ++started_;
    return true;
}

// In the new process. A run that gets a signal to end removes its temporary files; it gets it even
// where our caller has us ignore that.
void Processes::work(const Run& run, const Process& process, pid_t parent) const {
    std::signal(SIGTERM, SIG_DFL);
    prctl(PR_SET_PDEATHSIG, SIGTERM);
    if (getppid() != parent) std::_Exit(STATUS_INTERNAL_FAILURE); // it has ended meanwhile
    sigset_t acting = watched_;
    sigaddset(&acting, SIGTERM);
    sigprocmask(SIG_UNBLOCK, &acting, nullptr);
    const int nothing = open("/dev/null", O_RDONLY | O_CLOEXEC);
    dup2(nothing, STDIN_FILENO);
    dup2(process.results, STDOUT_FILENO);
    dup2(process.reports, STDERR_FILENO);
    for (const Process& other : processes_) { // the run may need as many as we hold
        if (other.results >= 0) close(other.results);
        if (other.reports >= 0) close(other.reports);
    }
    int status = STATUS_INTERNAL_FAILURE;
    try {
        status = run_command(run.options, run.command);
    } catch (const std::exception& e) {
        std::fprintf(stderr, "norvane-pm: internal failure: %s\n", e.what());
    }
    remove_temporaries(); // an exception may have kept their owner from it
    std::exit(leave(status));
}

void Processes::reap() {
    int status = 0;
    for (pid_t id; (id = waitpid(-1, &status, WNOHANG)) > 0;) {
        const auto found = std::ranges::find(processes_, id, &Process::id);
        if (found == processes_.end()) continue;
        found->id = 0;
        found->has_ended = true;
        found->status = status;
        ++ended_;
    }
}

void Processes::stop() {
    for (const Process& process : processes_)
        if (process.id > 0) kill(process.id, SIGTERM);
    for (Process& process : processes_) {
        while (process.id > 0 && waitpid(process.id, nullptr, 0) < 0 && errno == EINTR) {
        }
        process.id = 0;
    }
}

int Processes::wait(std::size_t number) {
    const BlockedSignals blocked(watched_);
    for (;;) {
        reap();
        const std::size_t end = std::min(runs_.size(), number + most_ahead);
        while (started_ < end && started_ - ended_ < most_ && start_next()) {
        }
        if (started_ <= number) fail("cannot start a process");
        if (processes_[number].has_ended) return 0;
        const int signal = sigwaitinfo(&watched_, nullptr);
        if (signal > 0 && signal != SIGCHLD) return signal;
    }
}

EndedRun Processes::wait_for(std::size_t number) {
    while (const int signal = wait(number)) {
        stop();
        std::raise(signal);
    }
    Process& process = processes_[number];
    return {process.status, std::exchange(process.results, -1), std::exchange(process.reports, -1)};
}

} // namespace norvane::driver
