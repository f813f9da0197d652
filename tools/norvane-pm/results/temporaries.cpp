#include "temporaries.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdlib>
#include <cstring>

#include <dirent.h>
#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "norvane/base/util.h"

namespace norvane::driver {
namespace {

// All others end a program that does not handle them.
constexpr int harmless_signals[] = {SIGCHLD, SIGURG, SIGWINCH, SIGCONT, SIGTSTP, SIGTTIN, SIGTTOU};

// What a directory for temporary files holds is not nested more than the sources of a model are.
constexpr unsigned most_nested = 30;

// Names, empty where there is none. Plain arrays, since a signal handler reads them.
char temporary_file[PATH_MAX];
char temporary_directory[PATH_MAX];
char library_result[NAME_MAX + 1]; // the name without its directory
int open_files = -1;               // the directory that lists them
// Open from the start, since at the end the process may have no descriptor left.
int directory_descriptor = -1;

// While this lives, signals wait.
class SignalsHeld {
  public:
    SignalsHeld() {
        sigset_t held;
        sigfillset(&held);
        sigprocmask(SIG_BLOCK, &held, &before_);
    }
    ~SignalsHeld() { sigprocmask(SIG_SETMASK, &before_, nullptr); }
    SignalsHeld(const SignalsHeld&) = delete;
    SignalsHeld& operator=(const SignalsHeld&) = delete;

