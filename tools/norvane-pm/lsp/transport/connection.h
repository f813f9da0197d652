// The client at the other end: answers, notifications and requests to it.
#ifndef NORVANE_PM_LSP_CONNECTION_H
#define NORVANE_PM_LSP_CONNECTION_H

#include <string>

#include "json.h"

namespace norvane::driver::lsp {

enum class ErrorCode {
    parse_error = -32700,
    invalid_request = -32600,
    method_not_found = -32601,
    invalid_params = -32602,
    internal_error = -32603,
    not_initialized = -32002,
    request_failed = -32803,
    content_modified = -32801,
    request_cancelled = -32800
};

// Ends a request with an error.
struct RequestError {
    ErrorCode code;
    std::string message;
};

class Connection {
  public:
    // Writing ends when `end` becomes readable, also where the client does not read.
    Connection(int descriptor, int end) : descriptor_(descriptor), end_(end) {}

    void answer(const Json& id, Json result);
    void refuse(const Json& id, ErrorCode code, const std::string& message);
    void notify(const char* method, Json params);
    void request(const char* method, Json params);

    // Whether the client no longer reads.
    bool is_broken() const { return is_broken_; }

  private:
    void write(const Json& message);
    bool wait() const;

    int descriptor_;
    int end_;
    bool is_broken_ = false;
    unsigned last_id_ = 0;
};

} // namespace norvane::driver::lsp

#endif
