// The steps on calculations.
#ifndef NORVANE_PM_CALCULATIONS_H
#define NORVANE_PM_CALCULATIONS_H

#include <string>

#include "norvane/proj.h"

#include "options.h"
#include "work.h"

namespace norvane::pm {

// What a file holds, by its extension.
CalcForm calculation_form_of(const std::string& file);

// The file of the calculation that is asked for: `info` takes one in the place of a model.
const std::string& calculation_file(const Options& options);

// True where `info` is asked for a calculation.
bool is_calculation(const Options& options);

// Steps: false after a report. The first four begin with loading the calculation; to check it, the
// model must be loaded and checked already.
bool info_calculation(Work& work);
bool check_calculation(Work& work);
bool print_calculation(Work& work);
bool convert_calculation(Work& work);

// Prints the built-in functions. Returns the exit status.
int list_builtins(const Options& options);

// Both are null where there is none.
struct FunctionOfCalculation {
    const CNameSpace* ns = nullptr;
    CFunc* func = nullptr;
};

// The first function on which the step that the work is in fails by itself.
FunctionOfCalculation function_that_fails(Work& work);

} // namespace norvane::pm

#endif
