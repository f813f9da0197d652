// The mark of what the library is working on, and the host's watch over it.
#include "norvane/base/work.h"

#include <limits>

namespace {

constexpr unsigned long long never = std::numeric_limits<unsigned long long>::max();
constexpr unsigned long long interval = 4096; // units between two calls of the watch

struct Watch {
    WorkWatch function;
    void* user;
};
Watch watch;

void watch_from_now_on() {
    work_mark.watched = watch.function ? work_mark.units + interval : never;
}

} // namespace

WorkMark work_mark = {WORK_NOTHING, nullptr, 0, 0, 0, never};

void work_set_watch(WorkWatch function, void* user) {
    watch = {function, user};
    watch_from_now_on();
}

void work_begin() {
    work_mark = {WORK_NOTHING, nullptr, 0, 0, 0, never};
    watch_from_now_on();
}

void work_call_watch() {
    watch_from_now_on(); // before the call, which may throw
    if (watch.function) watch.function(&work_mark, watch.user);
}
