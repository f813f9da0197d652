#include "output.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <fcntl.h>
#include <stdio_ext.h>
#include <unistd.h>

#include "options.h"

namespace norvane::pm {
namespace {

// A standard stream that came closed would lend its number to the next file that is opened, and
// results or reports would end up in that file. Standard output is held by something that refuses
// to be written to, so that lost results are noticed.
void hold_standard_streams() {
    for (int stream = 0; stream <= 2; ++stream) {
        if (fcntl(stream, F_GETFD) != -1) continue;
        if (open("/dev/null", stream == 2 ? O_WRONLY : O_RDONLY) < 0)
            std::_Exit(STATUS_INPUT_AT_FAULT);
    }
}

int write_error = 0; // what kept results from being written

} // namespace

void prepare_output() {
    hold_standard_streams();
    // A reader that has seen enough, such as head, ends us as a failed write and not by a signal.
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN); // likewise a file that may not grow any further
    static char buffer[1 << 18];
    std::setvbuf(stdout, buffer, _IOFBF, sizeof buffer);
    __fsetlocking(stdout, FSETLOCKING_BYCALLER); // there is one thread
}

bool results_refused() {
    if (std::ferror(stdout) == 0) return false;
    if (write_error == 0) write_error = errno != 0 ? errno : EIO;
    return true;
}

int leave(int status) {
    errno = 0;
    std::fflush(stdout);
    if (results_refused()) {
        if (write_error != EPIPE) {
            std::fprintf(stderr, "norvane-pm: cannot write the results: %s\n",
                         std::strerror(write_error));
        }
        if (status == STATUS_OK) status = STATUS_INPUT_AT_FAULT;
    }
    // What a throw has left behind is lost, and no fault to look for.
    if (!orderly_exit || status == STATUS_INTERNAL_FAILURE) std::_Exit(status);
    return status;
}

} // namespace norvane::pm
