// Runs the C preprocessor over a model.
//
// GNU cpp in its traditional mode: `[0..MAX]` must expand MAX, where standard C reads `0..MAX` as
// one number, and apostrophes and `//` mean nothing in a model. Comments are kept (-C), since those
// of a model nest and the preprocessor's do not.
#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <csignal>
#include <ctime>
#include <fcntl.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include "cpp_arguments.h"
#include "cpp_messages.h"
#include "cpp_process.h"
#include "marker_filter.h"
#include "norvane/base/call_guard.hpp"
#include "norvane/base/callbacks.h"
#include "norvane/base/except.h"
#include "norvane/base/frames.hpp"
#include "norvane/base/memory.h"
#include "norvane/base/os.h"
#include "plain_source.h"

namespace norvane::os {
namespace {

// A base name is given, since it would be that of the model otherwise: the program that does the
// work gets it as an argument, and would take "@a.pm" for a file of options.
constexpr const char* cpp_options[] = {"cpp", "-traditional-cpp", "-C",    "-undef", "-nostdinc",
                                       "-w",  "-dumpbase",        "model", "-x",     "c"};
// Stands for "-w" where warnings are wanted. What the preprocessor does not warn of by default is a
// name in an #if that is not defined: a misspelt one is 0.
constexpr const char* with_warnings = "-Wundef";
// The form of messages that cpp_messages.cpp reads.
constexpr const char* message_options[] = {
    "-fno-diagnostics-show-caret", "-fno-diagnostics-show-option", "-fdiagnostics-color=never",
    "-fdiagnostics-column-unit=byte"};

constexpr std::size_t messages_limit = std::size_t{1} << 20; // what comes after is dropped

struct Settings {
    OsPreprocessorSink sink;
    void* user;
    unsigned seconds;
    OsIncludeSink include_sink;
    void* include_user;
    bool are_warnings_wanted;
    bool are_definitions_kept;
};
Settings settings = {nullptr, nullptr, 120, nullptr, nullptr, false, false};

// The file that is written.
struct Output {
    int descriptor;
    std::size_t size = 0;
    std::size_t held = 0;
    int error = 0; // EFBIG for more than output_limit
};
char output_buffer[1 << 16];

MarkerFilter filter;

void write_all(Output* output, const char* data, std::size_t size) {
    while (size > 0 && !output->error) {
        const ssize_t written = write(output->descriptor, data, size);
        if (written < 0 && errno == EINTR) continue;
        if (written < 0) {
            output->error = errno;
            return;
        }
        data += written;
        size -= static_cast<std::size_t>(written);
    }
}

void flush(Output* output) {
    write_all(output, output_buffer, output->held);
    output->held = 0;
}

void put(void* user, const char* data, std::size_t size) {
    auto* output = static_cast<Output*>(user);
    if (output->error) return;
    if (size > output_limit - output->size) {
        output->error = EFBIG;
        return;
    }
    output->size += size;
    if (size > sizeof output_buffer - output->held) flush(output);
    if (size > sizeof output_buffer) return write_all(output, data, size);
    std::memcpy(output_buffer + output->held, data, size);
    output->held += size;
}

// Not a standard stream's number, which the preprocessor would take for that stream.
int create_output(const char* path) {
    const int descriptor = open(path, O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600);
    if (descriptor < 0 || descriptor > 2) return descriptor;
    const int moved = fcntl(descriptor, F_DUPFD_CLOEXEC, 3);
    close(descriptor);
    return moved;
}

// Time left for a run, in milliseconds, as poll takes it.
class Deadline {
  public:
    explicit Deadline(unsigned seconds) : end_(now() + seconds * 1000LL) {}
    int left() const {
        const long long rest = end_ - now();
        return rest > 0 ? static_cast<int>(rest < 1'000'000 ? rest : 1'000'000) : 0;
    }

  private:
    static long long now() {
        timespec time;
        clock_gettime(CLOCK_MONOTONIC, &time);
        return time.tv_sec * 1000LL + time.tv_nsec / 1'000'000;
    }
    long long end_;
};

// What is read of one run.
struct Run {
    CppProcess process;
    Output* output;
    UtilString* messages;     // that the preprocessor wrote
    UtilString* failure;      // why it failed; empty if it did not
    bool has_refused = false; // whether the preprocessor rejected the source and reported why
};

// Reads once, as poll has said that something is there. False at the end, or after a failure.
bool read_output(Run* run) {
    const std::span<char> room = filter.room();
    const ssize_t size = read(run->process.output, room.data(), room.size());
    if (size < 0 && errno == EINTR) return true;
    if (size < 0) run->output->error = errno;
    if (size <= 0) return false;
    filter.received(static_cast<std::size_t>(size));
    return !run->output->error;
}

bool read_messages(Run* run) {
    char text[4096];
    const ssize_t size = read(run->process.messages, text, sizeof text);
    if (size < 0 && errno == EINTR) return true;
    if (size <= 0) return false;
    if (run->messages->length < messages_limit)
        ustr_append_chars(run->messages, text, static_cast<std::size_t>(size));
    return true;
}

// What poll watches of a run; a descriptor of -1, which poll ignores, is one that has ended.
struct Watched {
    enum { output, messages, process, count };
    pollfd descriptors[count];

