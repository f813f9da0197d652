// What the command line asks for.
#ifndef NORVANE_PM_OPTIONS_H
#define NORVANE_PM_OPTIONS_H

#include <functional>
#include <string>
#include <vector>

namespace norvane::pm {

enum class Format { text, json };

enum class Command {
    info,
    check,
    print,
    simplify,
    rules,
    convert,
    presentation_list,
    presentation_get,
    presentation_merge,
    var_order_list,
    var_order_check,
    calc_check,
    calc_print,
    calc_convert,
    calc_builtins,
    explain
};

// The form of a model's file.
enum class ModelForm { unknown, source, xml };

// The form of a calculation's file. A package is only read.
enum class CalcForm { unknown, source, xml, package };

// The exit status of the program, for scripts to rely on.
enum Status : int {
    STATUS_OK = 0,
    STATUS_INPUT_AT_FAULT = 1, // and reported; a result that cannot be written counts as such
    STATUS_WRONG_USAGE = 2,
    STATUS_INTERNAL_FAILURE = 3
};

struct Options {
    Command command = Command::explain;
    std::string file; // the model, or the presentation; "-" is standard input, here and below
    ModelForm from = ModelForm::unknown;
    std::string output = "-"; // what a result is written to; standard output
    ModelForm to = ModelForm::unknown;
    std::vector<std::string> presentations; // to be merged
    std::string var_order;
    std::string calculation;
    CalcForm calc_from = CalcForm::unknown;
    CalcForm calc_to = CalcForm::unknown;
    std::string package_model; // whose calculation is meant, where the file is a package
    bool without_lines = false;
    std::string layer;
    std::string key;
    std::vector<std::string> cpp_args; // "-IDIR", "-DNAME=VALUE", "-UNAME", in the order given
    Format format = Format::text;
    bool as_written = false;
    bool with_origin = false;
    std::string error_name;
    bool list = false;
    std::function<int()> action; // of a command that has options of its own; empty for the others
};

} // namespace norvane::pm

#endif
