// Variable orders: written and read again as the same bytes.
#include "norvane/proj/varorder.h"

#include "harness.h"

using namespace norvane::fuzz;

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static MemoryFile file;
    const QuietSink sink;
    file.write({reinterpret_cast<const char*>(data), size});
    PolyList* order = var_order_import(file.path());
    expect((order == nullptr) <= (sink.reports() > 0), "a refusal without a report");
    if (!order) return 0;
    var_order_export(order, file.path());
    const std::string first = file.read();
    PolyList* again = var_order_import(file.path());
    expect(again != nullptr, "what was written is refused");
    var_order_export(again, file.path());
    expect_equal(first, file.read(), "a variable order that was written and read");
    var_order_delete(again);
    var_order_delete(order);
    return 0;
}
