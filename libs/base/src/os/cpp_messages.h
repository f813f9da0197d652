// What the C preprocessor writes to its standard error, taken apart.
#ifndef NORVANE_BASE_CPP_MESSAGES_H
#define NORVANE_BASE_CPP_MESSAGES_H

#include "norvane/base/os.h"

namespace norvane::os {

// Calls the sink for each message in `text`, which is changed on the way, and returns how many of
// them are errors.
unsigned for_each_message(char* text, OsPreprocessorSink sink, void* user);

} // namespace norvane::os

#endif
