#include "worker.h"

#include <cerrno>
#include <charconv>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <new>
#include <system_error>

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include "norvane/proj.hpp"

#include "preprocessed.h"
#include "run.h"
#include "temporaries.h"

namespace norvane::driver::lsp {
namespace {

constexpr auto longest_run = std::chrono::seconds(120);

// What follows the reports: this, the size of the text, a line feed, and the text.
constexpr std::string_view text_mark = "\n\036text ";
constexpr std::string_view end_mark = "\n\036end";

void write_all(std::string_view text) {
    std::fwrite(text.data(), 1, text.size(), stderr);
}

// The pages of address space that this process has already; sanitizers reserve terabytes of it.
rlim_t pages_in_use() {
    rlim_t pages = 0;
    std::ifstream("/proc/self/statm") >> pages;
    return pages;
}

// A run may take three quarters of the machine's memory beyond what the server has, so that the
// others and the client go on.
void limit_memory() {
    const long pages = sysconf(_SC_PHYS_PAGES);
    const long size = sysconf(_SC_PAGESIZE);
    rlimit limit;
    if (pages <= 0 || size <= 0 || getrlimit(RLIMIT_AS, &limit) != 0) return;
    const rlim_t most =
        (static_cast<rlim_t>(pages) / 4 * 3 + pages_in_use()) * static_cast<rlim_t>(size);
    if (limit.rlim_cur != RLIM_INFINITY && limit.rlim_cur <= most) return;
    limit.rlim_cur = most;
    setrlimit(RLIMIT_AS, &limit);
}

void begin_process(const Job& job, int pipe, pid_t parent) {
    disown_temporaries();
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (getppid() != parent) _exit(1); // it has ended meanwhile
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
    const int nothing = open("/dev/null", O_RDONLY | O_CLOEXEC);
    dup2(nothing, STDIN_FILENO);
    dup2(pipe, STDOUT_FILENO);
    dup2(pipe, STDERR_FILENO);
    if (!job.directory.empty()) setenv("TMPDIR", job.directory.c_str(), 1);
    limit_memory();
}

void send_text(const Job& job) {
    const auto text = preprocessed_text(job.preprocess, job.options.cpp_args);
    if (!text) return;
    write_all(text_mark);
    write_all(std::to_string(text->size()) + "\n");
    write_all(*text);
}

[[noreturn]] void work(const Job& job, int pipe, pid_t parent) {
    begin_process(job, pipe, parent);
    try {
        run_command(job.options, job.command);
        if (!job.preprocess.empty()) send_text(job);
        write_all(end_mark);
    } catch (const std::exception&) {
        // The server notices that the end mark is missing.
    }
    _exit(0);
}

} // namespace

Worker::Worker(const Job& job) : end_(Clock::now() + longest_run) {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0)
        throw std::system_error(errno, std::generic_category(), "pipe");
    const pid_t parent = getpid();
    process_ = fork();
    if (process_ == 0) work(job, ends[1], parent);
    const int error = errno;
    close(ends[1]);
    pipe_ = ends[0];
    if (process_ > 0) return;
    close(pipe_);
    throw std::system_error(error, std::generic_category(), "fork");
}

Worker::~Worker() {
    kill(process_, SIGKILL);
    while (waitpid(process_, nullptr, 0) < 0 && errno == EINTR) {
    }
    close(pipe_);
}

bool Worker::read() {
    char buffer[65536];
    const ssize_t size = ::read(pipe_, buffer, sizeof buffer);
    if (size > 0) received_.append(buffer, static_cast<std::size_t>(size));
    return size == 0 || (size < 0 && errno != EINTR && errno != EAGAIN);
}

Output Worker::output() const {
    Output output;
    std::string_view all = received_;
    output.is_complete = all.ends_with(end_mark);
    if (output.is_complete) all.remove_suffix(end_mark.size());
    const std::size_t mark = all.find(text_mark);
    output.lines = all.substr(0, mark);
    if (mark == all.npos) return output;
    all.remove_prefix(mark + text_mark.size());
    const std::size_t line = all.find('\n');
    output.has_text = output.is_complete && line != all.npos;
    if (output.has_text) output.text = all.substr(line + 1);
    return output;
}

Output run_now(const Job& job) {
    Worker worker(job);
    while (!worker.read()) {
    }
    return worker.output();
}

} // namespace norvane::driver::lsp
