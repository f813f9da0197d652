// What the command line asks for.
#ifndef NORVANE_PM_OPTIONS_H
#define NORVANE_PM_OPTIONS_H

#include <string>
#include <vector>

#include "format.h"
#include "selection.h"

namespace norvane::driver {

enum class RuleLanguage; // languages.h

// The form of a model's file. The last two are only converted from.
enum class ModelForm { unknown, source, xml, dimacs, uvl };

// The form of a calculation's file. A package is only read.
enum class CalcForm { unknown, source, xml, package };

// Each command takes some of them. Of files, "-" is standard input, or, where it is written,
// standard output.
struct Options {
    Format format = Format::text;
    Color color = Color::automatic;
    bool quiet = false;             // shows errors alone
    bool is_part = false;           // of several runs
    std::string file;               // the model, the presentation, the workspace or the package
    std::string other_file;         // the model that it is compared with
    std::vector<std::string> files; // several models in its place, each of which gets a run
    bool takes_result = false;      // as the second of two files
    unsigned jobs = 1;              // runs at a time
    ModelForm from = ModelForm::unknown;
    std::vector<std::string> cpp_args; // "-IDIR", "-DNAME=VALUE", "-UNAME", in the order given
    bool first = false;                // report no more than the library
    bool fix = false;                  // write what is certain into the model's files
    unsigned max_errors = 50;          // 0: no limit
    unsigned long long max_nodes = 0;  // 0: no limit
    Selection warnings;
    std::vector<std::string> warning_words; // that `warnings` has taken, as they were given
    std::string output = "-";
    ModelForm to = ModelForm::unknown;
    std::string texts; // the file for display texts of renamed names
    bool as_written = false;
    bool with_origin = false;
    RuleLanguage language{}; // of the rules; the plain text is the first
    bool by_name = false;    // values of the rules

    std::vector<std::string> assumptions; // rules for the analysis
    std::string solver;                   // empty for any that is installed
    unsigned time_limit = 10;             // seconds for a question
    bool with_example = false;
    bool with_count = false;
    bool has_dependencies = false;               // writes a rule with the files that were read
    std::string dependency_file;                 // empty: named after the result or the input
    std::vector<std::string> dependency_targets; // quoted as make reads them
    bool has_phony_targets = false;

    std::string calculation;
    CalcForm calc_from = CalcForm::unknown;
    CalcForm calc_to = CalcForm::unknown;
    std::string package_model; // whose calculation is meant, where the file is a package
    bool without_lines = false;

    std::vector<std::string> presentations; // to be merged
    std::string presentation;               // to be held against a model
    std::vector<std::string> key_words;     // that its keys may have beside names
    std::string layer;
    std::string key;
    std::string var_order;

    std::string project; // of a workspace, or the model of a package
    std::string type;    // of the commands, or of the model
    std::string extra_arg;
    std::string order_type;
    std::string extra_arg2;
    std::string bin_directory;
    std::string build_directory = ".";
    std::string output_directory = ".";
    bool statistics = false;
    bool debug = false;

    std::string help;        // that is asked for
    std::string wrong_usage; // what is wrong with the command line,
    std::string way_out;     // and the way out, where it is known

    std::string error_name;
    bool list = false;
    bool list_warnings = false;
};

} // namespace norvane::driver

#endif
