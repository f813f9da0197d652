#include "child_process.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <thread>
#include <utility>

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace norvane::driver {
namespace {

struct Pipe {
    int ends[2] = {-1, -1};
    bool open() { return pipe2(ends, O_CLOEXEC) == 0; }
    Pipe() = default;
    ~Pipe() {
        close_end(0);
        close_end(1);
    }
    Pipe(const Pipe&) = delete;
    Pipe& operator=(const Pipe&) = delete;
    void close_end(int end) {
        if (ends[end] >= 0) close(ends[end]);
        ends[end] = -1;
    }
    int release(int end) { return std::exchange(ends[end], -1); }
};

struct Pipes {
    Pipe commands;
    Pipe answers;
    Pipe failure;
    Pipe lifeline;
    bool open() { return commands.open() && answers.open() && failure.open() && lifeline.open(); }
};

// A program that is a script may have started others, so all of the group are to end. The kernel
// signals the owner of a pipe's end when the other end is closed, which is the last thing that a
// process does, however it ends.
bool end_with_the_parent(int lifeline) {
    if (setpgid(0, 0) != 0) return false;
    const int kept = fcntl(lifeline, F_DUPFD, 3); // stays open in the program
    return kept >= 0 && fcntl(kept, F_SETOWN, -getpid()) == 0 &&
           fcntl(kept, F_SETSIG, SIGKILL) == 0 && fcntl(kept, F_SETFL, O_ASYNC) == 0;
}

// In the child, between fork and exec: functions that are safe after a fork alone.
[[noreturn]] void become(char** arguments, const Pipes& pipes) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    std::signal(SIGPIPE, SIG_DFL);
    std::signal(SIGXFSZ, SIG_DFL);
    const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
    if (end_with_the_parent(pipes.lifeline.ends[0])) {
        dup2(pipes.commands.ends[0], STDIN_FILENO);
        dup2(pipes.answers.ends[1], STDOUT_FILENO);
        dup2(nowhere, STDERR_FILENO);
        execvp(arguments[0], arguments);
    }
    const int error = errno;
    [[maybe_unused]] const auto written = write(pipes.failure.ends[1], &error, sizeof error);
    _exit(127);
}

} // namespace

bool ChildProcess::start(std::vector<std::string> words) {
    std::vector<char*> arguments;
    arguments.reserve(words.size() + 1);
    for (std::string& word : words)
        arguments.push_back(word.data());
    arguments.push_back(nullptr);
    Pipes pipes;
    if (!pipes.open()) return false;
    child_ = fork();
    if (child_ == 0) become(arguments.data(), pipes);
    if (child_ < 0) return false;
    group_ = child_;
    pipes.failure.close_end(1);
    int error = 0;
    ssize_t size;
    while ((size = read(pipes.failure.ends[0], &error, sizeof error)) < 0 && errno == EINTR) {
    }
    if (size > 0) {
        stop();
        errno = error;
        return false;
    }
    to_child_ = pipes.commands.release(1);
    from_child_ = pipes.answers.release(0);
    lifeline_ = pipes.lifeline.release(1);
    fcntl(to_child_, F_SETFL, O_NONBLOCK);
    fcntl(from_child_, F_SETFL, O_NONBLOCK);
    return true;
}

void ChildProcess::stop() {
    if (group_ >= 0) kill(-group_, SIGKILL);
    while (child_ >= 0 && waitpid(child_, nullptr, 0) < 0 && errno == EINTR) {
    }
    group_ = child_ = -1;
    close_input();
    for (int* end : {&from_child_, &lifeline_})
        if (*end >= 0) close(std::exchange(*end, -1));
}

void ChildProcess::close_input() {
    if (to_child_ >= 0) close(std::exchange(to_child_, -1));
}

bool ChildProcess::is_time_left(Clock::time_point deadline, int& milliseconds) {
    const auto left =
        std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now()).count();
    is_late_ = is_late_ || left <= 0;
    milliseconds = static_cast<int>(std::min<long long>(left, 1000));
    return !is_late_;
}

void ChildProcess::exchange(Clock::time_point deadline) {
    int milliseconds = 0;
    std::size_t sent = 0;
    while (sent < unsent_.size() && received_.size() <= most_received && !has_ended_ &&
           is_time_left(deadline, milliseconds)) {
        pollfd both[] = {{from_child_, POLLIN, 0}, {to_child_, POLLOUT, 0}};
        if (poll(both, 2, milliseconds) <= 0) continue;
        if (both[0].revents != 0) read_some();
        if (both[1].revents == 0) continue;
        const ssize_t size = write(to_child_, unsent_.data() + sent, unsent_.size() - sent);
        if (size > 0)
            sent += static_cast<std::size_t>(size);
        else if (size < 0 && errno == EPIPE)
            has_ended_ = true;
    }
    unsent_.erase(0, sent);
}

void ChildProcess::receive(Clock::time_point deadline) {
    const std::size_t before = received_.size();
    int milliseconds = 0;
    while (received_.size() == before && !has_ended_ && is_time_left(deadline, milliseconds)) {
        pollfd one = {from_child_, POLLIN, 0};
        if (poll(&one, 1, milliseconds) > 0) read_some();
    }
}

void ChildProcess::read_some() {
    char buffer[1 << 14];
    const ssize_t size = read(from_child_, buffer, sizeof buffer);
    if (size > 0)
        received_.append(buffer, static_cast<std::size_t>(size));
    else if (size == 0)
        has_ended_ = true;
}

std::optional<int> ChildProcess::status_of_the_end() {
    const auto deadline = Clock::now() + std::chrono::seconds(1);
    while (Clock::now() < deadline) {
        int status = 0;
        const pid_t ended = waitpid(child_, &status, WNOHANG);
        if (ended == child_) {
            child_ = -1;
            return status;
        }
        if (ended < 0 && errno != EINTR) break;
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return {};
}

} // namespace norvane::driver
