// How a call guard (call_guard.cpp) refuses a thread.
#ifndef NORVANE_BASE_THROWING_H
#define NORVANE_BASE_THROWING_H

namespace norvane::core {

// Throws EXCEPT_ASSERTION to the innermost frame if that is the calling thread's own, and aborts
// the process if not. Touches nothing that the running thread uses.
[[noreturn]] void throw_in_this_thread(int line, const char* file, const char* text);

} // namespace norvane::core

#endif
