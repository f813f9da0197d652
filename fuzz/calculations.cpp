#include "checks.h"

namespace norvane::fuzz {
namespace {

// A model with variables of each type, under the names that the seeds use.
SymbolTable* checked_model() {
    static Model model =
        check("constant N : 3; type Color : [Blue, \"{1}Red\"]; Tint : Color;\n"
              "Leaf : { public q : [0..9]; private hidden : boolean; public color : Tint;\n"
              "  public cells : array 2 of array N of integer; };\n"
              "variable public flag : boolean; range : [0..9]; count : integer;\n"
              "weight : float; text : string; color : Color; a, b, c : integer;\n"
              "leaf : Leaf; leaves : array 2 of Leaf; maybe : optional Leaf;\n"
              "bits : array 3 of boolean; private secret : integer;\n");
    expect(model.table != nullptr, "the model is refused");
    return model.table.get();
}

// Empty if there is no source of it.
std::string source(PolyHash* calc) {
    bool is_written = false;
    const std::string text =
        on_stream([&](FILE* stream) { is_written = runs([&] { calc_to_file(calc, stream); }); });
    return is_written ? text : "";
}

} // namespace

bool check_xml_round_trip(PolyHash* calc) {
    const auto write = [](PolyHash* what, const char* path) { calc_export_to_file(path, what, 1); };
    return check_round_trip(calc, calc_import_from_xmlfile, write, calc_delete);
}

void check_types(PolyHash* calc) {
    static SymbolTable* table = checked_model();
    const std::string before = source(calc);
    int result = 0;
    if (runs([&] { result = calc_check_functions(calc, table); }))
        expect(result == 0 || result == 1, "the check returns 0 or 1");
    expect_equal(before, source(calc), "a calculation before and after its check");
}

} // namespace norvane::fuzz
