// Models as XML: written and read again, and passed through the pipeline.
#include "checks.h"
#include "harness.h"
#include "norvane/proj/xml_import.h"

using namespace norvane::fuzz;

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const QuietSink sink;
    const ProjectPtr project(proj_import_from_xmlfile(input_file(data, size)));
    expect((project == nullptr) <= (sink.reports() > 0), "a refusal without a report");
    if (!project) return 0;
    check_xml_round_trip(*project);
    runs([&] { print(*project); });
    return 0;
}
