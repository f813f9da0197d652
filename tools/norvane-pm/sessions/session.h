// A command under way: what it was given, how far it is, and what it has made.
//
// A command is a function of its session. It returns when it has succeeded, and throws otherwise:
// an InputAtFault after a report, a WrongUsage, ResultsRefused, or what the library or the system
// has thrown.
#ifndef NORVANE_PM_SESSION_H
#define NORVANE_PM_SESSION_H

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "norvane/proj.hpp"

#include "dependencies.h"
#include "diagnostics.h"
#include "input_files.h"
#include "options.h"
#include "result_file.h"
#include "standard_input.h"

namespace norvane::driver {

// The input is at fault, which was reported.
struct InputAtFault {};

// Standard output refuses to take more, which the end of the run reports.
struct ResultsRefused {};

// The command line is at fault: what is wrong, such as "there is no error ERR_X", and the way out.
struct WrongUsage {
    std::string text;
    std::string hint = {};
};

// Thrown when runs in child processes failed and have already reported why. `status` is the highest
// of their exit statuses.
struct EndedWith {
    int status;
};

enum class Step { load, check, simplify, expand, check_functions, ask, print, write, pack };

// "loading", ..., as in "while loading the model".
const char* step_text(Step step);

// What a file is called in reports: "-", as an input, is standard input.
std::string input_name(const std::string& file);

class Session {
  public:
    explicit Session(const Options& what, OnFinding on_finding = {})
        : options(what),
          diagnostics({what.format, what.color, what.quiet, what.is_part}, std::move(on_finding)),
          model_file(what.file) {}

    // Notes the step and the file that it works on, for a failure in it and for reports that name
    // no place, and shows it where progress is shown.
    void begin(Step step, const std::string& subject);
    // The same for the step load, of a file. The libraries open a directory as they do a file, and
    // then find nothing in it, so it is refused here.
    void begin_load(const std::string& file);

    // Holds a value until the session ends, which in most builds is the end of the process.
    template <typename T>
    T& keep(T value) {
        auto kept = std::make_shared<T>(std::move(value));
        kept_.push_back(kept);
        return *kept;
    }
    // Takes the value of a result; the reports have been shown.
    template <typename T>
    T& take(Result<T> result) {
        if (!result) throw InputAtFault();
        return keep(*std::move(result));
    }
    void take(const Result<void>& result) const {
        if (!result) throw InputAtFault();
    }

    // Shows a report of the driver's own, made by a builder of the library.
    template <typename Build>
    void report(Build build) const {
        gather([&build] { msg_report_error(ERROR_TYPE_ERROR, build()); }, on_report);
    }

    // Opens what is to be written, writes to it by `write(stream)`, and puts it in its place.
    // Throws a WrongUsage if it would replace a file that was read.
    template <typename Write>
    void write_output(Write write, Inputs named = Inputs::stay) {
        open_output(named);
        write(output.stream());
        output.refused();
        close_output();
    }
    // The same for a further result of this name, before the output.
    template <typename Write>
    void write_result(const std::string& name, Write write) {
        keep_inputs(name, Inputs::stay);
        open_result(name);
        write(output.stream());
        output.refused();
        close_result(name);
    }
    // The same for what is printed of the subject: a failure in it is one of that subject.
    template <typename Print>
    void print_output(Print print) {
        const std::string printed = subject;
        open_output(Inputs::stay);
        begin(Step::print, printed);
        print(output.stream());
        output.refused();
        close_output();
    }
    // Throws a WrongUsage if two results would be one file, so that the one written first is lost.
    void keep_results_apart() const;
    // A build that finds the result new looks at the dependencies, so those are written first.
    void open_output(Inputs named);
    void close_output();
    // Writes the rule that names the files which were read, if it is asked for. Once.
    void write_dependencies();

    const Options& options;
    Diagnostics diagnostics;
    const OnReport on_report = [this](const Report& report) { diagnostics.report(report); };
    std::string model_file; // the model that is loaded, as it was named
    InputFiles inputs;
    ResultFile output;
    std::optional<Dependencies> dependencies;
    std::optional<StandardInput> standard_input; // once it was read for a model
    Step step = Step::load;
    std::string subject; // the file that the step works on
    // What the step works on, borrowed: a failure is reported by its declarations.
    const Project* project = nullptr;
    const Calculation* calculation = nullptr;

  private:
    // Throws a WrongUsage if the result would replace a file that was read.
    void keep_inputs(const std::string& result, Inputs named) const;
    void open_result(const std::string& name);
    void close_result(const std::string& name);

    std::vector<std::shared_ptr<void>> kept_;
};

} // namespace norvane::driver

#endif
