// Long steps: how far they are, and how far they may go.
#ifndef NORVANE_PM_WATCH_H
#define NORVANE_PM_WATCH_H

#include <chrono>

#include "norvane/base/work.h"

#include "session.h"

namespace norvane::driver {

// While this lives, the library's work is watched: on a terminal, what it unfolds is shown several
// times a second, and a step that takes more nodes than the options allow is stopped by a throw of
// the kind EXCEPT_STOPPED.
class Watch {
  public:
    explicit Watch(Session& session);
    ~Watch();
    Watch(const Watch&) = delete;
    Watch& operator=(const Watch&) = delete;

  private:
    using Clock = std::chrono::steady_clock;

    static void look(const WorkMark* mark, void* user);
    void show(const WorkMark& mark);

    Session& session_;
    Clock::time_point shown_at_ = Clock::now();
};

} // namespace norvane::driver

#endif
