#include "process.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <vector>

#include <sys/wait.h>

namespace norvane::driver {
namespace {

// The solvers that are looked for, which are also the names of their Debian packages.
constexpr const char* known_solvers[] = {"z3", "cvc5"};

// Added to the time for a question, which the solver itself has to keep.
constexpr unsigned seconds_of_grace = 5;

std::vector<std::string> command_line(const std::string& name, unsigned seconds) {
    const std::string milliseconds = std::to_string(seconds * 1000ULL);
    if (name.find("cvc5") != std::string::npos)
        return {name, "--incremental", "--lang=smt2", "-q", "--tlimit-per=" + milliseconds};
    return {name, "-in", "-smt2", "-t:" + milliseconds};
}

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
    name_ = name;
    return child_.start(command_line(name, seconds_));
}

ChildProcess::Clock::time_point SolverProcess::deadline() const {
    return ChildProcess::Clock::now() + std::chrono::seconds(seconds_ + seconds_of_grace);
}

void SolverProcess::send(std::string_view commands) {
    child_.put(commands);
    if (child_.unsent() <= enough_to_send || child_.has_ended() || child_.is_late()) return;
    child_.exchange(deadline());
}

bool SolverProcess::take_answer(std::string& taken) {
    std::string& received = child_.received();
    if (scan_.at == 0)
        received.erase(0, std::min(received.find_first_not_of(" \n\r\t"), received.size()));
    const std::size_t end = scan_.end(received);
    if (end == 0) return false;
    scan_ = {};
    taken = received.substr(0, end);
    received.erase(0, end);
    taken.erase(taken.find_last_not_of(" \n\r\t") + 1);
    return true;
}

std::string SolverProcess::answer() {
    const auto end = deadline();
    child_.exchange(end);
    std::string taken;
    while (!has_too_much() && !take_answer(taken)) {
        if (child_.has_ended()) fail_at_the_end();
        if (child_.is_late())
            fail("has not answered for " + std::to_string(seconds_ + seconds_of_grace) +
                 " seconds");
        child_.receive(end);
    }
    if (has_too_much()) fail("gives an answer without an end");
    if (taken.starts_with("(error")) fail("reports " + taken);
    return taken;
}

bool SolverProcess::has_too_much() {
    return child_.received().size() > ChildProcess::most_received;
}

void SolverProcess::fail_at_the_end() {
    const auto status = child_.status_of_the_end();
    if (!status) fail("has closed its input or its output");
    if (WIFSIGNALED(*status))
        fail("has ended, killed by signal " + std::to_string(WTERMSIG(*status)));
    fail("has ended with status " + std::to_string(WEXITSTATUS(*status)));
}

void SolverProcess::fail(const std::string& what) const {
    throw SolverFault{"the solver " + name_ + " " + what};
}

} // namespace norvane::driver
