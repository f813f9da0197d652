// The loop of the server: messages and runs as they come, one thread.
#include "serve.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <new>
#include <stdexcept>

#include <poll.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include "message_reader.h"
#include "server.h"
#include "temporaries.h"

namespace norvane::driver {
namespace {

using namespace lsp;

constexpr int pause = 2000; // milliseconds between looks at the client and at a late run

// By which the system tells that a program is at fault. It cannot go on, so that they do not wait.
constexpr int faults[] = {SIGILL, SIGTRAP, SIGABRT, SIGBUS, SIGFPE, SIGSEGV, SIGSYS};

// Signals that ask for the end come through a descriptor, so that runs and files go first.
class EndSignals {
  public:
    EndSignals() {
        sigset_t signals;
        sigemptyset(&signals);
        for (int signal = 1; signal <= SIGRTMAX; ++signal)
            if (ends_program(signal) && std::ranges::count(faults, signal) == 0)
                sigaddset(&signals, signal);
        sigprocmask(SIG_BLOCK, &signals, &before_);
        descriptor_ = signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK);
    }
    // Takes the signal, so that it does not end the process when it is let through again.
    ~EndSignals() {
        signalfd_siginfo taken;
        while (descriptor_ >= 0 && read(descriptor_, &taken, sizeof taken) > 0) {
        }
        if (descriptor_ >= 0) close(descriptor_);
        sigprocmask(SIG_SETMASK, &before_, nullptr);
    }
    EndSignals(const EndSignals&) = delete;
    EndSignals& operator=(const EndSignals&) = delete;
    int descriptor() const { return descriptor_; }

  private:
    sigset_t before_;
    int descriptor_ = -1;
};

class Loop {
  public:
    void run() {
        while (!server_.has_ended()) {
            const bool is_idle = !server_.handle_next();
            if (is_idle) server_.when_idle();
            if (!wait(is_idle ? pause : 0)) return;
        }
    }
    bool was_shut_down() const { return server_.was_shut_down(); }

  private:
    static bool is_ready(const pollfd& entry) {
        return (entry.revents & (POLLIN | POLLHUP | POLLERR)) != 0;
    }

    // Waits for messages and runs, and serves them; false when the client has ended.
    bool wait(int milliseconds) {
        pollfd entries[] = {{STDIN_FILENO, POLLIN, 0},
                            {signals_.descriptor(), POLLIN, 0},
                            {server_.run_descriptor(), POLLIN, 0}};
        const int count = poll(entries, 3, milliseconds);
        if (count < 0) return errno == EINTR;
        if (is_ready(entries[1])) return false;
        if (count == 0 && is_orphan()) return false;
        if (is_ready(entries[0])) return receive();
        if (is_ready(entries[2])) server_.serve_run();
        return true;
    }

    bool is_orphan() const {
        const int client = server_.client_process();
        return client > 0 && kill(client, 0) != 0 && errno == ESRCH;
    }

    bool receive() {
        static char buffer[std::size_t{1} << 18];
        const ssize_t size = read(STDIN_FILENO, buffer, sizeof buffer);
        if (size == 0 || (size < 0 && errno != EINTR && errno != EAGAIN)) {
            while (server_.handle_next()) { // what came before the end counts
            }
            return false;
        }
        try {
            if (size > 0) reader_.add({buffer, static_cast<std::size_t>(size)});
            while (auto frame = reader_.next())
                frame->fault ? server_.refuse_frame(frame->fault) : server_.take(frame->body);
        } catch (const std::bad_alloc&) {
            reader_ = {};
            server_.lose_message();
        }
        return true;
    }

    EndSignals signals_;
    MessageReader reader_;
    Server server_{STDOUT_FILENO, signals_.descriptor()};
};

} // namespace

void serve_editor(Session& session) {
    std::signal(SIGPIPE, SIG_IGN);
    session.step = Step::write; // no model is at fault
    try {
        Loop loop;
        loop.run();
        if (loop.was_shut_down()) return;
        session.diagnostics.say("the session has ended without a shutdown");
    } catch (const std::runtime_error& error) {
        session.diagnostics.say(error.what());
    }
    throw InputAtFault();
}

} // namespace norvane::driver
