// What the scanner, the parser and the loader of calculation source share.
#ifndef NORVANE_PROJ_CLFRONTEND_H
#define NORVANE_PROJ_CLFRONTEND_H

#include <cstdint>
#include <cstdio>

#include "norvane/base/set.h"
#include "norvane/base/strings.h"
#include "norvane/proj/calc.h"
#include "scanning.h"

namespace norvane::calculations {

// One component of a dotted name. The parser keeps a name as a chain of them until it knows whether
// it names a variable, a function or a namespace.
struct NamePart {
    char* text;        // owned
    PolyList* indices; // owned; CExpr; null for none
    NamePart* rest;    // owned; null in the last component
};

// What a load reads: a text or, if that is null, a file. Borrowed.
struct Input {
    const char* text;
    std::size_t left; // bytes at `text`
    SourceFile file;
};

// One load of calculation source.
struct Load {
    PolyHash* calc;             // owned; the result so far
    PolySet* local_names;       // owned, the names borrowed; the arguments and variables of
                                // the function so far
    std::uint64_t local_places; // a bit for each of them, to tell most other names fast
    UtilString* buffer;         // owned; the string literal that is being read
    Input input;
    char input_name[MESSAGE_BUFFER_SIZE]; // for reports and functions
};

// Makes the scanner read the input of the load from line 1, in the condition that the last load has
// left.
void begin_scan(Load& load);

} // namespace norvane::calculations

// The next token, its value in cllval, or 0 at the end of the input. The current line is that of
// cllloc.
int cllex();

#endif
