// Times each stage of processing a calculation, and prints the results as one JSON object:
//
//   calc_bench FILE.cl MODEL.pm SECONDS
//
// All stages are run, at least three times and for about SECONDS; each figure is the median of its
// runs. Peaks are those of the first run.
#include <cstdio>
#include <cstdlib>
#include <string>

#include <malloc.h>

#include "norvane/proj.h"

#include "stages.h"

namespace {

using namespace norvane::bench;

struct Bench {
    std::string source;
    std::string xml;
    SymbolTable* table = nullptr;
    // The bytes of a stage are those of the format that it reads or writes.
    Stage parse{"parse", "byte", "scan"};
    Stage check{"check", "byte"};
    Stage print{"print", "byte"};
    Stage write{"write", "byte"};
    Stage read{"read", "byte"};
    Stage free_all{"free", "byte"};
};

SymbolTable* table_of(char* model) {
    PolyList* no_arguments = plist_new(nullptr, nullptr, nullptr);
    Project* project = proj_import_from_pmfile(model, no_arguments);
    plist_delete(no_arguments);
    SymbolTable* table = project ? proj_static_sem_check(project) : nullptr;
    if (!table) fail("the model is not well-formed");
    return table; // it borrows from the project, so neither is freed
}

void run_once(Bench& bench) {
    PolyHash* calc =
        timed(bench.parse, [&] { return calc_import_from_clfile(bench.source.c_str()); });
    if (!calc) fail("cannot parse the calculation");
    if (!timed(bench.check, [&] { return calc_check_functions(calc, bench.table); }))
        fail("the calculation does not pass the check");
    if (bench.check.peak == 0) bench.check.peak = peak_bytes();
    UtilString* text = timed(bench.print, [&] { return calc_prt(calc); });
    if (timed(bench.write, [&] { return calc_export_to_file(bench.xml.c_str(), calc, 1); }) != 0)
        fail("cannot write the XML");
    PolyHash* again =
        timed(bench.read, [&] { return calc_import_from_xmlfile(bench.xml.c_str()); });
    if (!again) fail("cannot read the XML");
    if (bench.read.peak == 0) bench.read.peak = peak_bytes();
    bench.print.units = static_cast<double>(text->length);
    bench.write.units = bench.read.units = file_size(bench.xml);
    ustr_delete(text);
    calc_delete(again);
    timed(bench.free_all, [&] {
        calc_delete(calc);
        // The allocator defers work until its next large request; this is part of freeing.
        void* volatile large = std::malloc(1 << 20);
        std::free(large);
        return 0;
    });
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 4) fail("usage: calc_bench FILE.cl MODEL.pm SECONDS");
    // Keeps freed memory in the process, so that later runs do not measure system calls.
    mallopt(M_MMAP_MAX, 0);
    mallopt(M_TRIM_THRESHOLD, -1);
    Bench bench{.source = argv[1], .xml = std::string(argv[1]) + ".clx"};
    bench.table = table_of(argv[2]);
    bench.parse.units = bench.check.units = bench.free_all.units = file_size(bench.source);
    const double least_seconds = std::atof(argv[3]);
    const double end = now(CLOCK_PROCESS_CPUTIME_ID) + least_seconds;
    do
        run_once(bench);
    while (bench.parse.seconds.size() < 3 || now(CLOCK_PROCESS_CPUTIME_ID) < end);
    print_stages(
        {&bench.parse, &bench.check, &bench.print, &bench.write, &bench.read, &bench.free_all});
    std::remove(bench.xml.c_str());
    return 0;
}
