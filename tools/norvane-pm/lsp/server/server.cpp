#include "server.h"

#include <algorithm>
#include <iterator>
#include <new>
#include <string_view>

#include "uri.h"

namespace norvane::driver::lsp {
namespace {

// Values are copied, compared and written by recursion. No client needs a tenth of this.
constexpr unsigned deepest_message = 200;

bool is_id(const Json& id) {
    return id.is_string() || id.is_number_integer();
}

// Of the request that a message is; null where it is none.
const Json& request_id(const Json& message) {
    static const Json none;
    const Json& id = member(message, "id");
    return member(message, "method").is_string() && is_id(id) ? id : none;
}

void show_error(Connection& client, const std::string& message) {
    client.notify("window/showMessage", {{"type", 1}, {"message", message}});
}

// The offset of the quote that ends a text; at or after the end where none does.
std::size_t end_of_text(std::string_view json, std::size_t quote) {
    std::size_t at = quote + 1;
    while (at < json.size() && json[at] != '"')
        at += json[at] == '\\' ? 2 : 1;
    return at;
}

bool is_too_deep(std::string_view json) {
    unsigned depth = 0;
    for (std::size_t at = 0; at < json.size() && depth <= deepest_message; ++at) {
        switch (json[at]) {
        case '"': at = end_of_text(json, at); break;
        case '{':
        case '[': ++depth; break;
        case '}':
        case ']': depth -= depth > 0 ? 1 : 0; break;
        default: break;
        }
    }
    return depth > deepest_message;
}

} // namespace

const Server::Handler Server::handlers[] = {
    {"initialized", &Server::initialized},
    {"textDocument/didOpen", &Server::opened},
    {"textDocument/didChange", &Server::changed},
    {"textDocument/didSave", &Server::saved},
    {"textDocument/didClose", &Server::closed},
    {"workspace/didChangeWatchedFiles", &Server::files_changed},
};

// Messages in. -----------------------------------------------------------------------------------

void Server::refuse_frame(const char* fault) {
    client_.refuse(nullptr, ErrorCode::parse_error, fault);
}

void Server::take(const std::string& body) {
    if (is_too_deep(body)) return refuse_frame("the message is nested too deeply");
    Json message = Json::parse(body, nullptr, false);
    if (message.is_discarded()) return refuse_frame("the message is not JSON");
    if (!message.is_object())
        return client_.refuse(nullptr, ErrorCode::invalid_request, "the message is not an object");
    if (member(message, "method") == "$/cancelRequest")
        return cancel(member(message, "params", "id"));
    messages_.push_back(std::move(message));
}

// Cancels a waiting request. A request that is being or has been answered is no longer in the list.
void Server::cancel(const Json& id) {
    if (!is_id(id)) return;
    const auto refuse = [this, &id](auto& requests, auto id_of) {
        const auto found = std::ranges::find(requests, id, id_of);
        if (found == requests.end()) return;
        requests.erase(found);
        client_.refuse(id, ErrorCode::request_cancelled, "the request was cancelled");
    };
    refuse(messages_, request_id);
    refuse(waiting_, &Waiting::id);
}

bool Server::handle_next() {
    if (messages_.empty() || has_ended()) return false;
    const Json message = std::move(messages_.front());
    messages_.pop_front();
    handle(message);
    return true;
}

// What the client sends of it from now on would be put into another text than the client's.
void Server::forget(const std::string& path) {
    if (documents_.close(path)) {
        units_.changed(path);
        units_.release(path);
        units_.settings_changed();
    }
}

void Server::lose_message() {
    client_.refuse(nullptr, ErrorCode::internal_error, "out of memory");
    std::vector<std::string> paths;
    for (const auto& [path, document] : documents_.all())
        paths.push_back(path);
    for (const std::string& path : paths)
        forget(path);
    show_error(client_, "out of memory: close all documents and open them again");
}

// A request, a notification, or the answer to a request of this server.
void Server::handle(const Json& message) {
    const Json& id = member(message, "id");
    const Json& method = member(message, "method");
    const Json& params = member(message, "params");
    if (!method.is_string()) return handle_answer(message);
    const auto& name = method.get_ref<const std::string&>();
    if (!message.contains("id")) return handle_notification(name, params);
    if (!is_id(id)) return client_.refuse(nullptr, ErrorCode::invalid_request, "the id is none");
    handle_or_refuse(id, name, params);
}

// An answer needs no reaction. A message that is not an answer and has no method is refused.
void Server::handle_answer(const Json& message) {
    const Json& id = member(message, "id");
    const bool is_answer =
        !member(message, "result").is_null() || !member(message, "error").is_null();
    if (is_answer || id.is_null()) return;
    client_.refuse(is_id(id) ? id : Json(), ErrorCode::invalid_request,
                   "the request has no method");
}

void Server::handle_or_refuse(const Json& id, const std::string& method, const Json& params) try {
    handle_request(id, method, params);
} catch (const RequestError& error) {
    client_.refuse(id, error.code, error.message);
} catch (const std::bad_alloc&) {
    client_.refuse(id, ErrorCode::internal_error, "out of memory");
} catch (const std::exception& error) {
    client_.refuse(id, ErrorCode::internal_error, error.what());
}

void Server::handle_notification(const std::string& method, const Json& params) {
    if (method == "exit") {
        has_exited_ = true;
        return;
    }
    if (state_ != State::running) return;
    const auto* row = std::ranges::find(handlers, method, &Handler::method);
    if (row == std::end(handlers)) return;
    try {
        (this->*row->handle)(params);
    } catch (const std::bad_alloc&) {
        const std::string path = path_of(text_of(member(params, "textDocument", "uri")));
        forget(path);
        show_error(client_, "out of memory: close " + path + " and open it again");
    } catch (const std::exception& error) {
        client_.notify("window/logMessage",
                       {{"type", 1}, {"message", std::string(row->method) + ": " + error.what()}});
    }
}

// Requests. --------------------------------------------------------------------------------------

void Server::handle_request(const Json& id, const std::string& method, const Json& params) {
    if (state_ == State::started && method != "initialize")
        throw RequestError{ErrorCode::not_initialized, "the server is not initialized"};
    if (state_ == State::shut_down)
        throw RequestError{ErrorCode::invalid_request, "the server was shut down"};
    if (method == "initialize") return client_.answer(id, initialize(params));
    if (method == "shutdown") {
        state_ = State::shut_down;
        return client_.answer(id, nullptr);
    }
    const bool is_about_all = method == "workspace/symbol";
    const Feature* feature = is_about_all ? nullptr : find_feature(method);
    if (!feature && !is_about_all)
        throw RequestError{ErrorCode::method_not_found, "there is no " + method};
    answer_or_wait({id, feature, params, path_of(text_of(member(params, "textDocument", "uri")))});
}

void Server::answer_or_wait(Waiting request) {
    if (can_be_answered(request))
        answer(request);
    else
        waiting_.push_back(std::move(request));
}

// Answers about a text are right only after the run on it.
bool Server::can_be_answered(const Waiting& request) {
    if (!request.feature || request.feature->needs_all)
        return std::ranges::all_of(units_.all(), [](auto* unit) { return unit->is_up_to_date(); });
    const Unit* unit = units_.of(request.path);
    return !unit || unit->is_up_to_date();
}

void Server::answer_waiting() {
    for (Waiting& request : std::exchange(waiting_, {}))
        answer_or_wait(std::move(request));
}

Json Server::answer_to(const Waiting& request) {
    if (!request.feature)
        return workspace_symbols(units_.all(), documents_,
                                 text_of(member(request.params, "query")));
    const Document* document = documents_.find(request.path);
    const Unit* unit = units_.of(request.path);
    if (!document) throw RequestError{ErrorCode::invalid_params, "the document is not open"};
    if (!unit) return nullptr; // it is one of settings
    return request.feature->answer(
        {documents_, *document, *unit, units_.all(), request.params, abilities_});
}

void Server::answer(const Waiting& request) try {
    client_.answer(request.id, answer_to(request));
} catch (const RequestError& error) {
    client_.refuse(request.id, error.code, error.message);
} catch (const std::bad_alloc&) {
    client_.refuse(request.id, ErrorCode::internal_error, "out of memory");
} catch (const std::exception& error) {
    client_.refuse(request.id, ErrorCode::internal_error, error.what());
}

Json Server::initialize(const Json& params) {
    if (state_ != State::started)
        throw RequestError{ErrorCode::invalid_request, "the server is initialized already"};
    state_ = State::running;
    const Json& process = member(params, "processId");
    if (process.is_number_integer()) client_process_ = process.get<int>();
    watches_files_ = member(params, "capabilities", "workspace", "didChangeWatchedFiles",
                            "dynamicRegistration") == true;
    abilities_.takes_snippets = member(params, "capabilities", "textDocument", "completion",
                                       "completionItem", "snippetSupport") == true;
    return {{"capabilities", capabilities()}, {"serverInfo", {{"name", "norvane-pm"}}}};
}

// Notifications. ---------------------------------------------------------------------------------

void Server::initialized(const Json&) {
    if (!watches_files_) return;
    Json watchers = Json::array();
    for (const char* pattern : {"**/*.pm", "**/*.cl", "**/*.h", "**/*.zeb", "**/.norvane.json"})
        watchers.push_back({{"globPattern", pattern}});
    client_.request("client/registerCapability",
                    {{"registrations",
                      {{{"id", "files"},
                        {"method", "workspace/didChangeWatchedFiles"},
                        {"registerOptions", {{"watchers", watchers}}}}}}});
}

void Server::opened(const Json& params) {
    const Document* document = documents_.open(member(params, "textDocument"));
    if (!document) return;
    units_.changed(document->path);
    units_.settings_changed(); // the document may include others
}

void Server::changed(const Json& params) {
    const Document* document =
        documents_.find(path_of(text_of(member(params, "textDocument", "uri"))));
    if (!document) return;
    const std::vector<std::string> included = documents_.included(document->path);
    documents_.change(params);
    refuse_waiting(document->path);
    units_.changed(document->path);
    if (is_of_settings(document->path) || documents_.included(document->path) != included)
        units_.settings_changed();
}

// The positions of requests are those of the text before.
void Server::refuse_waiting(const std::string& path) {
    std::erase_if(waiting_, [&](const Waiting& request) {
        if (request.path != path) return false;
        client_.refuse(request.id, ErrorCode::content_modified, "the text has changed");
        return true;
    });
}

// What a file includes may have changed with it.
void Server::saved(const Json& params) {
    const std::string path = path_of(text_of(member(params, "textDocument", "uri")));
    documents_.saved(path);
    units_.changed(path);
    units_.settings_changed();
}

void Server::closed(const Json& params) {
    const std::string path = path_of(text_of(member(params, "textDocument", "uri")));
    if (!documents_.close(path)) return;
    units_.changed(path);
    units_.release(path);
    units_.settings_changed();
}

void Server::files_changed(const Json& params) {
    const Json& changes = member(params, "changes");
    if (!changes.is_array()) return;
    for (const Json& change : changes)
        units_.changed(path_of(text_of(member(change, "uri"))));
    units_.settings_changed();
}

// Runs. ------------------------------------------------------------------------------------------

void Server::serve_run() {
    if (units_.read()) answer_waiting();
}

void Server::when_idle() {
    if (units_.stop_late()) answer_waiting();
    units_.run_next();
    if (!waiting_.empty()) answer_waiting();
}

} // namespace norvane::driver::lsp
