// Releasing what a function holds when what it calls fails.
//
// A failure of this library (except.h) is a longjmp, which runs no destructors: `caught` stops it.
// An error sink of the host may throw a C++ exception instead, which passes all frames: `Finally`
// acts on both, where the failures are caught within its scope.
#ifndef NORVANE_PROJ_FRAMES_H
#define NORVANE_PROJ_FRAMES_H

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

// Runs body() and closes the file, and returns the result of std::fclose. A failure of the body
// goes on once the file is closed.
template <typename Body>
int close_after(std::FILE* file, Body body) {
    ExceptionState state;
    bool has_failed = false;
    int status = 0;
    {
        const Finally close([&] { status = std::fclose(file); });
        has_failed = caught(&state, body);
    }
    if (has_failed) except_rethrow(&state);
    return status;
}

} // namespace norvane

#endif
