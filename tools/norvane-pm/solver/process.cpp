#include "process.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace norvane::driver {
namespace {

// The solvers that are looked for, which are also the names of their Debian packages.
constexpr const char* known_solvers[] = {"z3", "cvc5"};

// Added to the time for a question, which the solver itself has to keep.
constexpr unsigned seconds_of_grace = 5;
// No answer to our questions is longer.
constexpr std::size_t longest_answer = std::size_t{1} << 28;

std::vector<std::string> command_line(const std::string& name, unsigned seconds) {
    const std::string milliseconds = std::to_string(seconds * 1000ULL);
    if (name.find("cvc5") != std::string::npos)
        return {name, "--incremental", "--lang=smt2", "-q", "--tlimit-per=" + milliseconds};
    return {name, "-in", "-smt2", "-t:" + milliseconds};
}

// In the child, between fork and exec: functions that are safe after a fork alone.
[[noreturn]] void become(char** arguments, int input, int output, int failure) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    std::signal(SIGPIPE, SIG_DFL);
    std::signal(SIGXFSZ, SIG_DFL);
    const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
    dup2(input, STDIN_FILENO);
    dup2(output, STDOUT_FILENO);
    dup2(nowhere, STDERR_FILENO);
    execvp(arguments[0], arguments);
    const int error = errno;
    [[maybe_unused]] const auto written = write(failure, &error, sizeof error);
    _exit(127);
}

struct Pipe {
    int ends[2] = {-1, -1};
    Pipe() {
        if (pipe2(ends, O_CLOEXEC) != 0)
            throw SolverFault{std::string("cannot start a solver: ") + std::strerror(errno)};
    }
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

} // namespace

// Where the answer that a text begins with ends; 0 while it is not whole.
std::size_t SolverProcess::AnswerScan::end(std::string_view text) {
    while (at < text.size()) {
        const char c = text[at++];
        if (quote != '\0') {
            if (c == quote) quote = '\0';
        } else if (c == '|' || c == '"') {
            quote = c;
        } else if (c == '(') {
            ++depth;
        } else if (c == ')') {
            if (depth <= 1) return at;
            --depth;
        } else if (c == '\n' && depth == 0) {
            return at;
        }
    }
    return 0;
}

SolverProcess::SolverProcess(const std::string& name, unsigned seconds) : seconds_(seconds) {
    if (!name.empty()) {
        if (start(name)) return;
        throw SolverFault{"cannot run the solver " + name + ": " + std::strerror(errno)};
    }
    for (const char* known : known_solvers)
        if (start(known)) return;
    throw SolverFault{"no solver is installed: install the package z3 or cvc5, or name a solver "
                      "by --solver"};
}

// False, with the reason in errno, if there is no such program.
bool SolverProcess::start(const std::string& name) {
    std::vector<std::string> words = command_line(name, seconds_);
    std::vector<char*> arguments;
    arguments.reserve(words.size() + 1);
    for (std::string& word : words)
        arguments.push_back(word.data());
    arguments.push_back(nullptr);
    Pipe commands;
    Pipe answers;
    Pipe failure;
    child_ = fork();
    if (child_ == 0) become(arguments.data(), commands.ends[0], answers.ends[1], failure.ends[1]);
    if (child_ < 0)
        throw SolverFault{"cannot start a solver: " + std::string(std::strerror(errno))};
    failure.close_end(1);
    int error = 0;
    ssize_t size;
    while ((size = read(failure.ends[0], &error, sizeof error)) < 0 && errno == EINTR) {
    }
    if (size > 0) {
        stop();
        errno = error;
        return false;
    }
    name_ = name;
    to_child_ = commands.release(1);
    from_child_ = answers.release(0);
    fcntl(to_child_, F_SETFL, O_NONBLOCK);
    fcntl(from_child_, F_SETFL, O_NONBLOCK);
    return true;
}

