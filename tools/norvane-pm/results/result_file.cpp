// An unnamed file (O_TMPFILE) would leave no trace even if the program is killed, but linkat cannot
// replace an existing file: it would take a temporary name and rename besides, and this way for the
// file systems without unnamed files.
#include "result_file.h"

#include <cerrno>
#include <cstdlib>

#include <sys/stat.h>
#include <unistd.h>

#include "file_identity.h"
#include "output.h"
#include "temporaries.h"

namespace norvane::driver {
namespace {

mode_t mode_of_new_files() {
    const mode_t mask = umask(0);
    umask(mask);
    return 0666 & ~mask;
}

// True for /dev/stdout and its like. A file there must not be replaced, since what other programs
// write to standard output would go on into the old one.
bool is_standard_output(const struct stat& info) {
    struct stat output;
    return fstat(STDOUT_FILENO, &output) == 0 && output.st_dev == info.st_dev &&
           output.st_ino == info.st_ino;
}

// Gives the new file the owner and the mode of the one that it replaces. The file of another user
// becomes ours where the system does not let us give it away.
bool take_after(int descriptor, const struct stat* old) {
    if (!old) return fchmod(descriptor, mode_of_new_files()) == 0;
    const bool is_ours = old->st_uid == geteuid() && old->st_gid == getegid();
    if (!is_ours && fchown(descriptor, old->st_uid, old->st_gid) != 0) errno = 0;
    return fchmod(descriptor, old->st_mode & 0777) == 0;
}

// The file itself, where the name is a symbolic link to it; empty if the system cannot resolve it.
std::string resolved(const std::string& name) {
    char* path = realpath(name.c_str(), nullptr);
    std::string text = path ? path : "";
    std::free(path);
    return text;
}

} // namespace

bool ResultFile::open(const std::string& name) {
    struct stat info = {};
    const bool is_there = stat(name.c_str(), &info) == 0;
    if (name == "-" || (is_there && is_standard_output(info))) {
        stream_ = stdout;
        return true;
    }
    if (!is_there && errno == ENOENT) return open_beside(end_of_links(name));
    const std::string file = resolved(name);
    if (stat(file.c_str(), &info) == 0 && S_ISREG(info.st_mode))
        return access(file.c_str(), W_OK) == 0 && open_beside(file);
    stream_ = std::fopen(name.c_str(), "we");
    return stream_ != nullptr;
}

bool ResultFile::open_beside(const std::string& target) {
    const std::size_t directory = target.rfind('/') + 1; // 0 where there is none
    temporary_ = target.substr(0, directory) + ".norvane-XXXXXX";
    const int descriptor = make_temporary_file(temporary_);
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
    if (error_ == 0) {
        keep_temporary_file();
        temporary_.clear();
    }
    discard();
    return error_ == 0;
}

void ResultFile::discard() {
    if (stream_ && stream_ != stdout) std::fclose(stream_);
    stream_ = nullptr;
    if (!temporary_.empty()) remove_temporary_file();
    temporary_.clear();
}

} // namespace norvane::driver
