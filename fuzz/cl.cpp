// Calculation source, read from a file and, unless it contains bytes that end a text, from memory:
// parsed, checked, printed, and written as XML and read again.
#include "checks.h"

namespace norvane::fuzz {
namespace {

// Resets the start condition of the scanner, which outlives a parse, so that inputs do not depend
// on each other: the first text ends a comment, the second one a string. If none is open, the
// second text is a complete string.
void settle_scanner() {
    CalcPtr(calc_import_from_string("\n*/ x"));
    CalcPtr(calc_import_from_string("\"x\""));
}

} // namespace
} // namespace norvane::fuzz

using namespace norvane::fuzz;

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const Reports reports;
    const std::string text(reinterpret_cast<const char*>(data), size);
    static MemoryFile file;
    file.write(text);
    const CalcPtr calc(calc_import_from_clfile(file.path()));
    expect_read(calc.get(), reports);
    settle_scanner();
    if (calc) {
        check_types(calc.get());
        check_xml_round_trip(calc.get());
    }
    if (text.find_first_of(std::string("\0\xFF", 2)) != std::string::npos) return 0;
    const CalcPtr of_text(calc_import_from_string(text.c_str()));
    settle_scanner();
    expect((calc == nullptr) == (of_text == nullptr), "a file and a text that differ");
    return 0;
}
