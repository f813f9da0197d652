// Loads PM source: runs the preprocessor, then the scanner (pmlexer.l) and the parser (pmgrammar.y)
// on its output.
#include "norvane/proj/loadpmfile.h"

#include <cstdio>

#include <unistd.h>

#include "norvane/base/call_guard.hpp"
#include "norvane/base/except.h"
#include "norvane/base/frames.hpp"
#include "norvane/base/os.h"
#include "norvane/base/util.h"
#include "norvane/proj/proj_errors.h"

#include "pmfrontend.h"
#include "pmgrammar.hpp"
#include "report.h"

namespace norvane::pm {
namespace {

// Opens the preprocessor's output; null after a report. Unlinks the file at once, so that a load
// that is stopped leaves no file in the directory.
std::FILE* open_preprocessed(const char* name) {
    std::FILE* stream = std::fopen(name, "r");
    // Not os_delete_file, which needs memory and would translate the name.
    unlink(name);
    if (!stream) report_error(ERR_CPP_OUTPUT_NOT_FOUND(name));
    return stream;
}

// The preprocessed text of a file. Null after a report, and without a report if no name for a
// temporary file could be made.
std::FILE* preprocess(const char* user_filename, const PolyList* cpp_args) {
    char* temporary = util_temp_filename(".pm");
    if (!temporary) return nullptr;
    std::FILE* stream = nullptr;
    // When the preprocessor fails, its output stays, so that the modeller can look at it.
    if (os_pre_process_file(temporary, user_filename, cpp_args) != 0)
        report_error(ERR_CPP());
    else
        stream = open_preprocessed(temporary);
    str_delete(temporary);
    return stream;
}

// Scans and parses into load.project; false after a report.
bool parse(Load& load, const char* filename) {
    start_scanner(load);
    if (pmparse(load) != 0) return false;
    // After a read error the text that did parse is only the start of the source.
    if (load.file.failed) report_error(ERR_FILE_OPEN(filename));
    return !load.file.failed;
}

// Stands for the start condition of the scanner, which outlives a load: so loads must not nest.
constexpr char scanner_condition = 0;

Project* load_stream(std::FILE* file, const char* filename) {
    Load load{.file = {.stream = file}};
    load.project = proj_new_project(str_copy(filename), nullptr, str_copy(filename));
    load.buffer = ustr_new();
    bool is_loaded = false;
    release_after([&] { is_loaded = parse(load, filename); },
                  [&] {
                      ustr_delete(load.buffer);
                      if (!is_loaded) proj_delete(load.project);
                  });
    return is_loaded ? load.project : nullptr;
}

} // namespace
} // namespace norvane::pm

using namespace norvane;
using namespace norvane::pm;

Project* lpm_load_file(FILE* file, char* filename) {
    const CallGuard guard(__func__, &scanner_condition);
    NORVANE_ASSERT(file);
    NORVANE_ASSERT(filename);
    return load_stream(file, filename);
}

Project* proj_import_from_pmfile(char* user_filename, PolyList* cpp_args) {
    const CallGuard guard(__func__, &scanner_condition);
    NORVANE_ASSERT(user_filename);
    NORVANE_ASSERT(cpp_args);
    // By this report callers distinguish a missing file from a failed preprocessor.
    if (!os_file_exists(user_filename)) {
        report_error(ERR_FILE_OPEN(user_filename));
        return nullptr;
    }
    std::FILE* stream = preprocess(user_filename, cpp_args);
    if (!stream) return nullptr;
    Project* project = nullptr;
    close_after(stream, [&] { project = load_stream(stream, user_filename); });
    return project;
}
