#include "finite.h"

#include <string>

namespace norvane::driver {
namespace {

// Reports that the library makes before it stops are dropped, since the stop is reported
// afterwards.
class DroppedReports {
  public:
    DroppedReports() : before_(msg_get_error_sink(&user_before_)) {
        msg_set_error_sink([](ErrorType, ErrorInfo* error, void*) { err_delete(error); }, nullptr);
    }
    ~DroppedReports() { msg_set_error_sink(before_, user_before_); }
    DroppedReports(const DroppedReports&) = delete;
    DroppedReports& operator=(const DroppedReports&) = delete;

  private:
    void* user_before_ = nullptr;
    MsgErrorSink before_;
};

} // namespace

const Model& make_finite(Session& session, const CheckedModel& model) {
    session.begin(Step::simplify, session.subject);
    const DroppedReports dropped;
    return session.keep(model.simplify());
}

const FlatRules& expand_rules(Session& session, const CheckedModel& model, RuleForm form,
                              RuleOrigins origins) {
    session.begin(Step::expand, session.subject);
    const DroppedReports dropped;
    return session.keep(model.rules(form, origins));
}

void check_size(Session& session, const FlatModel& flat) {
    const unsigned long long most = session.options.max_nodes;
    if (most == 0 || flat.size() <= most) return;
    Report report;
    report.set_title("the model has more than " + std::to_string(most) +
                     " variables: see --max-nodes");
    session.diagnostics.report(report);
    throw InputAtFault();
}

} // namespace norvane::driver
