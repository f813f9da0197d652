// A child process that reads its standard input from us and whose standard output we read.
#ifndef NORVANE_PM_CHILD_PROCESS_H
#define NORVANE_PM_CHILD_PROCESS_H

#include <chrono>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <sys/types.h>

namespace norvane::driver {

// The child and all that it starts end when this does, and when this program does, however that
// ends. What it says on standard error is dropped.
class ChildProcess {
  public:
    using Clock = std::chrono::steady_clock;
    // No more is received while it is not taken: no answer to our questions is longer.
    static constexpr std::size_t most_received = std::size_t{1} << 28;

    ChildProcess() = default;
    ~ChildProcess() { stop(); }
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    // Starts a program, which is searched on the path. False, with the reason in errno, if there is
    // none.
    bool start(std::vector<std::string> words);

    // put() only queues the text; exchange() sends it and reads the output that arrives meanwhile.
    void put(std::string_view text) { unsent_ += text; }
    std::size_t unsent() const { return unsent_.size(); }
    void exchange(Clock::time_point deadline);
    // Ends the child's input.
    void close_input();
    // Waits until more is received, or the child has closed its output, or is late.
    void receive(Clock::time_point deadline);
    std::string& received() { return received_; }

    bool has_ended() const { return has_ended_; } // it closed its output or its input
    bool is_late() const { return is_late_; }
    // The status of a child that has ended, which may take a moment after its last answer. One that
    // closes its output and lives on has none.
    std::optional<int> status_of_the_end();

  private:
    bool is_time_left(Clock::time_point deadline, int& milliseconds);
    void read_some();
    void stop();

    pid_t group_ = -1;
    pid_t child_ = -1; // gone once its status is known
    int to_child_ = -1;
    int from_child_ = -1;
    int lifeline_ = -1; // closed when this program ends
    std::string unsent_;
    std::string received_;
    bool has_ended_ = false;
    bool is_late_ = false;
};

} // namespace norvane::driver

#endif
