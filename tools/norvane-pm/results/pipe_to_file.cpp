#include "pipe_to_file.h"

#include <cerrno>
#include <system_error>

#include <fcntl.h>
#include <unistd.h>

namespace norvane::driver {

PipeToFile::PipeToFile(ResultFile& output) {
    if (pipe2(ends_, O_CLOEXEC) != 0)
        throw std::system_error(errno, std::generic_category(), "cannot make a pipe");
    name_ = "/dev/fd/" + std::to_string(ends_[1]);
    try {
        copier_ = std::thread([this, &output] { copy(output); });
    } catch (const std::system_error& refusal) {
        close(ends_[0]);
        close(ends_[1]);
        throw std::system_error(refusal.code(), "cannot start a thread");
    }
}

PipeToFile::~PipeToFile() {
    if (!copier_.joinable()) return;
    // A throw may have left the writer's own end of the pipe open, so that the pipe does not end.
    // One byte wakes the copier, unless it has left already.
    is_abandoned_ = true;
    const bool is_awake = write(ends_[1], "", 1) == 1;
    static_cast<void>(is_awake);
    finish();
}

void PipeToFile::finish() {
    close(ends_[1]);
    copier_.join();
}

// Copies to the end of the pipe, or until the output refuses more.
void PipeToFile::copy(ResultFile& output) const {
    char buffer[1 << 14]; // the stack may be small: it is as large as the limit of the stack
    for (;;) {
        const ssize_t size = read(ends_[0], buffer, sizeof buffer);
        if (size < 0 && errno == EINTR) continue;
        if (size <= 0 || is_abandoned_) break; // an open pipe has no other failure
        std::fwrite(buffer, 1, static_cast<std::size_t>(size), output.stream());
        if (output.refused()) break;
    }
    close(ends_[0]);
}

} // namespace norvane::driver
