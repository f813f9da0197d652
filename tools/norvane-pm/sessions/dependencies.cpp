#include "dependencies.h"

#include <filesystem>

#include "dependency_rule.h"
#include "session.h"

namespace norvane::driver {
namespace {

// As compilers name it: after the result, beside it; without one, after the input, in the current
// directory.
std::string default_file(const Options& options) {
    if (options.output != "-") return std::filesystem::path(options.output).replace_extension(".d");
    const std::string& input = options.calculation.empty() ? options.file : options.calculation;
    if (input == "-")
        throw WrongUsage{
            "-MD needs -MF FILE where the input is standard input and the result no file"};
    return std::filesystem::path(input).filename().replace_extension(".d");
}

} // namespace

Dependencies::Dependencies(const Options& options)
    : file_(options.dependency_file), targets_(options.dependency_targets),
      with_phony_(options.has_phony_targets) {
    if (file_.empty()) file_ = default_file(options);
    if (targets_.empty() && options.output == "-")
        throw WrongUsage{"-MD needs -MT TARGET where the result is not a file: nothing tells what "
                         "depends on the files"};
    if (targets_.empty()) targets_.push_back(quoted_for_make(options.output));
}

void Dependencies::check(const InputFiles& inputs) const {
    if (const std::string read = inputs.replaced_by(file_, Inputs::stay); !read.empty())
        throw WrongUsage{"the dependencies would replace a file that was read: " + read,
                         "name another file with -MF"};
    for (const std::string& read : inputs.files()) {
        // Make would take what follows for a rule or a variable of its own.
        if (read.find('\n') != std::string::npos)
            throw WrongUsage{"make cannot read a name with a line feed: " + read};
    }
}

std::string Dependencies::rule(const InputFiles& inputs) const {
    return dependency_rule(targets_, inputs.files(), with_phony_);
}

} // namespace norvane::driver
