// Calculations as XML: checked, written, and read again as the same bytes.
#include "checks.h"
#include "harness.h"
#include "norvane/proj/calc_import.h"

using namespace norvane::fuzz;

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const QuietSink sink;
    PolyHash* read = nullptr;
    // A root element of the format other than a calculation ends in a defined failure; every other
    // refusal is reported.
    const bool is_told = runs([&] { read = calc_import_from_xmlfile(input_file(data, size)); });
    const CalculationPtr calc(read);
    expect(calc != nullptr || !is_told || sink.reports() > 0, "a refusal without a report");
    if (!calc) return 0;
    check_types(*calc);
    expect(check_xml_round_trip(*calc), "what was read cannot be written");
    return 0;
}
