// A command under way: what it was given, how far it is, and what it has made.
#ifndef NORVANE_PM_WORK_H
#define NORVANE_PM_WORK_H

#include "norvane/proj.h"

#include "options.h"
#include "result_file.h"

namespace norvane::pm {

class Diagnostics;

enum class Step { load, check, simplify, expand, check_functions, print, write };

struct Work {
    const Options* options;
    char* file; // the model; standard input has a name here
    ModelForm from = ModelForm::unknown;
    ModelForm to = ModelForm::unknown;
    CalcForm calc_from = CalcForm::unknown;
    CalcForm calc_to = CalcForm::unknown;
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
    PolyHash* presentation = nullptr;
    PolyHash* addition = nullptr; // a presentation that is to be merged into the other
    PolyList* order = nullptr;
    PolyHash* calc = nullptr;
    ResultFile output{};
    bool succeeded = false;
};

// Notes the step and the file that it works on, for a failure in it and for reports that name no
// place, and shows it where progress is shown.
void begin_step(Work& work, Step step, const char* subject);

// "loading", ..., as in "while loading the model".
const char* step_text(Step step);

// What a file is called in reports: "-", as an input, is standard input.
const char* input_name(const std::string& file);

// Opens what is to be written, and puts it in its place. False after a report.
bool open_output(Work& work);
bool close_output(Work& work);

} // namespace norvane::pm

#endif
