// How this library's modules report a fault in a user's input.
#ifndef NORVANE_PROJ_REPORT_H
#define NORVANE_PROJ_REPORT_H

#include "norvane/base/diagnostics.h"

namespace norvane {

// Stores the place of the call in the report and passes it to the sink, which takes it over.
inline void report(ErrorType type, ErrorInfo* error, int line = __builtin_LINE(),
                   const char* file = __builtin_FILE()) {
    err_set_position(error, line, file);
    msg_report_error(type, error);
}

inline void report_error(ErrorInfo* error, int line = __builtin_LINE(),
                         const char* file = __builtin_FILE()) {
    report(ERROR_TYPE_ERROR, error, line, file);
}

} // namespace norvane

#endif
