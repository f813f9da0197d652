#include "cpp_process.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

namespace norvane::os {
namespace {

// One line may grow in the preprocessor's memory for long before it is written, so these limits
// stop it earlier than the limit of the output.
constexpr rlim_t memory_limit = rlim_t{2} << 30;
constexpr rlim_t seconds_limit = 60;

// The preprocessor reads a dozen environment variables (search paths, files of dependencies to
// write, other programs to run), which are meant for C and not for models.
struct Environment {
    char* variables[5];
    Environment() {
        std::size_t n = 0;
        for (char** variable = environ; variable && *variable; ++variable) {
            for (const char* kept : {"PATH=", "HOME=", "TMPDIR="}) {
                if (n < 3 && std::strncmp(*variable, kept, std::strlen(kept)) == 0)
                    variables[n++] = *variable;
            }
        }
        variables[n++] = const_cast<char*>("LC_ALL=C");
        variables[n] = nullptr;
    }
};

void close_if_open(int* descriptor) {
    if (*descriptor >= 0) close(*descriptor);
    *descriptor = -1;
}

struct Pipe {
    int reader = -1;
    int writer = -1;

    // In a host that was started without standard streams, an end may get the number of one, and
    // the preprocessor would take it for that stream: so both ends are moved out of the way.
    int open() {
        int ends[2];
        if (pipe2(ends, O_CLOEXEC) != 0) return errno;
        reader = fcntl(ends[0], F_DUPFD_CLOEXEC, 3);
        writer = fcntl(ends[1], F_DUPFD_CLOEXEC, 3);
        const int error = reader < 0 || writer < 0 ? errno : 0;
        ::close(ends[0]);
        ::close(ends[1]);
        return error;
    }
    void close() {
        close_if_open(&reader);
        close_if_open(&writer);
    }
};

void lower_limit(decltype(RLIMIT_CPU) resource, rlim_t most) {
    rlimit limit;
    if (getrlimit(resource, &limit) != 0) return;
    limit.rlim_cur = std::min(limit.rlim_cur, most);
    setrlimit(resource, &limit);
}

// The kernel signals the owner of a pipe's end when its other end is closed, and the last thing
// that a process does, however it ends, is to close its descriptors. So our own end stops the whole
// group: the preprocessor and what it has started.
bool end_with_the_host(int lifeline) {
    if (setpgid(0, 0) != 0) return false;
    const int kept = fcntl(lifeline, F_DUPFD, 3); // stays open in the program
    return kept >= 0 && fcntl(kept, F_SETOWN, -getpid()) == 0 &&
           fcntl(kept, F_SETSIG, SIGKILL) == 0 && fcntl(kept, F_SETFL, O_ASYNC) == 0;
}

// Signals as they are by default, whatever the host does with them.
void reset_signals() {
    struct sigaction by_default = {};
    by_default.sa_handler = SIG_DFL;
    for (int signal = 1; signal < NSIG; ++signal)
        sigaction(signal, &by_default, nullptr);
    sigset_t blocked;
    sigemptyset(&blocked);
    sigaddset(&blocked, SIGTTOU); // its messages may go to a terminal, from the background
    sigprocmask(SIG_SETMASK, &blocked, nullptr);
}

struct Streams {
    int output;
    int messages; // -1: ours
    int lifeline;
};

bool connect_streams(const Streams& streams) {
    close(STDIN_FILENO);
    if (open("/dev/null", O_RDONLY) != STDIN_FILENO) return false;
    if (dup2(streams.output, STDOUT_FILENO) < 0) return false;
    return streams.messages < 0 || dup2(streams.messages, STDERR_FILENO) >= 0;
}

// The new process, up to the preprocessor; delivers why it could not become that.
[[noreturn]] void become_cpp(char** arguments, const Environment& environment,
                             const Streams& streams, volatile int* error) {
    reset_signals();
    lower_limit(RLIMIT_CPU, seconds_limit);
    lower_limit(RLIMIT_AS, memory_limit);
    lower_limit(RLIMIT_FSIZE, output_limit);
    if (end_with_the_host(streams.lifeline) && connect_streams(streams))
        execvpe(arguments[0], arguments, const_cast<char**>(environment.variables));
    *error = errno;
    _exit(127);
}

// Returns the process, or -1; delivers the error number, or 0. Not posix_spawn, which knows no
// limits: set from here, they might come too late for the program that the preprocessor starts at
// once to do the work. The process shares our memory until it becomes another program, so no
// handler of the host may run in it.
pid_t spawn(char** arguments, const Streams& streams, int* error) {
    const Environment environment;
    volatile int refusal = 0; // written by the new process
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before);
    const pid_t child = vfork();
    if (child == 0) become_cpp(arguments, environment, streams, &refusal);
    *error = child < 0 ? errno : refusal;
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    return child;
}

int open_pipes(Pipe* output, Pipe* messages, Pipe* lifeline, bool pipe_messages) {
    if (const int error = output->open()) return error;
    if (const int error = lifeline->open()) return error;
    return pipe_messages ? messages->open() : 0;
}

} // namespace

int start_cpp(CppProcess* process, char** arguments, bool pipe_messages) {
    Pipe output;
    Pipe messages;
    Pipe lifeline;
    int error = open_pipes(&output, &messages, &lifeline, pipe_messages);
    if (!error)
        process->id = spawn(arguments, {output.writer, messages.writer, lifeline.reader}, &error);
    close_if_open(&output.writer);
    close_if_open(&messages.writer);
    close_if_open(&lifeline.reader);
    process->output = output.reader;
    process->messages = messages.reader;
    process->lifeline = lifeline.writer;
    if (error)
        finish_cpp(process);
    else
        process->ending = static_cast<int>(syscall(SYS_pidfd_open, process->id, 0));
    return error;
}

bool has_ended(const CppProcess& process) {
    siginfo_t info = {};
    return waitid(P_PID, static_cast<id_t>(process.id), &info, WEXITED | WNOHANG | WNOWAIT) != 0 ||
           info.si_pid != 0;
}

void stop_cpp(const CppProcess& process) {
    kill(-process.id, SIGKILL);
}

int finish_cpp(CppProcess* process) {
    close_if_open(&process->ending);
    close_if_open(&process->output);
    close_if_open(&process->messages);
    int status = -1;
    if (process->id > 0) {
        while (waitpid(process->id, &status, 0) < 0) {
            if (errno == EINTR) continue;
            status = -1;
            break;
        }
    }
    close_if_open(
        &process->lifeline); // ends processes that the preprocessor may still have running
    return status;
}

} // namespace norvane::os
