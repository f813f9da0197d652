// Models as XML: written and read again, and passed through the pipeline.
#include <string>

#include "harness.h"
#include "models.h"
#include "norvane/proj/xml_import.h"

using namespace norvane::fuzz;

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static MemoryFile file;
    const QuietSink sink;
    file.write({reinterpret_cast<const char*>(data), size});
    const ProjectPtr project(proj_import_from_xmlfile(file.path()));
    expect((project == nullptr) <= (sink.reports() > 0), "a refusal without a report");
    if (!project) return 0;
    check_xml_round_trip(*project);
    runs([&] { print(*project); });
    return 0;
}
