#include "checks.h"

#include <cstdio>
#include <functional>
#include <string>

#include "harness.h"
#include "norvane/proj/calc_export.h"
#include "norvane/proj/calc_import.h"
#include "norvane/proj/calc_print.h"
#include "norvane/proj/calc_typecheck.h"
#include "norvane/proj/loadpmfile.h"
#include "norvane/proj/staticsem.h"
#include "norvane/proj/symboltable.h"

namespace norvane::fuzz {
namespace {

// A model with variables of each type, under the names that the seeds use.
SymbolTable* checked_model() {
    static char text[] =
        "constant N : 3; type Color : [Blue, \"{1}Red\"]; Tint : Color;\n"
        "Leaf : { public q : [0..9]; private hidden : boolean; public color : Tint;\n"
        "  public cells : array 2 of array N of integer; };\n"
        "variable public flag : boolean; range : [0..9]; count : integer;\n"
        "weight : float; text : string; color : Color; a, b, c : integer;\n"
        "leaf : Leaf; leaves : array 2 of Leaf; maybe : optional Leaf;\n"
        "bits : array 3 of boolean; private secret : integer;\n";
    static char name[] = "model.pm";
    std::FILE* stream = fmemopen(text, sizeof text - 1, "r");
    static Project* project = lpm_load_file(stream, name); // the table borrows from it
    std::fclose(stream);
    expect(project != nullptr, "the model is refused");
    return proj_static_sem_check(project);
}

// The output of `write`; empty if the format cannot express the calculation.
std::string written(const std::function<void(std::FILE*)>& write) {
    bool is_written = false;
    const std::string text =
        printed([&](std::FILE* stream) { is_written = runs([&] { write(stream); }); });
    return is_written ? text : "";
}

std::string source(PolyHash& calc) {
    return written([&](std::FILE* stream) { calc_to_file(&calc, stream); });
}

std::string xml(PolyHash& calc) {
    return written([&](std::FILE* stream) { calc_export_to_stream(stream, &calc, 1); });
}

} // namespace

bool check_xml_round_trip(PolyHash& calc) {
    static MemoryFile file;
    const std::string first = xml(calc);
    if (first.empty()) return false;
    file.write(first);
    const CalculationPtr again(calc_import_from_xmlfile(file.path()));
    expect(again != nullptr, "what was written is refused");
    expect_equal(first, xml(*again), "a calculation that was written and read");
    return true;
}

void check_types(PolyHash& calc) {
    static SymbolTable* table = checked_model();
    const std::string before = source(calc);
    int result = 0;
    if (runs([&] { result = calc_check_functions(&calc, table); }))
        expect(result == 0 || result == 1, "the check returns 0 or 1");
    expect_equal(before, source(calc), "a calculation before and after its check");
}

} // namespace norvane::fuzz
