// What the scanner, the parser and the loader of PM source share.
//
// One load runs at a time in a process. The scanner's start condition and its input buffer outlive
// a load; all else is set by the loader.
#ifndef NORVANE_PROJ_PMFRONTEND_H
#define NORVANE_PROJ_PMFRONTEND_H

#include <bit>
#include <cstddef>
#include <cstdio>

#include "norvane/base/strings.h"
#include "norvane/proj/project.h"

namespace norvane {

// The text of a string literal, or of several in a row. Its memory is as large as room_for tells,
// so that a long row of literals is joined in linear time.
struct PmString {
    char* text; // owned
    std::size_t length;
};
inline std::size_t room_for(std::size_t length) {
    return std::bit_ceil(length + 1);
}

// The arms of a case: as many conditions as evaluations.
struct PmArms {
    PolyList* conditions;  // owned; Expr
    PolyList* evaluations; // owned; Expr
};

struct PmFrontEnd {
    Project* project;       // under construction; of the load in progress
    UtilString* buffer;     // the string literal or line directive that is being read
    unsigned line;          // of the token being scanned, as the records of the model hold it
    unsigned comment_depth; // how many block comments are open
    bool bar_warned;        // a file gets the warning about bars between labels once
};
extern PmFrontEnd pm;

// The prefix of a message about the current line, in a buffer that the next call overwrites.
const char* pm_position();

// Makes the scanner read from the start of `file`, in the condition that the last load left.
void pm_scan(std::FILE* file);
// True if the file could not be read to its end.
bool pm_read_failed();

} // namespace norvane

// The next token, its value in pmlval; 0 at the end of the input.
int pmlex();

#endif
