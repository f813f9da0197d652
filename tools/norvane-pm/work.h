// A command under way: what it was given, how far it is, and what it has made.
#ifndef NORVANE_PM_WORK_H
#define NORVANE_PM_WORK_H

#include "norvane/proj.h"

#include "options.h"

namespace norvane::pm {

class Diagnostics;

enum class Step { load, check, simplify, expand, print };

struct Work {
    const Options* options;
    char* file;
    PolyList* cpp_args = nullptr; // char*, borrowed from the options
    Diagnostics* diagnostics = nullptr;
    Step step = Step::load;
    const char* subject = ""; // the file that the step works on
    Project* project = nullptr;
    SymbolTable* table = nullptr;
    Project* finite = nullptr;
    PolyList* rules = nullptr;
    PolyList* origins = nullptr; // RuleDecl, in step with `rules`
    UtilString* text = nullptr;
    bool succeeded = false;
};

// Notes the step and the file that it works on, for a failure in it and for reports that name no
// place, and shows it where progress is shown.
void begin_step(Work& work, Step step, const char* subject);

// "loading", ..., as in "while loading the model".
const char* step_text(Step step);

} // namespace norvane::pm

#endif
