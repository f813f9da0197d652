#include "work.h"

#include <cstring>
#include <string>

#include "diagnostics_sink.h"

namespace norvane::pm {

const char* step_text(Step step) {
    switch (step) {
    case Step::load: return "loading";
    case Step::check: return "checking";
    case Step::simplify: return "simplifying";
    case Step::expand: return "expanding the rules of";
    case Step::check_functions: return "checking";
    case Step::print: return "printing";
    case Step::write: return "writing";
    }
    return "";
}

void begin_step(Work& work, Step step, const char* subject) {
    work.step = step;
    work.subject = subject;
    work.diagnostics->begin(step_text(step), subject);
}

const char* input_name(const std::string& file) {
    return file == "-" ? "/dev/stdin" : file.c_str();
}

bool open_output(Work& work) {
    const char* name = work.options->output.c_str();
    begin_step(work, Step::write, std::strcmp(name, "-") == 0 ? "standard output" : name);
    if (work.output.open(name)) return true;
    report_error(ERR_FILE_OPEN_WRITE(name));
    return false;
}

bool close_output(Work& work) {
    if (work.output.close()) return true;
    work.diagnostics->say("cannot write " + work.options->output + ": " +
                          std::strerror(work.output.error()));
    return false;
}

} // namespace norvane::pm
