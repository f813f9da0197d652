// Times a scanner without its parser on one file, and prints the result as one JSON object:
//
//   scan_bench pm|cl FILE SECONDS
//
// Linked with the objects of the library, since the scanners are not exported.
#include <cstdio>
#include <cstdlib>
#include <string>

#include "calcgrammar.hpp"
#include "clfrontend.h"
#include "pmfrontend.h"
#include "pmgrammar.hpp"

#include "stages.h"

namespace {

using namespace norvane::bench;

double scan_model(std::FILE* stream) {
    norvane::pm::Load load{.file = {.stream = stream}};
    load.buffer = ustr_new();
    norvane::pm::start_scanner(load);
    double tokens = 0;
    for (int token; (token = pmlex()) != 0; ++tokens) {
        if (token == PM_IDENTIFIER) std::free(pmlval.text);
        if (token == PM_STRINGCONST) std::free(pmlval.string.text);
    }
    ustr_delete(load.buffer);
    return tokens;
}

double scan_calculation(std::FILE* stream) {
    norvane::calculations::Load load{};
    load.buffer = ustr_new();
    load.input.file.stream = stream;
    begin_scan(load);
    double tokens = 0;
    for (int token; (token = cllex()) != 0; ++tokens) {
        if (token == CL_IDENTIFIER || token == CL_STRINGCONST || token == CL_NAMESPACEID)
            std::free(cllval.text);
    }
    ustr_delete(load.buffer);
    return tokens;
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 4) fail("usage: scan_bench pm|cl FILE SECONDS");
    const auto scan = std::string(argv[1]) == "pm" ? scan_model : scan_calculation;
    Stage stage{"scan", "byte"};
    stage.units = file_size(argv[2]);
    const double end = now(CLOCK_PROCESS_CPUTIME_ID) + std::atof(argv[3]);
    do {
        std::FILE* stream = std::fopen(argv[2], "r");
        if (!stream) fail("cannot open the file");
        if (timed(stage, [&] { return scan(stream); }) == 0) fail("no token in the file");
        std::fclose(stream);
    } while (stage.seconds.size() < 3 || now(CLOCK_PROCESS_CPUTIME_ID) < end);
    print_stages({&stage});
    return 0;
}
