// Presentations: written and read again as the same bytes.
#include "norvane/proj/presentation.h"

#include "harness.h"

using namespace norvane::fuzz;

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    check_round_trip<pres_import, pres_export, pres_delete>(data, size);
    return 0;
}
