// A solver as a child process, which reads commands of SMT-LIB and answers them.
#ifndef NORVANE_PM_PROCESS_H
#define NORVANE_PM_PROCESS_H

#include <string>
#include <string_view>

#include "child_process.h"

namespace norvane::driver {

// There is no solver, or it died, hangs, or its answer cannot be read: what to report.
struct SolverFault {
    std::string text;
};

class SolverProcess {
  public:
    // Starts the named solver, or, without a name, the first one that is installed. `seconds` is
    // the time for each question. Throws a SolverFault.
    SolverProcess(const std::string& name, unsigned seconds);

    // Sends commands. If the solver does not take them, the next answer fails.
    void send(std::string_view commands);
    // The next answer: a word, or a list in brackets. Throws a SolverFault.
    std::string answer();

    const std::string& name() const { return name_; }

  private:
    static constexpr std::size_t enough_to_send = 1 << 16;
    // Goes on where it was, since a long answer comes in many pieces.
    struct AnswerScan {
        std::size_t at = 0;
        std::size_t depth = 0;
        char quote = '\0'; // in a text or in a name between bars
        std::size_t end(std::string_view text);
    };

    bool start(const std::string& name);
    ChildProcess::Clock::time_point deadline() const;
    bool has_too_much();
    bool take_answer(std::string& taken);
    [[noreturn]] void fail_at_the_end();
    [[noreturn]] void fail(const std::string& what) const;

    std::string name_;
    unsigned seconds_;
    ChildProcess child_;
    AnswerScan scan_; // of what was received
};

} // namespace norvane::driver

#endif
