#include "run.h"

#include <cerrno>
#include <cstring>
#include <memory>
#include <new>
#include <system_error>

#include "failure.h"
#include "forms.h"
#include "output.h"
#include "session.h"
#include "source_hints.h"
#include "status.h"
#include "warned_model.h"
#include "watch.h"

namespace norvane::driver {
namespace {

// Where the fault may be that the file is only a part of a model, it says of what.
void point_to_whole(Session& session) {
    const Options& options = session.options;
    const bool is_of_source = model_form(options.from, session.model_file) != ModelForm::xml &&
                              (session.step == Step::load || session.step == Step::check);
    if (!is_of_source || session.subject != session.model_file) return;
    if (!session.diagnostics.misses_names()) return;
    if (const auto note = note_of_includer(session.model_file)) session.diagnostics.report(*note);
}

int status_of(Session& session, void (*command)(Session&)) {
    try {
        const Watch watch(session);
        if (session.options.has_dependencies && session.options.files.empty())
            session.dependencies.emplace(session.options);
        session.keep_results_apart();
        command(session);
        session.write_dependencies();
        return STATUS_OK;
    } catch (const ResultsRefused&) {
        return STATUS_OK; // the end of the run tells what was lost
    } catch (const InputAtFault&) {
        point_to_whole(session);
        return STATUS_INPUT_AT_FAULT;
    } catch (const EndedWith& worst) {
        return worst.status;
    } catch (const WrongUsage& wrong) {
        session.diagnostics.say(wrong.text, wrong.hint);
        return STATUS_WRONG_USAGE;
    } catch (const InternalFailure& failure) {
        note_throw();
        if (report_stop(session, failure)) return STATUS_INPUT_AT_FAULT;
        return report_failure(session, failure);
    } catch (const std::bad_alloc&) {
        return report_out_of_memory(session);
    } catch (const std::system_error& refusal) {
        return report_refusal(session, refusal);
    }
}

// Lost results are a fault, unless the reader has seen enough.
int status_with_results(Session& session, int status) {
    const int lost = finish_results();
    if (lost == 0) return status;
    if (lost != EPIPE)
        session.diagnostics.say(std::string("cannot write the results: ") + std::strerror(lost));
    return status == STATUS_OK ? STATUS_INPUT_AT_FAULT : status;
}

} // namespace

int run_command(const Options& options, void (*command)(Session&)) {
    reserve_memory_for_reports();
    auto session = std::make_unique<Session>(options);
    const int status = status_of(*session, command);
    session->output.discard();
    const int status_at_end = status_with_results(*session, status);
    if (status == STATUS_OK || status == STATUS_INPUT_AT_FAULT)
        session->diagnostics.close(status == STATUS_OK);
    else
        session->diagnostics.close_after_failure();
    // Millions of nodes need not be released one by one.
    if (!orderly_exit) static_cast<void>(session.release());
    return status_at_end;
}

std::vector<Finding> findings_of(const Options& options, void (*command)(Session&)) {
    std::vector<Finding> findings;
    Session session(options, [&findings](const Finding& finding) { findings.push_back(finding); });
    bool succeeded = false;
    try {
        command(session);
        succeeded = true;
    } catch (const InputAtFault&) {
        point_to_whole(session);
    } catch (const InternalFailure& failure) {
        if (!report_stop(session, failure)) throw;
    }
    session.diagnostics.close(succeeded);
    return findings;
}

} // namespace norvane::driver
