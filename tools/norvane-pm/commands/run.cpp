#include "run.h"

#include <memory>
#include <new>

#include "failure.h"
#include "output.h"
#include "session.h"
#include "status.h"
#include "watch.h"

namespace norvane::pm {
namespace {

int status_of(Session& session, void (*command)(Session&)) {
    try {
        const Watch watch(session);
        command(session);
        return STATUS_OK;
    } catch (const InputAtFault&) {
        return STATUS_INPUT_AT_FAULT;
    } catch (const WrongUsage& wrong) {
        session.diagnostics.say(wrong.text, wrong.hint);
        return STATUS_WRONG_USAGE;
    } catch (const InternalFailure& failure) {
        return report_failure(session, failure);
    } catch (const std::bad_alloc&) {
        return report_out_of_memory(session);
    }
}

} // namespace

int run_command(const Options& options, void (*command)(Session&)) {
    reserve_memory_for_reports();
    auto session = std::make_unique<Session>(options);
    const int status = status_of(*session, command);
    session->output.discard();
    if (status == STATUS_OK || status == STATUS_INPUT_AT_FAULT)
        session->diagnostics.close(status == STATUS_OK);
    else
        session->diagnostics.close_after_failure();
    // Millions of nodes need not be released one by one.
    if (!orderly_exit) static_cast<void>(session.release());
    return status;
}

} // namespace norvane::pm
