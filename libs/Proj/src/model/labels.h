// The texts of enumeration labels that users see.
#ifndef NORVANE_PROJ_LABELS_H
#define NORVANE_PROJ_LABELS_H

#include <cstring>

namespace norvane::model {

// The part of a label that is shown: the text after a leading "{...}", or the whole label if it has
// no such prefix or nothing follows the prefix. Points into `label`.
inline char* shown_label(char* label) {
    if (*label != '{') return label;
    char* close = std::strchr(label, '}');
    return close && close[1] ? close + 1 : label;
}

} // namespace norvane::model

#endif
