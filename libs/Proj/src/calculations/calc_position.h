// The place in calculation source that a report names.
#ifndef NORVANE_PROJ_CALC_POSITION_H
#define NORVANE_PROJ_CALC_POSITION_H

#include "norvane/base/strings.h"
#include "norvane/proj/calc.h"

namespace norvane::calculations {

struct Position {
    char text[MESSAGE_BUFFER_SIZE];
};

// "FILE (LINE): "
inline Position position_of(const char* filename, int line) {
    Position position;
    str_snprintf(position.text, sizeof position.text, "%s (%d): ", filename, line);
    return position;
}

// The same for a line of a function; the empty text if its file or the line is unknown.
inline Position position_of(const CFunc* func, int line) {
    if (func->filename && line != CALC_UNDEF_LINENO) return position_of(func->filename, line);
    Position unknown;
    unknown.text[0] = '\0';
    return unknown;
}

} // namespace norvane::calculations

#endif
