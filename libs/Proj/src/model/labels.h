// Labels of enumerations as a user sees them.
#ifndef NORVANE_PROJ_LABELS_H
#define NORVANE_PROJ_LABELS_H

#include <cstring>

namespace norvane::model {

// The part of a label that is shown: what follows a leading "{...}", or all of it if there is no
// such prefix or nothing follows it. Points into `label`.
inline char* shown_label(char* label) {
    if (*label != '{') return label;
    char* close = std::strchr(label, '}');
    return close && close[1] ? close + 1 : label;
}

} // namespace norvane::model

#endif
