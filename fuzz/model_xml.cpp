// Models as XML: written and read again, and printed.
#include "checks.h"

using namespace norvane::fuzz;

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const Reports reports;
    const ProjectPtr project(proj_import_from_xmlfile(input_file(data, size)));
    expect_read(project.get(), reports);
    if (!project) return 0;
    check_xml_round_trip(project.get());
    runs([&] { print(project.get()); });
    return 0;
}
