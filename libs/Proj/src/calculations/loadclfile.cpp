// Loads calculation source: runs the scanner and the parser over a file or a text.
#include "norvane/proj/loadclfile.h"

#include <cstdio>

#include "norvane/base/call_guard.hpp"
#include "norvane/base/diagnostics.h"
#include "norvane/base/except.h"
#include "norvane/base/frames.hpp"
#include "norvane/base/os.h"

#include "calcgrammar.hpp"
#include "clfrontend.h"
#include "report.h"

namespace norvane::calculations {

namespace {

bool parse(Load& load, const char* input_name) {
    if (clparse(load) != 0) return false;
    if (!load.input.file.failed) return true;
    // A file that was not read to its end can still parse: by chance, and to something else.
    report_error(ERR_FILE_OPEN(input_name));
    return false;
}

PolyHash* load_input(const Input& input, const char* input_name) {
    Load load{};
    load.calc = calc_new();
    load.buffer = ustr_new();
    // The texts belong to the arguments and variables that they name.
    load.local_names = pset_new(100, poly_compare_string, nullptr, poly_hash_string, nullptr);
    load.input = input;
    str_snprintf(load.input_name, sizeof load.input_name, "%s", input_name);
    begin_scan(load);
    bool is_loaded = false;
    release_after([&] { is_loaded = parse(load, input_name); },
                  [&] {
                      pset_delete(load.local_names);
                      ustr_delete(load.buffer);
                      if (!is_loaded) calc_delete(load.calc);
                  });
    return is_loaded ? load.calc : nullptr;
}

// Stands for the start condition of the scanner, which outlives a load: so loads must not nest.
constexpr char scanner_condition = 0;

} // namespace
} // namespace norvane::calculations

using namespace norvane;
using namespace norvane::calculations;

PolyHash* calc_import_from_clfile(const char* path) {
    const CallGuard guard(__func__, &scanner_condition);
    NORVANE_ASSERT(path);
    if (!os_file_exists(path)) {
        report_error(ERR_FILE_OPEN(path));
        return nullptr;
    }
    std::FILE* file = std::fopen(path, "r");
    if (!file) {
        // Callers know this failure by the name of a missing output of the preprocessor, although
        // none runs here.
        report_error(ERR_CPP_OUTPUT_NOT_FOUND(path));
        return nullptr;
    }
    PolyHash* calc = nullptr;
    close_after(file, [&] { calc = load_input({nullptr, 0, {file, 0, false, 0, false}}, path); });
    return calc;
}

PolyHash* calc_import_from_string(const char* text) {
    const CallGuard guard(__func__, &scanner_condition);
    NORVANE_ASSERT(text);
    return load_input({text, std::strlen(text), {}}, "input string");
}
