// Throws as the modules of this room see them.
#ifndef NORVANE_BASE_THROWING_H
#define NORVANE_BASE_THROWING_H

#include "norvane/base/except.h"

namespace norvane::core {

// The frame to which a throw of the calling thread goes; null if it has none.
ExceptionFrame* innermost_frame();

// Throws with a text that is not stored for the next throw, so that it touches nothing that another
// thread uses.
[[noreturn]] void throw_text(int kind, int line, const char* file, const char* text);

} // namespace norvane::core

#endif
