// Calculations as XML: what is read is written and read again as the same bytes.
#include <string>

#include "harness.h"
#include "norvane/proj/calc.h"
#include "norvane/proj/calc_export.h"
#include "norvane/proj/calc_import.h"

using namespace norvane::fuzz;

namespace {

// A root of the format that is no calculation ends in a defined failure; all else that is refused
// is reported.
PolyHash* read(const std::string& text, const QuietSink& sink) {
    static MemoryFile file;
    file.write(text);
    const unsigned before = sink.reports();
    PolyHash* calc = nullptr;
    const bool is_told = runs([&] { calc = calc_import_from_xmlfile(file.path()); });
    expect(calc != nullptr || !is_told || sink.reports() > before, "a refusal without a report");
    return calc;
}

std::string written(PolyHash* calc) {
    return printed([&](std::FILE* stream) { calc_export_to_stream(stream, calc, 1); });
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const QuietSink sink;
    PolyHash* calc = read({reinterpret_cast<const char*>(data), size}, sink);
    if (calc == nullptr) return 0;
    const std::string first = written(calc);
    PolyHash* again = read(first, sink);
    expect(again != nullptr, "what was written is refused");
    expect_equal(first, written(again), "a calculation that was written and read");
    calc_delete(again);
    calc_delete(calc);
    return 0;
}
