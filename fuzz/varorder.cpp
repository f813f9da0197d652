// Variable orders: written and read again as the same bytes.
#include "harness.h"

using namespace norvane::fuzz;

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const Reports reports;
    const ListPtr read(var_order_import(input_file(data, size)));
    expect_read(read.get(), reports);
    if (read) check_round_trip(read.get(), var_order_import, var_order_export, plist_delete);
    return 0;
}
