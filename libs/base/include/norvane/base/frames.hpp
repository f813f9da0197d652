// Releasing what a function holds when what it calls fails.
//
// A failure of this library (except.h) is a longjmp, which runs no destructors: `caught` stops it.
// An error sink of the host may throw a C++ exception instead, which passes all frames: `Finally`
// acts on both, where the failures are caught within its scope.
#ifndef NORVANE_BASE_FRAMES_HPP
#define NORVANE_BASE_FRAMES_HPP

#include <cstdio>

#include "norvane/base/except.h"

namespace norvane {

// Runs body() and returns whether it failed; `state` then holds the failure.
template <typename Body>
bool caught(ExceptionState* state, Body body) {
    const auto run = [](void* user) { (*static_cast<Body*>(user))(); };
    return except_catch(run, &body, state) != 0;
}

// Runs an action at the end of its scope.
template <typename Action>
class Finally {
  public:
    explicit Finally(Action action) : action_(action) {}
    Finally(const Finally&) = delete;
    Finally& operator=(const Finally&) = delete;
    ~Finally() { action_(); }

  private:
    Action action_;
};

// Runs body(), and release() once body has returned or failed. A failure goes on afterwards.
template <typename Body, typename Release>
void release_after(Body body, Release release) {
    ExceptionState state;
    bool has_failed = false;
    {
        const Finally end(release);
        has_failed = caught(&state, body);
    }
    if (has_failed) except_rethrow(&state);
}

// The same for a file, which is closed. Returns the result of std::fclose.
template <typename Body>
int close_after(std::FILE* file, Body body) {
    int status = 0;
    release_after(body, [&] { status = std::fclose(file); });
    return status;
}

} // namespace norvane

#endif
