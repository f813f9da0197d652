// Runs the C preprocessor over a model.
//
// GNU cpp in its traditional mode: `[0..MAX]` must expand MAX, where standard C reads `0..MAX` as
// one number, and apostrophes and `//` mean nothing in a model. Comments are kept (-C), since those
// of a model nest and the preprocessor's do not.
#include "norvane/base/os.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>

#include <csignal>
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include "marker_filter.h"
#include "norvane/base/except.h"
#include "norvane/base/memory.h"

extern char** environ;

namespace norvane {
namespace {

// A model whose macros grow without end is stopped by one of these. One line may grow in the
// preprocessor's memory for long before it is written.
constexpr std::size_t output_limit = std::size_t{1} << 30;
constexpr rlim_t memory_limit = rlim_t{2} << 30;
constexpr rlim_t seconds_limit = 60;

// A base name is given, since it would be that of the model otherwise: the program that does the
// work gets it as an argument, and would take "@a.pm" for a file of options.
constexpr const char* cpp_options[] = {"cpp", "-traditional-cpp", "-C",    "-undef", "-nostdinc",
                                       "-w",  "-dumpbase",        "model", "-x",     "c"};

// The file that is written.
struct Output {
    int descriptor;
    std::size_t size = 0;
    std::size_t held = 0;
    bool failed = false;
};
char output_buffer[1 << 16];

MarkerFilter filter;

void write_all(Output* output, const char* data, std::size_t size) {
    while (size > 0 && !output->failed) {
        const ssize_t written = write(output->descriptor, data, size);
        if (written < 0 && errno == EINTR) continue;
        if (written <= 0) {
            output->failed = true;
            return;
        }
        data += written;
        size -= static_cast<std::size_t>(written);
    }
}

void flush(Output* output) {
    write_all(output, output_buffer, output->held);
    output->held = 0;
}

void put(void* user, const char* data, std::size_t size) {
    auto* output = static_cast<Output*>(user);
    if (output->failed) return;
    if (size > output_limit - output->size) {
        output->failed = true;
        return;
    }
    output->size += size;
    if (size > sizeof output_buffer - output->held) flush(output);
    if (size > sizeof output_buffer) return write_all(output, data, size);
    std::memcpy(output_buffer + output->held, data, size);
    output->held += size;
}

// In a host that was started without standard streams, a descriptor may have got the number of
// one, and would be taken for it by the preprocessor.
int above_the_standard_ones(int descriptor) {
    if (descriptor < 0 || descriptor > 2) return descriptor;
    const int moved = fcntl(descriptor, F_DUPFD_CLOEXEC, 3);
    close(descriptor);
    return moved;
}

int create_output(const char* path) {
    const int flags = O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC;
    return above_the_standard_ones(open(path, flags, 0600));
}

bool make_pipe(int (&ends)[2]) {
    if (pipe2(ends, O_CLOEXEC) != 0) return false;
    ends[0] = above_the_standard_ones(ends[0]);
    ends[1] = above_the_standard_ones(ends[1]);
    if (ends[0] >= 0 && ends[1] >= 0) return true;
    if (ends[0] >= 0) close(ends[0]);
    if (ends[1] >= 0) close(ends[1]);
    return false;
}

// A name that begins with "-" is no option, and one with "@" no file of options. To be freed.
char* file_argument(const char* path) {
    return path[0] == '-' || path[0] == '@' ? str_cat("./", path) : str_copy(path);
}

// The argument vector, to be freed; it borrows the texts.
char** argument_vector(const PolyList* cpp_args, char* file) {
    const std::size_t count = std::size(cpp_options) + plist_length(cpp_args) + 2;
    auto** arguments = static_cast<char**>(util_malloc_throw(count * sizeof(char*)));
    std::size_t n = 0;
    for (const char* option : cpp_options)
        arguments[n++] = const_cast<char*>(option);
    for (const PolyListNode* node = cpp_args->first; node != nullptr; node = node->next)
        arguments[n++] = static_cast<char*>(node->element);
    arguments[n++] = file;
    arguments[n] = nullptr;
    return arguments;
}

// The preprocessor obeys a good dozen of variables (search paths, files of dependencies to be
// written, other programs to be run), which are meant for C and not for models.
struct Environment {
    char* variables[5];
    Environment() {
        std::size_t n = 0;
        for (char** variable = environ; variable != nullptr && *variable != nullptr; ++variable) {
            for (const char* kept : {"PATH=", "HOME=", "TMPDIR="}) {
                if (n < 3 && std::strncmp(*variable, kept, std::strlen(kept)) == 0)
                    variables[n++] = *variable;
            }
        }
        variables[n++] = const_cast<char*>("LC_ALL=C");
        variables[n] = nullptr;
    }
};

void lower_limit(decltype(RLIMIT_CPU) resource, rlim_t most) {
    rlimit limit;
    if (getrlimit(resource, &limit) != 0) return;
    limit.rlim_cur = std::min(limit.rlim_cur, most);
    setrlimit(resource, &limit);
}

// The new process, up to the preprocessor. In a process group of its own, so that all that it
// starts can be ended, and with all signals as they are by default, whatever the host does with
// them.
[[noreturn]] void become_cpp(char** arguments, char** environment, int output) {
    setpgid(0, 0);
    struct sigaction by_default = {};
    by_default.sa_handler = SIG_DFL;
    for (int signal = 1; signal < NSIG; ++signal)
        sigaction(signal, &by_default, nullptr);
    sigset_t blocked;
    sigemptyset(&blocked);
    sigaddset(&blocked, SIGTTOU); // its messages may go to a terminal, from the background
    sigprocmask(SIG_SETMASK, &blocked, nullptr);
    lower_limit(RLIMIT_CPU, seconds_limit);
    lower_limit(RLIMIT_AS, memory_limit);
    lower_limit(RLIMIT_FSIZE, output_limit);
    close(STDIN_FILENO);
    if (open("/dev/null", O_RDONLY) == STDIN_FILENO && dup2(output, STDOUT_FILENO) >= 0)
        execvpe(arguments[0], arguments, environment);
    _exit(127);
}

// Returns the process, or -1. Not posix_spawn, which knows no limits: set from here, they might
// come too late for the program that the preprocessor starts at once to do the work. The process
// shares our memory until it becomes another program, so no handler of the host may run in it.
pid_t spawn_cpp(char** arguments, int output) {
    Environment environment;
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before);
    const pid_t child = vfork();
    if (child == 0) become_cpp(arguments, environment.variables, output);
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    return child;
}

// Takes all that comes through the pipe; false if it cannot be read or written.
bool filter_output(int pipe_end, Output* output) {
    filter.begin(put, output);
    for (;;) {
        const std::span<char> room = filter.room();
        const ssize_t size = read(pipe_end, room.data(), room.size());
        if (size < 0 && errno == EINTR) continue;
        if (size < 0) return false;
        if (size == 0) break;
        filter.received(static_cast<std::size_t>(size));
        if (output->failed) return false;
    }
    filter.end();
    flush(output);
    return !output->failed;
}

// True if the process has ended with success. Where the host has taken the status for itself, that
// is not known, and counts as a failure.
bool has_succeeded(pid_t process) {
    int status = 0;
    pid_t ended;
    do {
        ended = waitpid(process, &status, 0);
    } while (ended < 0 && errno == EINTR);
    return ended == process && WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

bool preprocess(Output* output, char** arguments) {
    int ends[2];
    if (!make_pipe(ends)) return false;
    const pid_t child = spawn_cpp(arguments, ends[1]);
    close(ends[1]);
    if (child < 0) {
        close(ends[0]);
        return false;
    }
    const bool complete = filter_output(ends[0], output);
    if (!complete) kill(-child, SIGKILL);
    close(ends[0]);
    return has_succeeded(child) && complete;
}

} // namespace
} // namespace norvane

int os_pre_process_file(const char* output, const char* input, const PolyList* cpp_args) {
    NORVANE_ASSERT(output);
    NORVANE_ASSERT(input);
    NORVANE_ASSERT(cpp_args);
    char* file = norvane::file_argument(input);
    char** arguments = norvane::argument_vector(cpp_args, file);
    bool success = false;
    norvane::Output written = {norvane::create_output(output)};
    if (written.descriptor >= 0) {
        success = norvane::preprocess(&written, arguments);
        if (close(written.descriptor) != 0 && errno != EINTR) success = false;
    }
    std::free(arguments);
    std::free(file);
    return success ? STATUS_SUCCESS : STATUS_FAILURE;
}
