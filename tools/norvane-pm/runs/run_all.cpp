#include "run_all.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include <sys/wait.h>

#include "output.h"
#include "session.h"
#include "status.h"

namespace norvane::driver {
namespace {

// How many runs have ended in which way.
struct Count {
    std::size_t good = 0;
    std::size_t at_fault = 0;
    std::size_t failed = 0;

    void add(int status) {
        ++(status == STATUS_OK ? good : status < STATUS_INTERNAL_FAILURE ? at_fault : failed);
    }
};

std::string summary(const Count& count) {
    const std::size_t all = count.good + count.at_fault + count.failed;
    std::string text = std::to_string(all) + (all == 1 ? " model" : " models");
    const char* before = ": ";
    for (const auto& [number, what] :
         {std::pair(count.good, " without error"), std::pair(count.at_fault, " at fault"),
          std::pair(count.failed, " with an internal failure")}) {
        if (number == 0) continue;
        text += before + std::to_string(number) + what;
        before = ", ";
    }
    return text;
}

// Why a run has left no status of its own; empty if it has.
std::string sudden_end(int status) {
    if (WIFSIGNALED(status))
        return "the process was ended by signal " + std::to_string(WTERMSIG(status)) + " (" +
               sigdescr_np(WTERMSIG(status)) + ")";
    if (WEXITSTATUS(status) > STATUS_INTERNAL_FAILURE) return "the process ended without a report";
    return "";
}

int show(Session& session, const Run& run, const EndedRun& ended) {
    session.diagnostics.add(ended.reports());
    ended.copy_results(stdout);
    std::fflush(stdout); // before the reports of the next, which would inherit what is buffered
    results_refused();
    const std::string sudden = sudden_end(ended.status());
    if (sudden.empty()) return WEXITSTATUS(ended.status());
    Finding finding;
    finding.place.file = run.name;
    finding.message = sudden;
    session.diagnostics.report(finding);
    return STATUS_INTERNAL_FAILURE;
}

// Each run shows its reports as a part of ours.
void adapt(Options& options, const Diagnostics& diagnostics) {
    options.is_part = true;
    options.color = diagnostics.is_colored() ? Color::always : Color::never;
}

} // namespace

void run_all(Session& session, std::vector<Run> runs, unsigned most_at_a_time) {
    for (Run& run : runs)
        adapt(run.options, session.diagnostics);
    Count count;
    int worst = STATUS_OK;
    Processes processes(runs, most_at_a_time);
    for (std::size_t i = 0; i < runs.size() && !results_refused(); ++i) {
        session.diagnostics.show_progress(std::to_string(processes.ended()) + " of " +
                                          std::to_string(runs.size()) + " done");
        const int status = show(session, runs[i], processes.wait_for(i));
        count.add(status);
        worst = std::max(worst, status);
    }
    if (!results_refused()) session.diagnostics.sum_up(summary(count));
    if (worst != STATUS_OK) throw EndedWith{worst};
}

} // namespace norvane::driver
