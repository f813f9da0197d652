// Jobs, and the progress sink.
#include "norvane/base/progress.h"

#include <cstdarg>

#include "norvane/base/except.h"
#include "norvane/base/strings.h"

namespace norvane::diagnostics {
namespace {

struct {
    MsgProgressSink sink; // null: none
    void* user;
    int last_job;
} progress;

} // namespace
} // namespace norvane::diagnostics

using namespace norvane::diagnostics;

void msg_set_progress_sink(MsgProgressSink sink, void* user) {
    progress.sink = sink;
    progress.user = user;
}

void msg_report_prgs_start(int kind, const char* format, ...) {
    NORVANE_ASSERT(format);
    ++progress.last_job;
    if (!progress.sink) return;
    char text[MESSAGE_BUFFER_SIZE];
    va_list arguments;
    va_start(arguments, format);
    str_vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    const MsgProgress event = {1, progress.last_job, kind, text, 0};
    progress.sink(&event, progress.user);
}

int msg_get_progress_job(void) {
    return progress.last_job;
}

void msg_report_prgs_stop(int job, int status) {
    if (!progress.sink) return;
    const MsgProgress event = {0, job, 0, "", status};
    progress.sink(&event, progress.user);
}
