#include "session.h"

#include <cstring>
#include <iterator>

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
    inputs.add_named(file);
    struct stat info;
    if (stat(file.c_str(), &info) != 0 || !S_ISDIR(info.st_mode)) return;
    Finding finding;
    finding.name = "ERR_FILE_OPEN";
    finding.message = "'" + file + "' is a directory";
    diagnostics.report(finding);
    throw InputAtFault();
}

void Session::open_result(const std::string& name) {
    begin(Step::write, name == "-" ? "standard output" : name);
    if (output.open(name)) return;
    report([&name] { return ERR_FILE_OPEN_WRITE(name.c_str()); });
    throw InputAtFault();
}

void Session::close_result(const std::string& name) {
    if (output.close()) return;
    diagnostics.say("cannot write " + name + ": " + std::strerror(output.error()));
    throw InputAtFault();
}

void Session::keep_inputs(const std::string& result, Inputs named) const {
    const std::string read = inputs.replaced_by(result, named);
    if (!read.empty())
        throw WrongUsage{"the result would replace a file that was read: " + read,
                         "write it to another file"};
}

void Session::keep_results_apart() const {
    struct Named {
        const char* what;
        const char* option;
        std::string file;
    };
    const Named results[] = {{"the dependencies", "-MF", dependencies ? dependencies->file() : ""},
                             {"the texts", "--texts", options.texts},
                             {"the result", "-o", options.output}};
    for (const Named* other = std::begin(results); other != std::end(results); ++other) {
        if (other->file.empty() || other->file == "-") continue;
        const FileIdentity file = identity_of(other->file);
        for (const Named* one = results; one != other; ++one)
            if (would_replace(one->file, file))
                throw WrongUsage{std::string(one->what) + " and " + other->what +
                                     " would be one file: " + one->file,
                                 std::string("name another file with ") + one->option};
    }
}

void Session::open_output(Inputs named) {
    keep_inputs(options.output, named);
    write_dependencies();
    open_result(options.output);
}

void Session::close_output() {
    close_result(options.output);
}

void Session::write_dependencies() {
    if (!dependencies) return;
    dependencies->check(inputs);
    const std::string name = dependencies->file();
    const std::string rule = dependencies->rule(inputs);
    dependencies.reset();
    open_result(name);
    std::fwrite(rule.data(), 1, rule.size(), output.stream());
    output.refused();
    close_result(name);
}

} // namespace norvane::driver
