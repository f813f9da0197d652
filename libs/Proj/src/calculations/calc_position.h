// The place in a source of calculations that a report blames.
#ifndef NORVANE_PROJ_CALC_POSITION_H
#define NORVANE_PROJ_CALC_POSITION_H

#include "norvane/base/strings.h"
#include "norvane/proj/calc.h"

namespace norvane {

struct CalcPosition {
    char text[MESSAGE_BUFFER_SIZE];
};

// "FILE (LINE): " of the function's source, or "" where one of them is unknown.
inline CalcPosition calc_position(const CFunc* func, int line) {
    CalcPosition position;
    position.text[0] = '\0';
    if (func->filename != nullptr && line != CALC_UNDEF_LINENO)
        str_snprintf(position.text, sizeof position.text, "%s (%d): ", func->filename, line);
    return position;
}

} // namespace norvane

#endif
