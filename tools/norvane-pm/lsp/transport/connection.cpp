#include "connection.h"

#include <algorithm>
#include <cerrno>
#include <climits>

#include <poll.h>
#include <unistd.h>

namespace norvane::driver::lsp {

void Connection::answer(const Json& id, Json result) {
    write({{"jsonrpc", "2.0"}, {"id", id}, {"result", std::move(result)}});
}

void Connection::refuse(const Json& id, ErrorCode code, const std::string& message) {
    write({{"jsonrpc", "2.0"},
           {"id", id},
           {"error", {{"code", static_cast<int>(code)}, {"message", message}}}});
}

void Connection::notify(const char* method, Json params) {
    write({{"jsonrpc", "2.0"}, {"method", method}, {"params", std::move(params)}});
}

void Connection::request(const char* method, Json params) {
    write({{"jsonrpc", "2.0"},
           {"id", "norvane-" + std::to_string(++last_id_)},
           {"method", method},
           {"params", std::move(params)}});
}

// Until the client reads, so that PIPE_BUF bytes can be written at once; false at the end.
bool Connection::wait() const {
    for (;;) {
        pollfd entries[] = {{descriptor_, POLLOUT, 0}, {end_, POLLIN, 0}};
        if (poll(entries, 2, -1) < 0 && errno != EINTR) return false;
        if (entries[1].revents != 0) return false;
        if (entries[0].revents != 0) return true;
    }
}

void Connection::write(const Json& message) {
    const std::string body = message.dump(-1, ' ', false, Json::error_handler_t::replace);
    const std::string text = "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
    for (std::size_t done = 0; done < text.size() && !is_broken_;) {
        if (!wait()) {
            is_broken_ = true;
            return;
        }
        const ssize_t written = ::write(descriptor_, text.data() + done,
                                        std::min<std::size_t>(text.size() - done, PIPE_BUF));
        if (written > 0)
            done += static_cast<std::size_t>(written);
        else if (errno != EINTR)
            is_broken_ = true;
    }
}

} // namespace norvane::driver::lsp