SolverProcess::~SolverProcess() {
    stop();
    if (to_child_ >= 0) close(to_child_);
    if (from_child_ >= 0) close(from_child_);
}

void SolverProcess::stop() {
    if (child_ < 0) return;
    kill(child_, SIGKILL);
    while (waitpid(child_, nullptr, 0) < 0 && errno == EINTR) {
    }
    child_ = -1;
}

void SolverProcess::send(std::string_view commands) {
    unsent_ += commands;
    if (unsent_.size() <= enough_to_send || has_ended_ || is_late_) return;
    exchange(0, Clock::now() + std::chrono::seconds(seconds_ + seconds_of_grace));
}

// Sends until no more than so much is unsent and, with nothing unsent allowed, takes what comes.
void SolverProcess::exchange(std::size_t most_unsent, Clock::time_point deadline) {
    while (unsent_.size() > most_unsent && !has_ended_ && !is_late_) {
        pollfd both[] = {{from_child_, POLLIN, 0}, {to_child_, POLLOUT, 0}};
        const auto left =
            std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now()).count();
        if (left <= 0) {
            is_late_ = true;
            return;
        }
        if (poll(both, 2, static_cast<int>(std::min<long long>(left, 1000))) <= 0) continue;
        if (both[0].revents != 0) read_some();
        if (both[1].revents == 0) continue;
        const ssize_t size = write(to_child_, unsent_.data(), unsent_.size());
        if (size > 0)
            unsent_.erase(0, static_cast<std::size_t>(size));
        else if (size < 0 && errno == EPIPE)
            has_ended_ = true;
    }
}

void SolverProcess::read_some() {
    char buffer[1 << 14];
    const ssize_t size = read(from_child_, buffer, sizeof buffer);
    if (size > 0)
        received_.append(buffer, static_cast<std::size_t>(size));
    else if (size == 0)
        has_ended_ = true;
}

bool SolverProcess::take_answer(std::string& taken) {
    if (scan_.at == 0)
        received_.erase(0, std::min(received_.find_first_not_of(" \n\r\t"), received_.size()));
    const std::size_t end = scan_.end(received_);
    if (end == 0) return false;
    scan_ = {};
    taken = received_.substr(0, end);
    received_.erase(0, end);
    taken.erase(taken.find_last_not_of(" \n\r\t") + 1);
    return true;
}

std::string SolverProcess::answer() {
    const auto deadline = Clock::now() + std::chrono::seconds(seconds_ + seconds_of_grace);
    exchange(0, deadline);
    std::string taken;
    std::size_t looked_at = 0;
    while (received_.size() == looked_at || !take_answer(taken)) {
        looked_at = received_.size();
        if (looked_at > longest_answer) fail("gives an answer without an end");
        if (has_ended_) fail_at_the_end();
        const auto left =
            std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now()).count();
        if (left <= 0 || is_late_)
            fail("has not answered for " + std::to_string(seconds_ + seconds_of_grace) +
                 " seconds");
        pollfd one = {from_child_, POLLIN, 0};
        if (poll(&one, 1, static_cast<int>(std::min<long long>(left, 1000))) > 0) read_some();
    }
    if (taken.starts_with("(error")) fail("reports " + taken);
    return taken;
}

// The status of a solver that has ended, which may take a moment after its last answer. One that
// closes its output and lives on has none.
std::optional<int> SolverProcess::status_of_the_end() {
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

void SolverProcess::fail_at_the_end() {
    const auto status = status_of_the_end();
    if (!status) fail("has closed its input or its output");
    if (WIFSIGNALED(*status))
        fail("has ended, killed by signal " + std::to_string(WTERMSIG(*status)));
    fail("has ended with status " + std::to_string(WEXITSTATUS(*status)));
}

void SolverProcess::fail(const std::string& what) const {
    throw SolverFault{"the solver " + name_ + " " + what};
}

} // namespace norvane::driver
