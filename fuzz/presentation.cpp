// Presentations: written and read again as the same bytes.
#include "harness.h"

using namespace norvane::fuzz;

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const Reports reports;
    PolyHash* read = pres_import(input_file(data, size));
    expect_read(read, reports);
    if (!read) return 0;
    check_round_trip(read, pres_import, pres_export, pres_delete);
    pres_delete(read);
    return 0;
}
