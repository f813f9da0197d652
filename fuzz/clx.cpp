// Calculations as XML: checked, written, and read again as the same bytes.
#include "checks.h"

using namespace norvane::fuzz;

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const Reports reports;
    PolyHash* read = nullptr;
    // A root element of the format other than a calculation ends in a defined failure; every other
    // refusal is reported.
    const bool is_told = runs([&] { read = calc_import_from_xmlfile(input_file(data, size)); });
    const CalcPtr calc(read);
    if (is_told) expect_read(calc.get(), reports);
    if (!calc) return 0;
    check_types(calc.get());
    expect(check_xml_round_trip(calc.get()), "what was read cannot be written");
    return 0;
}
