// The declaration that the library is working on, or was when it threw.
#ifndef NORVANE_PM_CULPRIT_H
#define NORVANE_PM_CULPRIT_H

#include <string>

#include "session.h"

namespace norvane::driver {

// A declaration for a person: "rule", "variable", ..., where it stands ("file (line): "), and its
// text. The kind is empty where there is none.
struct Culprit {
    const char* kind = "";
    std::string position;
    std::string text;
};

// The declaration at which the library's mark stands (norvane/base/work.h).
Culprit find_culprit(const Session& session);

// As find_culprit, but without the text of the expression, which can take long to print.
Culprit find_place(const Session& session);

} // namespace norvane::driver

#endif
