// Keeps other threads out while an exported function uses state of the library.
//
// Scanners, parsers, checkers and readers keep state in the library, which serves one thread at a
// time. Each exported function that uses such state begins with a guard, so that a breach fails at
// once instead of giving wrong results in both threads:
//
//     const CallGuard guard(__func__);
//
// While a guard lives, a guard of another thread throws EXCEPT_ASSERTION (except.h) to the
// innermost frame of that thread, or, without one, prints the text and aborts the process. Calls of
// the same thread nest, from an error sink for instance, unless both name the same `state`: then
// the inner one throws. A guard ends when its function returns, and when a throw or a C++ exception
// leaves it.
#ifndef NORVANE_BASE_CALL_GUARD_HPP
#define NORVANE_BASE_CALL_GUARD_HPP

#include "norvane/base/except.h"

namespace norvane {

// Lives on the stack of the guarded function.
class NORVANE_BASE_API CallGuard {
  public:
    // The text of a failure names `function`. `state`, if not null, serves one call at a time; only
    // its address is used.
    explicit CallGuard(const char* function, const void* state = nullptr);
    ~CallGuard();
    CallGuard(const CallGuard&) = delete;
    CallGuard& operator=(const CallGuard&) = delete;

    // Ends the guards that a throw to `frame` leaves; for except_throw.
    static void end_inside(const ExceptionFrame* frame);

  private:
    static void leave(CallGuard* outer);

    CallGuard* outer_;
    const ExceptionFrame* frame_; // the innermost frame when the guard was made
    const void* state_;
};

} // namespace norvane

#endif
