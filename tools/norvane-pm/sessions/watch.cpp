#include "watch.h"

#include <string>

#include "culprit.h"
#include "text.h"

namespace norvane::driver {

Watch::Watch(Session& session) : session_(session) {
    const bool is_needed = session.options.max_nodes > 0 || session.diagnostics.shows_progress();
    if (is_needed) work_set_watch(look, this);
}

Watch::~Watch() {
    work_set_watch(nullptr, nullptr);
}

void Watch::look(const WorkMark* mark, void* user) {
    auto& watch = *static_cast<Watch*>(user);
    const unsigned long long most = watch.session_.options.max_nodes;
    if (most > 0 && mark->units > most) {
        except_report_errormsg("more than %llu nodes", most);
        except_throw(EXCEPT_STOPPED, __LINE__, __FILE__);
    }
    if (watch.session_.diagnostics.shows_progress()) watch.show(*mark);
}

void Watch::show(const WorkMark& mark) {
    constexpr auto pause = std::chrono::milliseconds(250);
    const Clock::time_point now = Clock::now();
    if (now - shown_at_ < pause) return;
    shown_at_ = now;
    std::string text = step_text(session_.step) + (" " + session_.subject);
    const Culprit place = find_place(session_);
    if (*place.kind != '\0')
        text += std::string(", ") + place.kind + " at " + place.position;
    else
        text += ": ";
    if (mark.turns > 0)
        text += std::to_string(mark.turn * 100 / mark.turns) + " % of " +
                std::to_string(mark.turns) + " turns";
    else
        text += std::to_string(mark.units) + " nodes";
    session_.diagnostics.show_progress(for_terminal(text));
}

} // namespace norvane::driver
