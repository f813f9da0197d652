#include "result_file.h"

#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdlib>
#include <cstring>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "output.h"

namespace norvane::pm {
namespace {

constexpr int deadly_signals[] = {SIGINT, SIGTERM, SIGHUP, SIGABRT};

// The temporary file that goes with us if a signal ends the program; empty where there is none.
char doomed[PATH_MAX];

// While this lives, such signals wait.
class SignalsHeld {
  public:
    SignalsHeld() {
        sigset_t held;
        sigemptyset(&held);
        for (const int signal : deadly_signals)
            sigaddset(&held, signal);
        sigprocmask(SIG_BLOCK, &held, &before_);
    }
    ~SignalsHeld() { sigprocmask(SIG_SETMASK, &before_, nullptr); }
    SignalsHeld(const SignalsHeld&) = delete;
    SignalsHeld& operator=(const SignalsHeld&) = delete;

  private:
    sigset_t before_;
};

void end_by_signal(int signal) {
    unlink(doomed);
    std::signal(signal, SIG_DFL);
    std::raise(signal);
}

// A signal that somebody has had ignored, as nohup does, stays so.
void handle_signals(void (*handler)(int)) {
    for (const int signal : deadly_signals) {
        if (std::signal(signal, handler) == SIG_IGN) std::signal(signal, SIG_IGN);
    }
}

// Makes a temporary file of a name that ends in "XXXXXX", which is filled in. Returns its
// descriptor, or -1.
int make_doomed(std::string& name) {
    if (name.size() >= sizeof doomed) return -1;
    const SignalsHeld until_it_is_doomed;
    const int descriptor = mkostemp(name.data(), O_CLOEXEC);
    if (descriptor < 0) return -1;
    std::memcpy(doomed, name.c_str(), name.size() + 1);
    handle_signals(end_by_signal);
    return descriptor;
}

void spare() {
    if (doomed[0] == '\0') return;
    handle_signals(SIG_DFL);
    doomed[0] = '\0';
}

mode_t mode_of_new_files() {
    const mode_t mask = umask(0);
    umask(mask);
    return 0666 & ~mask;
}

// The new file has the owner and the mode of the one that it replaces; another's file becomes ours
// where we may not give it away.
bool take_after(int descriptor, const struct stat* old) {
    if (!old) return fchmod(descriptor, mode_of_new_files()) == 0;
    const bool is_ours = old->st_uid == geteuid() && old->st_gid == getegid();
    if (!is_ours && fchown(descriptor, old->st_uid, old->st_gid) != 0) errno = 0;
    return fchmod(descriptor, old->st_mode & 0777) == 0;
}

// The file itself, where the name is a symbolic link to it; empty if it cannot be told.
std::string resolved(const std::string& name) {
    char* path = realpath(name.c_str(), nullptr);
    std::string text = path ? path : "";
    std::free(path);
    return text;
}

} // namespace

void discard_result_file() {
    if (doomed[0] != '\0') unlink(doomed);
}

bool ResultFile::open(const std::string& name) {
    if (name == "-") {
        stream_ = stdout;
        return true;
    }
    struct stat info = {};
    const bool is_there = lstat(name.c_str(), &info) == 0;
    if (!is_there && errno == ENOENT) return open_beside(name);
    const std::string file = resolved(name);
    if (stat(file.c_str(), &info) == 0 && S_ISREG(info.st_mode))
        return access(file.c_str(), W_OK) == 0 && open_beside(file);
    stream_ = std::fopen(name.c_str(), "we");
    return stream_ != nullptr;
}

bool ResultFile::open_beside(const std::string& target) {
    const std::size_t folder = target.rfind('/') + 1; // 0 where there is none
    temporary_ = target.substr(0, folder) + ".norvane-XXXXXX";
    const int descriptor = make_doomed(temporary_);
    if (descriptor < 0) {
        temporary_.clear();
        return false;
    }
    target_ = target;
    struct stat old = {};
    const bool replaces = stat(target.c_str(), &old) == 0;
    if (take_after(descriptor, replaces ? &old : nullptr)) stream_ = fdopen(descriptor, "w");
    if (!stream_) {
        ::close(descriptor);
        discard();
    }
    return stream_ != nullptr;
}

bool ResultFile::refused() {
    if (stream_ == stdout) return results_refused();
    if (std::ferror(stream_) == 0) return false;
    if (error_ == 0) error_ = errno != 0 ? errno : EIO;
    return true;
}

bool ResultFile::close() {
    if (stream_ == stdout) {
        stream_ = nullptr;
        return true;
    }
    errno = 0;
    std::fflush(stream_);
    refused();
    if (std::fclose(stream_) != 0 && error_ == 0) error_ = errno;
    stream_ = nullptr;
    if (temporary_.empty()) return error_ == 0;
    if (error_ == 0 && std::rename(temporary_.c_str(), target_.c_str()) != 0) error_ = errno;
    if (error_ == 0) temporary_.clear();
    discard();
    return error_ == 0;
}

void ResultFile::discard() {
    if (stream_ && stream_ != stdout) std::fclose(stream_);
    stream_ = nullptr;
    if (!temporary_.empty()) unlink(temporary_.c_str());
    temporary_.clear();
    spare();
}

} // namespace norvane::pm