    bool is_ready(int which) const { return descriptors[which].revents != 0; }
    void ended(int which) { descriptors[which].fd = -1; }
    bool is_any_left() const {
        return std::ranges::any_of(descriptors, [](const pollfd& one) { return one.fd >= 0; });
    }
};

// Reads what poll has said to be there. False if the output cannot be read or written.
bool read_ready(Run* run, Watched* watched) {
    if (watched->is_ready(Watched::output) && !read_output(run)) watched->ended(Watched::output);
    if (run->output->error) return false;
    if (watched->is_ready(Watched::messages) && !read_messages(run))
        watched->ended(Watched::messages);
    if (watched->is_ready(Watched::process)) watched->ended(Watched::process);
    return true;
}

// Reads both streams to their ends and waits for the end of the process, without its status. False
// where it has to be stopped.
bool read_streams(Run* run) {
    constexpr int nap = 10; // milliseconds
    const Deadline deadline(settings.seconds);
    Watched watched = {{{run->process.output, POLLIN, 0},
                        {run->process.messages, POLLIN, 0},
                        {run->process.ending, POLLIN, 0}}};
    while (watched.is_any_left() || !has_ended(run->process)) {
        const int wait = watched.is_any_left() ? deadline.left() : nap;
        const int ready = poll(watched.descriptors, Watched::count, wait);
        if (ready < 0 && errno != EINTR) run->output->error = errno;
        if (run->output->error || (ready > 0 && !read_ready(run, &watched))) return false;
        if (deadline.left() == 0) {
            ustr_printf(
                run->failure,
                "the C preprocessor was stopped after %u s: an included file may be a pipe that "
                "nothing is written to",
                settings.seconds);
            return false;
        }
    }
    return true;
}

// The first line that the preprocessor wrote, for the failures that it tells in another form than
// that of messages.
void append_first_line(UtilString* text, const UtilString* messages) {
    constexpr std::size_t most = 200;
    const char* line = messages->text + std::strspn(messages->text, "\n");
    const std::size_t size = std::min(std::strcspn(line, "\n"), most);
    if (size == 0) return;
    ustr_append_string(text, ": ");
    ustr_append_chars(text, line, size);
}

// How the process ended, if that is a failure.
void tell_status(Run* run, int status) {
    if (status == -1)
        ustr_append_string(run->failure, "the exit status of the C preprocessor is not known");
    else if (WIFSIGNALED(status))
        ustr_printf(run->failure, "the C preprocessor was ended by signal %d", WTERMSIG(status));
    else if (WEXITSTATUS(status) != 0)
        ustr_printf(run->failure, "the C preprocessor ended with status %d", WEXITSTATUS(status));
    run->has_refused = status != -1 && WIFEXITED(status) && WEXITSTATUS(status) != 0;
    if (run->has_refused) append_first_line(run->failure, run->messages);
}

void tell_included(const char* file) {
    if (settings.include_sink) settings.include_sink(file, settings.include_user);
}

void run_cpp(Run* run, char** arguments) {
    if (const int error = start_cpp(&run->process, arguments, settings.sink != nullptr)) {
        ustr_printf(run->failure, "cannot run the C preprocessor '%s': %s", arguments[0],
                    strerrordesc_np(error));
        return;
    }
    bool is_complete = false;
    int status = -1;
    release_after(
        [&] {
            filter.begin(put, run->output, tell_included);
            is_complete = read_streams(run);
            if (!is_complete) return;
            filter.end();
            flush(run->output);
        },
        [&] {
            if (!is_complete) stop_cpp(run->process);
            status = finish_cpp(&run->process);
        });
    if (is_complete) tell_status(run, status);
}

// True if the preprocessor is not needed: what it would have written is.
bool copy_without_cpp(Output* output, char** arguments) {
    if (copy_plain_source(arguments, put, output)) {
        flush(output);
        return true;
    }
    const int descriptor = output->descriptor;
    *output = {descriptor};
    if (ftruncate(descriptor, 0) != 0 || lseek(descriptor, 0, SEEK_SET) != 0) output->error = errno;
    return false;
}

// Runs the preprocessor into the new file.
void preprocess(Run* run, const char* path, char** arguments) {
    Output output = {create_output(path)};
    run->output = &output;
    if (output.descriptor < 0) {
        ustr_printf(run->failure, "cannot create '%s': %s", path, strerrordesc_np(errno));
        return;
    }
    release_after(
        [&] {
            if (!copy_without_cpp(&output, arguments)) run_cpp(run, arguments);
        },
        [&] {
            if (close(output.descriptor) != 0 && errno != EINTR) output.error = errno;
        });
    if (output.error && run->failure->length == 0)
        ustr_printf(run->failure, "cannot write '%s': %s", path, strerrordesc_np(output.error));
}

// The vector borrows the texts of the list.
char** argument_vector(const PolyList* list) {
    auto** arguments =
        static_cast<char**>(util_malloc_throw((plist_length(list) + 1) * sizeof(char*)));
    std::size_t n = 0;
    for (const PolyListNode* node = list->first; node; node = node->next)
        arguments[n++] = static_cast<char*>(node->element);
    arguments[n] = nullptr;
    return arguments;
}

// All arguments; null, with the reason in `error`, if one is refused.
PolyList* all_arguments(const char* input, const PolyList* options, UtilString* error) {
    PolyList* arguments = plist_new(nullptr, nullptr, poly_delete_string);
    for (const char* option : cpp_options) {
        const bool is_replaced = settings.are_warnings_wanted && std::strcmp(option, "-w") == 0;
        plist_append(arguments, str_copy(is_replaced ? with_warnings : option));
    }
    if (settings.are_definitions_kept) plist_append(arguments, str_copy("-dD"));
    if (settings.sink) {
        for (const char* option : message_options)
            plist_append(arguments, str_copy(option));
    }
    if (append_options(arguments, options, error)) {
        append_file(arguments, input);
        return arguments;
    }
    plist_delete(arguments);
    return nullptr;
}

void print_message(const OsPreprocessorMessage* message, void*) {
    std::fprintf(stderr, "norvane: error: %s\n", message->text);
}

void run_with_options(Run* run, const char* output, const char* input, const PolyList* options) {
    PolyList* list = all_arguments(input, options, run->failure);
    if (!list) return;
    char** arguments = argument_vector(list);
    release_after([&] { preprocess(run, output, arguments); },
                  [&] {
                      std::free(arguments);
                      plist_delete(list);
                  });
}

// Hands over the preprocessor's messages, and where it failed without one, the reason. Without a
// sink it has written its messages to standard error itself.
void tell(const Run& run) {
    OsPreprocessorSink const sink = settings.sink ? settings.sink : print_message;
    const unsigned errors = for_each_message(run.messages->text, sink, settings.user);
    const bool is_told = run.has_refused && (errors > 0 || !settings.sink);
    if (run.failure->length == 0 || is_told) return;
    OsPreprocessorMessage message = {};
    message.is_error = 1;
    message.text = run.failure->text;
    sink(&message, settings.user);
}

} // namespace
} // namespace norvane::os

