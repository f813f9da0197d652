// The place in a model's source that a report blames.
#ifndef NORVANE_PROJ_POSITION_H
#define NORVANE_PROJ_POSITION_H

#include "norvane/base/strings.h"
#include "norvane/proj/project.h"

namespace norvane::model {

struct Position {
    char text[MESSAGE_BUFFER_SIZE];
};

// "FILE (LINE): ", or what else proj_line_information writes for this line number.
inline Position position_of(LineInfo* line_info, unsigned linenumber) {
    Position position;
    proj_line_information(line_info, linenumber, position.text);
    return position;
}

} // namespace norvane::model

#endif
