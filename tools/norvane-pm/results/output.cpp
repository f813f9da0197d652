#include "output.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>

#include <fcntl.h>
#include <stdio_ext.h>
#include <unistd.h>

#include "status.h"

namespace norvane::driver {
namespace {

// Opens /dev/null in the place of each standard stream that is closed, since the next file to be
// opened would get its number, and results or reports would end up in that file. Standard output
// becomes a stream that refuses to be written to, so that lost results are noticed.
void hold_standard_streams() {
    for (int stream = 0; stream <= 2; ++stream) {
        if (fcntl(stream, F_GETFD) != -1) continue;
        if (open("/dev/null", stream == 2 ? O_WRONLY : O_RDONLY) < 0)
            std::_Exit(STATUS_INPUT_AT_FAULT);
    }
}

int write_error = 0; // what kept results from being written
bool has_thrown = false;

// A stream that takes everything. The scanners remember the stream of their first load: so there is
// one for all loads, and it is never closed.
std::FILE* stream_to_nowhere() {
    constexpr cookie_io_functions_t drops = {
        nullptr, [](void*, const char*, std::size_t size) { return static_cast<ssize_t>(size); },
        nullptr, nullptr};
    static std::FILE* const stream = fopencookie(nullptr, "w", drops);
    if (!stream) throw std::bad_alloc();
    return stream;
}

} // namespace

void prepare_output() {
    hold_standard_streams();
    // When a reader such as head has seen enough, a write fails, and the program ends in order.
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN); // likewise a file that may not grow any further
    // The parent process may have ignored SIGCHLD, which would make waitpid lose the preprocessor's
    // exit status.
    std::signal(SIGCHLD, SIG_DFL);
    static char buffer[1 << 18];
    std::setvbuf(stdout, buffer, _IOFBF, sizeof buffer);
    __fsetlocking(stdout, FSETLOCKING_BYCALLER); // there is one thread
}

bool results_refused() {
    if (std::ferror(stdout) == 0) return false;
    if (write_error == 0) write_error = errno != 0 ? errno : EIO;
    return true;
}

int finish_results() {
    errno = 0;
    std::fflush(stdout);
    const int error = results_refused() ? write_error : 0;
    std::clearerr(stdout);
    write_error = 0;
    return error;
}

void note_throw() {
    has_thrown = true;
}

int leave(int status) {
    if (!orderly_exit || has_thrown || status == STATUS_INTERNAL_FAILURE) std::_Exit(status);
    return status;
}

DroppedOutput::DroppedOutput() : results_(stdout) {
    stdout = stream_to_nowhere();
}

DroppedOutput::~DroppedOutput() {
    stdout = results_;
}

} // namespace norvane::driver