using namespace norvane::os;

int os_pre_process_file(const char* output, const char* input, const PolyList* cpp_args) {
    const norvane::CallGuard guard(__func__, &filter); // one run at a time
    NORVANE_ASSERT(output);
    NORVANE_ASSERT(input);
    NORVANE_ASSERT(cpp_args);
    Run run = {{}, nullptr, ustr_new(), ustr_new()};
    bool is_success = false;
    norvane::release_after(
        [&] {
            run_with_options(&run, output, input, cpp_args);
            is_success = run.failure->length == 0;
            tell(run);
        },
        [&] {
            ustr_delete(run.messages);
            ustr_delete(run.failure);
        });
    return is_success ? STATUS_SUCCESS : STATUS_FAILURE;
}

void os_set_preprocessor_sink(OsPreprocessorSink sink, void* user) {
    settings.sink = sink;
    settings.user = user;
}

void os_set_preprocessor_time(unsigned seconds) {
    settings.seconds = seconds;
}

void os_set_preprocessor_warnings(int are_wanted) {
    settings.are_warnings_wanted = are_wanted != 0;
}

void os_set_preprocessor_definitions(int are_kept) {
    settings.are_definitions_kept = are_kept != 0;
}

void os_set_include_sink(OsIncludeSink sink, void* user) {
    settings.include_sink = sink;
    settings.include_user = user;
}
