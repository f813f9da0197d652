// What the scanner, the parser and the loader of calculation source share.
//
// One parse runs at a time in a process. The scanner's start condition, its input buffer, the line
// of the last block comment and the warning about colons outlive a parse; all else is set by the
// loader.
#ifndef NORVANE_PROJ_CLFRONTEND_H
#define NORVANE_PROJ_CLFRONTEND_H

#include <cstdint>
#include <cstdio>

#include "norvane/base/set.h"
#include "norvane/base/strings.h"
#include "norvane/proj/calc.h"

namespace norvane {

// One component of a dotted name. A name is a chain of them until it is known to be a variable, the
// name of a function or that of a namespace.
struct ClName {
    char* text;        // owned
    PolyList* indices; // owned; CExpr; null where there are none
    ClName* rest;      // owned; null in the last component
};

struct ClFrontEnd {
    PolyHash* calc;                       // the calculation set under construction
    PolySet* local_names;                 // the arguments and variables of the current function so
                                          // far; borrows the texts
    std::uint64_t local_places;           // of those names; most others are known by it
    UtilString* buffer;                   // the string literal that is being read
    char input_name[MESSAGE_BUFFER_SIZE]; // of the file; for messages and functions
};
extern ClFrontEnd cl;

// The prefix of a message about the current line, in a buffer that the next call overwrites.
const char* cl_position();

// Make the scanner read from the start of an open file or of a text, at line 1, in the condition
// that the last parse left. Both are borrowed until the parse ends.
void cl_read_file(std::FILE* file);
// True if the file could not be read to its end.
bool cl_read_failed();
void cl_read_text(const char* text);

} // namespace norvane

// The next token, its value in cllval; 0 at the end of the input. The current line is kept in
// cllloc.first_line.
int cllex();

#endif
