#include "processes.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <exception>
#include <system_error>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include "output.h"
#include "run.h"
#include "status.h"

namespace norvane::driver {
namespace {

// Each run that has been started holds two descriptors until it is fetched, and a process may have
// a few hundred.
constexpr std::size_t most_ahead = 64;

constexpr int ending_signals[] = {SIGINT, SIGTERM, SIGHUP, SIGQUIT};

[[noreturn]] void fail(const char* what) {
    throw std::system_error(errno, std::generic_category(), what);
}

int file_in_memory(const char* name) {
    const int file = memfd_create(name, MFD_CLOEXEC);
    if (file < 0) fail("cannot make a file in memory");
    return file;
}

// Calls `take(data, size)` with the whole file, piece by piece.
template <typename Take>
void read_all(int file, Take take) {
    char buffer[1 << 14];
    ssize_t size;
    for (off_t at = 0; (size = pread(file, buffer, sizeof buffer, at)) > 0; at += size)
        take(buffer, static_cast<std::size_t>(size));
}

// The signals that end this process and whose sender means it: nohup, for one, has some ignored.
sigset_t signals_to_watch() {
    sigset_t watched;
    sigemptyset(&watched);
    sigaddset(&watched, SIGCHLD);
    for (const int signal : ending_signals) {
        struct sigaction now = {};
        if (sigaction(signal, nullptr, &now) == 0 && now.sa_handler != SIG_IGN)
            sigaddset(&watched, signal);
    }
    return watched;
}

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
      watched_(signals_to_watch()) {
    sigprocmask(SIG_BLOCK, &watched_, &before_);
}

Processes::~Processes() {
    stop();
    sigprocmask(SIG_SETMASK, &before_, nullptr);
}

void Processes::start_next() {
    Process& process = processes_[started_];
    process.results = file_in_memory("results");
    process.reports = file_in_memory("reports");
    const pid_t parent = getpid();
    process.id = fork();
    if (process.id == 0) work(runs_[started_], process, parent);
    if (process.id < 0) {
        process.id = 0;
        fail("cannot start a process");
    }
    ++started_;
}

// In the new process. A run that is told to end removes its temporary files.
void Processes::work(const Run& run, const Process& process, pid_t parent) const {
    prctl(PR_SET_PDEATHSIG, SIGTERM);
    if (getppid() != parent) std::_Exit(STATUS_INTERNAL_FAILURE); // it has ended meanwhile
    sigprocmask(SIG_SETMASK, &before_, nullptr);
    const int nothing = open("/dev/null", O_RDONLY | O_CLOEXEC);
    dup2(nothing, STDIN_FILENO);
    dup2(process.results, STDOUT_FILENO);
    dup2(process.reports, STDERR_FILENO);
    int status = EndedRun::no_status;
    try {
        status = run_command(run.options, run.command);
    } catch (const std::exception&) {
        // The status says that the run has no report of it.
    }
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

EndedRun Processes::wait_for(std::size_t number) {
    for (;;) {
        reap();
        const std::size_t end = std::min(runs_.size(), number + most_ahead);
        while (started_ < end && started_ - ended_ < most_)
            start_next();
        const Process& process = processes_[number];
        if (process.has_ended) return {process.status, process.results, process.reports};
        const int signal = sigwaitinfo(&watched_, nullptr);
        if (signal <= 0 || signal == SIGCHLD) continue;
        stop();
        sigprocmask(SIG_SETMASK, &before_, nullptr);
        std::raise(signal);
    }
}

} // namespace norvane::driver
