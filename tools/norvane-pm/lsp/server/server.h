// The protocol: what each message of the client does.
#ifndef NORVANE_PM_LSP_SERVER_H
#define NORVANE_PM_LSP_SERVER_H

#include <deque>
#include <optional>
#include <string>
#include <vector>

#include "connection.h"
#include "context.h"
#include "documents.h"
#include "units.h"

namespace norvane::driver::lsp {

class Server {
  public:
    // `end` becomes readable when the process is to end.
    Server(int output, int end) : client_(output, end), units_(documents_, client_) {}

    // Takes the body of a message. A cancellation works at once, everything else in handle_next().
    void take(const std::string& body);
    void refuse_frame(const char* fault);
    // A message could not be read for lack of memory, so that any document may be out of step.
    void lose_message();
    // Handles a message; false if none is left.
    bool handle_next();

    // Of the run that is going on, or -1; to be served when it is readable.
    int run_descriptor() const { return units_.descriptor(); }
    void serve_run();
    // Starts what there is to run, after all messages.
    void when_idle();

    bool has_ended() const { return has_exited_ || client_.is_broken(); }
    // Whether the client has ended it as it should.
    bool was_shut_down() const { return state_ == State::shut_down; }
    // The client's process, or 0.
    int client_process() const { return client_process_; }

  private:
    enum class State { started, running, shut_down };
    // A request about a document, or without a feature about the names of all.
    struct Waiting {
        Json id;
        const Feature* feature;
        Json params;
        std::string path;
    };
    struct Handler {
        const char* method;
        void (Server::*handle)(const Json& params);
    };
    static const Handler handlers[];

    void cancel(const Json& id);
    void handle(const Json& message);
    void handle_answer(const Json& message);
    void handle_notification(const std::string& method, const Json& params);
    void handle_or_refuse(const Json& id, const std::string& method, const Json& params);
    void handle_request(const Json& id, const std::string& method, const Json& params);
    void answer_or_wait(Waiting request);
    bool can_be_answered(const Waiting& request);
    Json answer_to(const Waiting& request);
    void answer(const Waiting& request);
    void answer_waiting();
    void refuse_waiting(const std::string& path);

    void forget(const std::string& path);

    Json initialize(const Json& params);
    void initialized(const Json& params);
    void opened(const Json& params);
    void changed(const Json& params);
    void saved(const Json& params);
    void closed(const Json& params);
    void files_changed(const Json& params);

    Connection client_;
    Documents documents_;
    Units units_;
    State state_ = State::started;
    bool has_exited_ = false;
    bool watches_files_ = false; // the client can
    Client abilities_;
    int client_process_ = 0;
    std::deque<Json> messages_;
    std::vector<Waiting> waiting_; // for a run
};

} // namespace norvane::driver::lsp

#endif
