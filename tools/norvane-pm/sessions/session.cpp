#include "session.h"

#include <cstring>

#include <sys/stat.h>

namespace norvane::driver {

const char* step_text(Step step) {
    switch (step) {
    case Step::load: return "loading";
    case Step::check: return "checking";
    case Step::simplify: return "simplifying";
    case Step::expand: return "expanding the rules of";
    case Step::check_functions: return "checking";
    case Step::ask: return "asking a solver about";
    case Step::print: return "printing";
    case Step::write: return "writing";
    case Step::pack: return "packing";
    }
    return "";
}

std::string input_name(const std::string& file) {
    return file == "-" ? "/dev/stdin" : file;
}

void Session::begin(Step next, const std::string& file) {
    step = next;
    subject = file;
    diagnostics.begin(step_text(step), subject);
    work_begin();
}

void Session::begin_load(const std::string& file) {
    begin(Step::load, file);
    struct stat info;
    if (stat(file.c_str(), &info) != 0 || !S_ISDIR(info.st_mode)) return;
    Finding finding;
    finding.name = "ERR_FILE_OPEN";
    finding.message = "'" + file + "' is a directory";
    diagnostics.report(finding);
    throw InputAtFault();
}

void Session::open_output() {
    const std::string& name = options.output;
    begin(Step::write, name == "-" ? "standard output" : name);
    if (output.open(name)) return;
    report([&name] { return ERR_FILE_OPEN_WRITE(name.c_str()); });
    throw InputAtFault();
}

void Session::close_output() {
    if (output.close()) return;
    diagnostics.say("cannot write " + options.output + ": " + std::strerror(output.error()));
    throw InputAtFault();
}

} // namespace norvane::driver
