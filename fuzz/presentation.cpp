// Presentations: written and read again as the same bytes.
#include "norvane/proj/presentation.h"

#include "harness.h"

using namespace norvane::fuzz;

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static MemoryFile file;
    const QuietSink sink;
    file.write({reinterpret_cast<const char*>(data), size});
    PolyHash* presentation = pres_import(file.path());
    expect((presentation == nullptr) <= (sink.reports() > 0), "a refusal without a report");
    if (!presentation) return 0;
    pres_export(presentation, file.path());
    const std::string first = file.read();
    PolyHash* again = pres_import(file.path());
    expect(again != nullptr, "what was written is refused");
    pres_export(again, file.path());
    expect_equal(first, file.read(), "a presentation that was written and read");
    pres_delete(again);
    pres_delete(presentation);
    return 0;
}
