// Loads calculation source: runs the scanner and the parser of calclexer.l and calcgrammar.y over a
// file or a text.
#include "norvane/proj/loadclfile.h"

#include <cstdio>

#include "norvane/base/except.h"
#include "norvane/base/os.h"
#include "norvane/proj/proj_errors.h"

#include "calcgrammar.hpp"
#include "clfrontend.h"
#include "report.h"

namespace norvane {

ClFrontEnd cl;

const char* cl_position() {
    static char position[MESSAGE_BUFFER_SIZE];
    str_snprintf(position, sizeof position, "%s (%d): ", cl.input_name, cllloc.first_line);
    return position;
}

namespace {

// Parses what the scanner has been made to read.
PolyHash* parse(const char* input_name) {
    cl.calc = calc_new();
    cl.buffer = ustr_new();
    // The texts belong to the arguments and variables that they name.
    cl.local_names = pset_new(100, poly_compare_string, nullptr, poly_hash_string, nullptr);
    str_snprintf(cl.input_name, sizeof cl.input_name, "%s", input_name);
    bool is_loaded = clparse() == 0;
    // What was read makes sense by chance alone if there should be more of it.
    if (is_loaded && cl_read_failed()) {
        report_error(ERR_FILE_OPEN(input_name));
        is_loaded = false;
    }
    if (!is_loaded) {
        calc_delete(cl.calc);
        cl.calc = nullptr;
    }
    ustr_delete(cl.buffer);
    pset_delete(cl.local_names);
    PolyHash* calc = cl.calc;
    cl = {};
    return calc;
}

} // namespace
} // namespace norvane

using namespace norvane;

PolyHash* calc_import_from_clfile(const char* path) {
    NORVANE_ASSERT(path);
    if (!os_file_exists(path)) {
        report_error(ERR_FILE_OPEN(path));
        return nullptr;
    }
    std::FILE* file = std::fopen(path, "r");
    if (!file) {
        // Callers know this report, though no preprocessor runs.
        report_error(ERR_CPP_OUTPUT_NOT_FOUND(path));
        return nullptr;
    }
    cl_read_file(file);
    PolyHash* calc = parse(path);
    std::fclose(file);
    return calc;
}

PolyHash* calc_import_from_string(const char* text) {
    NORVANE_ASSERT(text);
    cl_read_text(text);
    return parse("input string");
}
