// Variable orders: written and read again as the same bytes.
#include "norvane/proj/varorder.h"

#include "harness.h"

using namespace norvane::fuzz;

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    check_round_trip<var_order_import, var_order_export, var_order_delete>(data, size);
    return 0;
}
