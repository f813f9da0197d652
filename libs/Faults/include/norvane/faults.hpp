// All faults of a source in one call, for C++17 and later: each with the range of the source that
// it is about, with notes and with what to write instead.
//
//     for (const norvane::Fault& fault : norvane::find_faults("bicycle.pm"))
//         std::printf("%s:%u: %s\n", fault.place.file.c_str(), fault.place.line,
//                     fault.message.c_str());
//
// The results are the reports of `norvane-pm check`, which norvane/proj.hpp has not: the library
// ends at the first error, and knows its line alone. They come from a static library of its own
// beside the project library: `norvane_faults` for pkg-config, norvane::faults for CMake.
//
// Nothing is printed. One call at a time in a process, those of norvane/proj.hpp included. During a
// call, `stdout` of the C library takes nothing, since the scanners copy characters of malformed
// sources there. Afterwards os_set_preprocessor_sink, os_set_preprocessor_warnings and
// util_set_temp_directory are at their defaults, and util_throw_scanner_failures is on.
//
// Texts are as in norvane/proj.hpp: those of models in code page 1252, file names as they were
// given. A replacement can so be written into the source as it is.
#ifndef NORVANE_FAULTS_HPP
#define NORVANE_FAULTS_HPP

#if __cplusplus < 201703L
#error "norvane/faults.hpp needs C++17 or later"
#endif

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace norvane {

// A range of a source file. Lines and columns count from 1, columns in bytes, and the range ends
// before its end. 0 stands for what is not known: a place without a column is a whole line, one
// without a line is a file.
struct FaultPlace {
    std::string file;
    unsigned line = 0;
    unsigned column = 0;
    unsigned end_line = 0;
    unsigned end_column = 0;
};

// How bad a fault is: only an error makes a source unusable.
enum class FaultSeverity { note, warning, error };

// A further place that explains a fault: "declared here", "included from here".
struct FaultNote {
    FaultPlace place;
    std::string text;
};

// What to write instead of a range. All replacements of a fault belong together.
struct FaultReplacement {
    FaultPlace place;
    std::string text;
    bool is_certain = false; // may be applied without asking
};

// What is wrong with a source, or odd about it.
struct Fault {
    FaultSeverity severity = FaultSeverity::error;
    std::string name; // such as "ERR_ID_UNDECLARED", or a warning's, such as "unused-name"
    std::string message;
    FaultPlace place;
    std::vector<FaultNote> notes;
    std::string hint; // the way out, in words; empty where there is none
    std::vector<FaultReplacement> replacements;
};

// How faults are looked for.
struct FaultOptions {
    std::vector<std::string> cpp_args; // as Model::from_source takes them: "-Iparts", "-DSIZE=3"
    std::vector<std::string> warnings; // what follows -W of the driver: "all", "no-unused-name"
};

// All faults of a model, source or XML, in the order of `norvane-pm check`; empty for one that
// passes without a warning. What cannot be read is a fault too. Throws std::invalid_argument for
// options that mean nothing, and InternalFailure (norvane/proj.hpp) for a failure of the library.
std::vector<Fault> find_faults(const std::filesystem::path& model,
                               const FaultOptions& options = {});

// The same of a calculation and of the model that it belongs to, whose faults come first: the
// reports of `norvane-pm calc check`.
std::vector<Fault> find_calculation_faults(const std::filesystem::path& calculation,
                                           const std::filesystem::path& model,
                                           const FaultOptions& options = {});

// A text of a fault in UTF-8. Each word of it that is UTF-8 already, as names of files may be,
// stays as it is.
std::string fault_text_to_utf8(std::string_view text);

} // namespace norvane

#endif
