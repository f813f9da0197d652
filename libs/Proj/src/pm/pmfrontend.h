// Shared by the scanner, the parser and the loader of PM source.
#ifndef NORVANE_PROJ_PMFRONTEND_H
#define NORVANE_PROJ_PMFRONTEND_H

#include <bit>
#include <cstddef>

#include "norvane/base/strings.h"
#include "norvane/proj/project.h"
#include "position.h"
#include "scanning.h"

namespace norvane::pm {

// The text of one string literal, or of several that follow each other. Its memory has the size
// that room_for gives, so that joining a long row of literals takes linear time.
struct Literal {
    char* text; // owned
    std::size_t length;
};
inline std::size_t room_for(std::size_t length) {
    return std::bit_ceil(length + 1);
}

// The arms of a case: as many conditions as evaluations.
struct Arms {
    PolyList* conditions;  // owned; Expr
    PolyList* evaluations; // owned; Expr
};

// The state of one load. What outlives a load is the scanner's start condition.
struct Load {
    SourceFile file;
    Project* project = nullptr;    // under construction; owned by the loader
    UtilString* buffer = nullptr;  // the string literal or line directive that is being read
    unsigned line = 0;             // of the token being scanned, as Expr.linenumber holds it
    unsigned comment_depth = 0;    // how many block comments are open
    bool is_warned_of_bar = false; // a file gets the warning about bars between labels once
};

// The prefix of a message about the current line.
inline model::Position position_of(const Load& load) {
    return model::position_of(load.project->line_info, load.line);
}

// Makes the scanner read from the start of load.file, in the start condition that the last load
// left. One load runs at a time in a process, because they share the scanner.
void start_scanner(Load& load);

} // namespace norvane::pm

#endif