  private:
    sigset_t before_;
};

void end_by_signal(int signal) {
    remove_temporaries();
    std::signal(signal, SIG_DFL);
    std::raise(signal);
}

// Gives handlers a stack of their own, unless there is one: a recursion that has used up the stack
// ends by a signal, too.
void set_signal_stack() {
    alignas(16) static char memory[1 << 16];
    stack_t stack = {};
    if (sigaltstack(nullptr, &stack) != 0 || (stack.ss_flags & SS_DISABLE) == 0) return;
    stack = {};
    stack.ss_sp = memory;
    stack.ss_size = sizeof memory;
    sigaltstack(&stack, nullptr);
}

bool signals_are_settled = false;

// Installs the handler once, at the first temporary. A signal that the caller has set to be
// ignored, as nohup does, stays ignored, and one that has a handler keeps it.
void handle_signals() {
    if (signals_are_settled) return;
    signals_are_settled = true;
    set_signal_stack();
    struct sigaction removing = {};
    removing.sa_handler = end_by_signal;
    removing.sa_flags = SA_ONSTACK | SA_RESTART;
    for (int signal = 1; signal <= SIGRTMAX; ++signal) {
        struct sigaction now;
        if (!ends_program(signal) || sigaction(signal, nullptr, &now) != 0) continue;
        if (now.sa_handler == SIG_DFL) sigaction(signal, &removing, nullptr);
    }
}

void remember(char* place, const std::string& name) {
    handle_signals();
    std::memcpy(place, name.c_str(), name.size() + 1);
}

// Calls take(name). By the system's own call, since readdir allocates memory, which a signal
// handler must not do. The entries are few, since the handler's stack is small.
template <typename Take>
void for_each_entry(int directory, Take take) {
    alignas(dirent64) char entries[1024];
    long size;
    lseek(directory, 0, SEEK_SET);
    while ((size = syscall(SYS_getdents64, directory, entries, sizeof entries)) > 0) {
        for (long at = 0; at < size;) {
            const auto* entry = reinterpret_cast<const dirent64*>(entries + at);
            take(entry->d_name);
            at += entry->d_reclen;
        }
    }
}

void remove_nested(int directory, const char* name, unsigned depth);

void remove_entries(int directory, unsigned depth) {
    for_each_entry(directory, [=](const char* name) {
        if (unlinkat(directory, name, 0) != 0 && errno == EISDIR)
            remove_nested(directory, name, depth + 1);
    });
}

void remove_nested(int directory, const char* name, unsigned depth) {
    const bool is_itself = std::strcmp(name, ".") == 0 || std::strcmp(name, "..") == 0;
    if (is_itself || depth > most_nested) return;
    const int nested = openat(directory, name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    if (nested < 0) return;
    remove_entries(nested, depth);
    close(nested);
    unlinkat(directory, name, AT_REMOVEDIR);
}

void remove_temporary_directory() {
    if (temporary_directory[0] == '\0') return;
    if (directory_descriptor >= 0) {
        remove_entries(directory_descriptor, 0);
        close(directory_descriptor);
        directory_descriptor = -1;
    }
    rmdir(temporary_directory);
    temporary_directory[0] = '\0';
}

// True for a file that this program has opened itself, and to write to: an input, or what the
// caller has left open, may have such a name too.
bool is_ours_to_write(int descriptor) {
    const int flags = fcntl(descriptor, F_GETFD);
    return flags >= 0 && (flags & FD_CLOEXEC) != 0 &&
           (fcntl(descriptor, F_GETFL) & O_ACCMODE) != O_RDONLY;
}

bool is_of_library_result(const char* path) {
    const char* slash = std::strrchr(path, '/');
    const std::size_t length = std::strlen(library_result);
    const char* suffix = slash ? slash + 1 + length : "";
    return slash && std::strncmp(slash + 1, library_result, length) == 0 &&
           std::strlen(suffix) == std::strlen(".XXXXXX") && *suffix == '.';
}

// Finds the file among those that are open, since the library gives no way to ask for its name.
void remove_library_temporary() {
    if (library_result[0] == '\0') return;
    for_each_entry(open_files, [](const char* number) {
        char path[PATH_MAX] = "";
        const bool is_named = readlinkat(open_files, number, path, sizeof path - 1) > 0;
        if (is_named && is_of_library_result(path) && is_ours_to_write(std::atoi(number)))
            unlink(path);
    });
}

} // namespace

int make_temporary_file(std::string& name) {
    if (name.size() >= sizeof temporary_file) {
        errno = ENAMETOOLONG;
        return -1;
    }
    const SignalsHeld until_it_is_remembered;
    const int descriptor = mkostemp(name.data(), O_CLOEXEC);
    if (descriptor >= 0) remember(temporary_file, name);
    return descriptor;
}

void remove_temporary_file() {
    if (temporary_file[0] != '\0') unlink(temporary_file);
    keep_temporary_file();
}

void keep_temporary_file() {
    temporary_file[0] = '\0';
}

std::string place_for_temporaries() {
    const char* set = std::getenv("TMPDIR");
    return set && *set != '\0' ? set : "/tmp";
}

TemporaryDirectory::TemporaryDirectory(const std::string& parent) {
    if (make(parent)) return;
    failure_ = "cannot make a temporary file in '" + parent + "': " + std::strerror(errno);
}

bool TemporaryDirectory::make(const std::string& parent) {
    std::string name = parent + "/norvane-XXXXXX";
    if (name.size() >= sizeof temporary_directory) {
        errno = ENAMETOOLONG;
        return false;
    }
    const SignalsHeld until_it_is_remembered;
    if (!mkdtemp(name.data())) return false;
    remember(temporary_directory, name);
    directory_descriptor = open(name.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (directory_descriptor < 0) return false;
    util_set_temp_directory(temporary_directory);
    return true;
}

TemporaryDirectory::~TemporaryDirectory() {
    util_set_temp_directory(nullptr);
    remove_temporary_directory();
}

const char* TemporaryDirectory::name() const {
    return temporary_directory;
}

bool ends_program(int signal) {
    return std::ranges::count(harmless_signals, signal) == 0;
}

void disown_temporaries() {
    temporary_file[0] = '\0';
    temporary_directory[0] = '\0';
    if (directory_descriptor >= 0) close(directory_descriptor);
    directory_descriptor = -1;
}

LibraryTemporary::LibraryTemporary(const std::string& result) {
    const std::string name = result.substr(result.rfind('/') + 1);
    open_files = open("/proc/self/fd", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (open_files >= 0 && name.size() < sizeof library_result) remember(library_result, name);
}

LibraryTemporary::~LibraryTemporary() {
    library_result[0] = '\0';
    if (open_files >= 0) close(open_files);
}

void leave_signals_alone() {
    signals_are_settled = true;
}

void remove_temporaries() {
    if (temporary_file[0] != '\0') unlink(temporary_file);
    remove_library_temporary();
    remove_temporary_directory();
}

} // namespace norvane::driver
