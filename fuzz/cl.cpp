// Calculation source, as a file and, where a text can hold it, as a text.
#include <string>

#include "harness.h"
#include "norvane/proj/calc.h"
#include "norvane/proj/loadclfile.h"

namespace norvane::fuzz {
namespace {

bool is_parsed(PolyHash* calc) {
    if (calc) calc_delete(calc);
    return calc != nullptr;
}

// The scanner's condition outlives a parse; so that every input stands for itself, this brings it
// back to the start from wherever a parse may leave it: outside of a comment and of a string, the
// second text is a string that is closed.
void settle_scanner() {
    is_parsed(calc_import_from_string("\n*/ x"));
    is_parsed(calc_import_from_string("\"x\""));
}

} // namespace
} // namespace norvane::fuzz

using namespace norvane::fuzz;

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const QuietSink sink;
    const std::string text(reinterpret_cast<const char*>(data), size);
    MemoryFile file;
    file.write(text);
    const bool is_good = is_parsed(calc_import_from_clfile(file.path()));
    expect(is_good || sink.reports() > 0, "a refusal without a report");
    settle_scanner();
    if (text.find_first_of(std::string("\0\xFF", 2)) != std::string::npos) return 0;
    const bool is_good_text = is_parsed(calc_import_from_string(text.c_str()));
    settle_scanner();
    expect(is_good == is_good_text, "a file and a text that differ");
    return 0;
}
