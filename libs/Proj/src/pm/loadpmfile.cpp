// Loads PM source: runs the preprocessor, then the scanner and the parser of pmlexer.l and
// pmgrammar.y over what it wrote.
#include "norvane/proj/loadpmfile.h"

#include <cstdio>

#include <unistd.h>

#include "norvane/base/except.h"
#include "norvane/base/os.h"
#include "norvane/base/util.h"
#include "norvane/proj/proj_errors.h"

#include "pmfrontend.h"
#include "pmgrammar.hpp"
#include "report.h"

namespace norvane {

PmFrontEnd pm;

const char* pm_position() {
    static char position[MESSAGE_BUFFER_SIZE];
    proj_line_information(pm.project->line_info, pm.line, position);
    return position;
}

namespace {

// Opens the preprocessor's output; null after a report. The file is gone from its folder at once,
// so that nothing that stops the load can leave it behind.
std::FILE* open_preprocessed(const char* name) {
    std::FILE* stream = std::fopen(name, "r");
    // By the very name that the preprocessor's output has, and without a need for memory.
    unlink(name);
    if (!stream) report_error(ERR_CPP_OUTPUT_NOT_FOUND(name));
    return stream;
}

// The preprocessed text of a file; null after a report, or without one if no name for a temporary
// file is to be had.
std::FILE* preprocess(const char* user_filename, const PolyList* cpp_args) {
    char* temporary = util_temp_filename(".pm");
    if (!temporary) return nullptr;
    std::FILE* stream = nullptr;
    // When the preprocessor fails, what it wrote stays, for the modeller to look at.
    if (os_pre_process_file(temporary, user_filename, cpp_args) != 0)
        report_error(ERR_CPP());
    else
        stream = open_preprocessed(temporary);
    str_delete(temporary);
    return stream;
}

} // namespace
} // namespace norvane

using namespace norvane;

Project* lpm_load_file(FILE* file, char* filename) {
    NORVANE_ASSERT(file);
    NORVANE_ASSERT(filename);
    pm_scan(file);
    pm.project = proj_new_project(str_copy(filename), nullptr, str_copy(filename));
    pm.buffer = ustr_new();
    pm.line = 0;
    pm.comment_depth = 0;
    bool is_loaded = pmparse() == 0;
    // What was read makes sense by chance alone if there should be more of it.
    if (is_loaded && pm_read_failed()) {
        report_error(ERR_FILE_OPEN(filename));
        is_loaded = false;
    }
    if (!is_loaded) {
        proj_delete(pm.project);
        pm.project = nullptr;
    }
    ustr_delete(pm.buffer);
    Project* project = pm.project;
    pm = {};
    return project;
}

Project* proj_import_from_pmfile(char* user_filename, PolyList* cpp_args) {
    NORVANE_ASSERT(user_filename);
    NORVANE_ASSERT(cpp_args);
    // Callers tell a missing file from a failed preprocessor by this report.
    if (!os_file_exists(user_filename)) {
        report_error(ERR_FILE_OPEN(user_filename));
        return nullptr;
    }
    std::FILE* stream = preprocess(user_filename, cpp_args);
    if (!stream) return nullptr;
    Project* project = lpm_load_file(stream, user_filename);
    std::fclose(stream);
    return project;
}
